#include "Utility/InstallInspector/Author/StarterTargets.h"

#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <iterator>

namespace {

/// The usual folder for the plug-ins of a host, and the condition that shows that the host is installed.
struct UsualPlace {
    const char* host;
    const char* path;
    const char* application;
};

constexpr UsualPlace usualPlaces[] = {
    {"Premiere Pro", "/Library/Application Support/Adobe/Common/Plug-ins/Vorlane/%FAMILY%",
     "/Applications/Adobe Premiere Pro"},
    {"Premiere Pro32", "/Library/Application Support/Adobe/Common/Plug-ins 32/Vorlane/%FAMILY%",
     "/Applications/Adobe Premiere Pro CS5"},
    {"Media Composer", "/Library/Application Support/Avid/Plug-ins/Vorlane/%FAMILY%",
     "/Applications/Avid Media Composer"},
    {"Media Composer32", "/Library/Application Support/Avid/Plug-ins 32/Vorlane/%FAMILY%",
     "/Applications/Avid Media Composer 5"},
    {"Final Cut Pro X", "/Users/%USER%/Movies/Motion Templates/Effects/Vorlane/%FAMILY%",
     "/Applications/Final Cut Pro.app"},
    {"OpenFX", "/Library/OFX/Plugins/Vorlane/%FAMILY%", "/Library/OFX/Plugins"},
};

std::string pathElement(const std::string& path, const std::string& application) {
    return "      <path value=" + asAttribute(path) +
           ">\n        <condition type=\"PathExist\" value=" + asAttribute(application) +
           "/>\n      </path>\n";
}

std::string hostItem(const std::string& folder) {
    const auto* usual = std::find_if(std::begin(usualPlaces), std::end(usualPlaces),
                                     [&](const UsualPlace& place) { return folder == place.host; });
    std::string text = "    <item name=" + asAttribute(folder) + ">\n";
    if (usual != std::end(usualPlaces)) {
        text += pathElement(usual->path, usual->application);
    } else {
        text += "      <!-- Decide: these two paths are made of the host's name alone. -->\n" +
                pathElement("/Library/Application Support/" + folder + "/Plug-ins/Vorlane/%FAMILY%",
                            "/Applications/" + folder + ".app");
    }
    return text + "    </item>\n";
}

} // namespace

std::string starterTargets(const StagedFolder& folder, const StagedHosts& hosts) {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<root>\n"
        "  <!-- This folder also holds the record. Decide: all products of the family, the shared "
        "package included, have to\n"
        "       name the same one. -->\n"
        "  <item name=\"VorlaneFX\">\n"
        "    <path value=\"/Library/Application Support/Vorlane\"/>\n"
        "  </item>\n";
    if (!hosts.folders.empty()) {
        text += "\n"
                "  <!-- One item for each host folder of the tree. Every path of which the condition holds "
                "receives "
                "the files. Decide:\n"
                "       where the plug-ins of each host go, and what tells that the host is there. -->\n"
                "  <item name=\"Hosts\">\n";
        for (const std::string& host : hosts.folders) {
            text += hostItem(host);
        }
        text += "  </item>\n";
    }
    const StagedNode* content = folder.root().child(Branch::content);
    if (content != nullptr && !content->isLeftOut()) {
        text += "\n"
                "  <item name=\"Content\">\n"
                "    <path value=\"/Users/Shared/Vorlane/Content\"/>\n"
                "  </item>\n";
    }
    return text + "</root>\n";
}
