#include "Utility/InstallInspector/Author/NewDefinition.h"

#include "Foundation/VLVersion.h"
#include "Platform/Utf8.h"
#include "Utility/InstallInspector/Author/Characters.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

namespace {

/// Whether the text is a build: up to four numbers of 32 bits, separated by dots.
bool isVersionText(const std::string& text) {
    std::size_t begin = 0;
    for (int numbers = 1; numbers <= 4; ++numbers) {
        const std::size_t end = std::min(text.find('.', begin), text.size());
        const std::string number = text.substr(begin, end - begin);
        if (number.empty() || number.size() > 18 ||
            number.find_first_not_of("0123456789") != std::string::npos ||
            std::stoll(number) > std::numeric_limits<std::int32_t>::max()) {
            return false;
        }
        if (end == text.size()) {
            return true;
        }
        begin = end + 1;
    }
    return false;
}

std::string familiesAttribute(const std::set<std::string>& families) {
    std::string list;
    for (const std::string& family : families) {
        if (family.find(';') != std::string::npos) {
            return ""; // no list can name it, while no list at all stands for every family
        }
        list += (list.empty() ? "" : ";") + family;
    }
    return " families=" + asAttribute(list);
}

/// The lines of an element with content, indented by one level and followed by an empty line.
std::string section(const char* name, const std::string& comment, const std::string& content,
                    const TextStyle& style) {
    const std::string& before = style.indentation;
    const std::string& end = style.lineEnd;
    return before + "<!-- " + comment + " -->" + end + before + "<" + name + ">" + end + content + before +
           "</" + name + ">" + end + end;
}

std::string attribute(const char* name, const std::string& value) {
    return std::string(" ") + name + "=" + asAttribute(value);
}

} // namespace

std::string faultOf(const Identity& identity) {
    for (const auto& [option, text] : {std::pair<const char*, const std::string&>{"--id", identity.ID},
                                       {"--name", identity.name},
                                       {"--build", identity.build},
                                       {"--prefix", identity.prefix}}) {
        if (!isUtf8(text) || hasControlCharacter(text)) {
            return std::string(option) + " takes text of UTF-8 without control characters";
        }
    }
    if (identity.ID.empty()) {
        return "--id takes text that no other product has";
    }
    if (toVLString(identity.ID).EqualsIgnoreCase(SharedPackage::ID) && identity.ID != SharedPackage::ID) {
        return "--id is that of the shared package in another case";
    }
    if (identity.name.empty() || identity.name.find_first_of("/\"$`\\") != std::string::npos) {
        return "--name takes the name of a file, since the uninstaller is called after it: no slash, and "
               "nothing "
               "that the shell interprets";
    }
    if (!isVersionText(identity.build) || VLVersion(toVLString(identity.build)).build == 0) {
        return "--build takes four numbers with dots, such as 1.0.0.100; builds are compared by the fourth "
               "alone";
    }
    return "";
}

StagedHosts StagedHosts::of(const StagedNode& root) {
    StagedHosts found;
    const StagedNode* branch = root.child(Branch::hosts);
    if (branch == nullptr || branch->isLeftOut()) {
        return found;
    }
    for (const StagedNode& folder : branch->children) {
        if (folder.isLeftOut()) {
            continue;
        }
        const std::string variantOf = hostOfVariant(folder.name);
        Host& host = found.hosts[variantOf.empty() ? folder.name : variantOf];
        (variantOf.empty() ? host.b64 : host.b32) = true;
        found.folders.push_back(folder.name);
        for (const StagedNode& family : folder.children) {
            if (!family.isLeftOut()) {
                host.families.insert(family.name);
                found.families.insert(family.name);
            }
        }
    }
    return found;
}

std::string hostText(const std::string& name, const StagedHosts::Host& host,
                     const std::set<std::string>& allFamilies, const TextStyle& style,
                     const std::string& before) {
    return before + "<host" + attribute("name", name) +
           (host.families == allFamilies ? "" : familiesAttribute(host.families)) +
           attribute("arch", !host.b32  ? "x64"
                             : host.b64 ? "x86;x64"
                                        : "x86") +
           "/>" + style.lineEnd;
}

std::string familyText(const std::string& name, const TextStyle& style, const std::string& before) {
    const std::string inner = before + style.indentation;
    const std::string& end = style.lineEnd;
    return before + "<family" + attribute("name", name) + ">" + end + inner + "<plugins>" + end + inner +
           style.indentation + "<plugin" + attribute("name", name) + "/>" + end + inner + "</plugins>" + end +
           before + "</family>" + end;
}

std::string newDefinition(const Identity& identity, const StagedFolder& folder, const LeftOut& leftOut,
                          EntryWriter& writer, const TextStyle& style) {
    const std::string& one = style.indentation;
    const std::string& end = style.lineEnd;
    const std::string two = one + one;
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>" + end + "<product>" + end + one + "<sku" +
        attribute("ID", identity.ID) + attribute("name", identity.name) + attribute("build", identity.build) +
        (identity.prefix.empty() ? "" : attribute("prefix", identity.prefix)) + "/>" + end + end;

    const StagedHosts hosts = StagedHosts::of(folder.root());
    if (!hosts.hosts.empty()) {
        std::string families;
        for (const std::string& family : hosts.families) {
            families += familyText(family, style, two);
        }
        std::string list;
        for (const auto& [name, host] : hosts.hosts) {
            list += hostText(name, host, hosts.families, style, two);
        }
        text += section("families", "Decide: name the plug-ins. A family without any is not installed.",
                        families, style);
        text += section(
            "hosts",
            "Other tools read these. Decide: compilerOptions, and hostsForBuild if the product is built "
            "for other ones.",
            list, style);
    }

    text +=
        one +
        "<!-- A folder that is listed as a file is copied whole. Decide: dontdelete=\"1\" keeps what users "
        "change when the product goes." +
        " -->" + end;
    text += one + "<installFiles>" + end;
    for (const std::string& pattern : leftOut.patterns()) {
        text.append(two).append("<exclude").append(attribute("name", pattern)).append("/>").append(end);
    }
    bool bFirst = leftOut.patterns().empty();
    const auto write = [&](const StagedNode& node) {
        std::string branch;
        writer.write(node, node.name, two, branch);
        text += (bFirst || branch.empty() ? "" : end) + branch;
        bFirst = bFirst && branch.empty();
    };
    for (const char* name : Branch::all) {
        if (const StagedNode* node = folder.root().child(name)) {
            write(*node);
        }
    }
    for (const StagedNode& node : folder.root().children) {
        if (std::find(std::begin(Branch::all), std::end(Branch::all), node.name) == std::end(Branch::all)) {
            write(node);
        }
    }
    return text + one + "</installFiles>" + end + "</product>" + end;
}
