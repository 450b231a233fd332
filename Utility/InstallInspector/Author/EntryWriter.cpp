#include "Utility/InstallInspector/Author/EntryWriter.h"

#include "Utility/InstallInspector/Author/Characters.h"
#include "Utility/InstallInspector/Documents/LookAlike.h"
#include "Utility/InstallInspector/Documents/Placeholders.h"
#include "Utility/InstallInspector/Documents/Vocabulary.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallInspector/Report/NearestName.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>

namespace {

using NodeKind = StagedNode::Kind;

bool isIn(const char* branch, const std::string& path) {
    const std::string name = branch;
    return path.compare(0, name.size(), name) == 0 &&
           (path.size() == name.size() || path[name.size()] == '/');
}

/// What the shell would make of the name between double quotes. Empty if it would not change the name.
std::string shellFaultOf(const std::string& name) {
    switch (const std::size_t found = name.find_first_of("\"$`\\");
            found == std::string::npos ? '\0' : name[found]) {
    case '"':
        return "the name holds a double quote";
    case '$':
        return "the name holds a \"$\"";
    case '`':
        return "the name holds a backquote";
    case '\\':
        return "the name holds a backslash";
    default:
        return "";
    }
}

} // namespace

std::size_t EntryCounts::commands() const {
    // A file is removed and copied; a whole folder is copied, and its time is set.
    return 2 * (files + wholeFolders + emptyFolders) + foldersMade;
}

std::size_t EntryCounts::commandsFileByFile() const {
    return 2 * (files + filesInWholeFolders + emptyFolders) + foldersMade + foldersMadeInWholeFolders;
}

std::size_t levelOf(const std::string& path) {
    return 1 + static_cast<std::size_t>(std::count(path.begin(), path.end(), '/'));
}

bool isTakenWhole(const StagedNode& node, const std::string& path) {
    const std::size_t lowest = isIn(Branch::hosts, path) ? 4 : 2;
    return node.kind == NodeKind::LinkToFolder || (node.bBundle && levelOf(path) >= lowest);
}

std::string hostOfVariant(const std::string& folder) {
    const std::size_t size = folder.size();
    const std::string host =
        size > 2 && folder.compare(size - 2, 2, "32") == 0 ? folder.substr(0, size - 2) : "";
    const auto& known = hostNames();
    return std::find(known.begin(), known.end(), host) != known.end() ? host : "";
}

std::string reasonOf(StagedNode::Omission omission) {
    switch (omission) {
    case StagedNode::Omission::Junk:
        return "left out: systems and tools leave it everywhere";
    case StagedNode::Omission::Excluded:
        return "left out: excluded";
    case StagedNode::Omission::Hollow:
        return "left out: holds nothing but what is left out";
    case StagedNode::Omission::None:
        break;
    }
    return "";
}

std::string asAttribute(const std::string& text) {
    std::string value;
    value.reserve(text.size() + 2);
    value += '"';
    for (const char c : text) {
        switch (c) {
        case '&':
            value += "&amp;";
            break;
        case '<':
            value += "&lt;";
            break;
        case '>':
            value += "&gt;";
            break;
        case '"':
            value += "&quot;";
            break;
        default:
            value += c;
            break;
        }
    }
    return value += '"';
}

std::string manifestAttributes(const Manifest::Part& part) {
    const std::string path = part.path.empty() ? "" : " path=" + asAttribute(part.path);
    return part.link.empty()
               ? path + " size=\"" + std::to_string(part.size) + "\" sha256=\"" + part.digest + "\""
               : path + " link=" + asAttribute(part.link);
}

void EntryWriter::write(const StagedNode& node, const std::string& path, const std::string& before,
                        std::string& text) {
    if (node.isLeftOut()) {
        remarks.leftOut.push_back({path, reasonOf(node.omission)});
        if (node.omission == StagedNode::Omission::Hollow) {
            for (const StagedNode& child : node.children) {
                write(child, path + "/" + child.name, before, text);
            }
        }
        return;
    }
    if (!mayStand(node, path)) {
        return;
    }
    if (isTakenWhole(node, path)) {
        begin("file", node, path, before, text);
        endFile(path, before, text);
        ++counted.wholeFolders;
        countInside(node);
        noteInsideWhole(node, path);
    } else if (node.isFolder()) {
        writeFolder(node, path, before, text);
    } else {
        begin("file", node, path, before, text);
        endFile(path, before, text);
        ++counted.files;
    }
}

void EntryWriter::begin(const char* element, const StagedNode& node, const std::string& path,
                        const std::string& before, std::string& text) {
    text += before;
    text += '<';
    text += element;
    text += " fileName=";
    text += asAttribute(node.name);
    entries.push_back(path + (node.kind == NodeKind::File ? "" : "/"));
}

/// Writes the rest of the entry after the name of a file or a whole folder.
void EntryWriter::endFile(const std::string& path, const std::string& before, std::string& text) {
    const Manifest::Parts parts = writesManifests() ? manifestOf(path) : Manifest::Parts();
    if (!parts.empty() && parts.front().path.empty()) {
        text += manifestAttributes(parts.front()) + "/>" + style.lineEnd;
    } else if (parts.empty()) {
        text += "/>" + style.lineEnd;
    } else {
        text += ">" + style.lineEnd;
        for (const Manifest::Part& part : parts) {
            text += before + style.indentation + "<part" + manifestAttributes(part) + "/>" + style.lineEnd;
        }
        text += before + "</file>" + style.lineEnd;
    }
}

Manifest::Parts EntryWriter::manifestOf(const std::string& path) {
    // This is a copy of the definition itself. It cannot contain its own digest.
    if (path == std::string(Branch::shared) + "/" + SharedPackage::definitionsFolder + "/COMMON.xml") {
        return {};
    }
    std::vector<Manifest::Difference> faults;
    Manifest::Parts parts = Manifest::read(source + "/" + path, *progress, faults);
    for (const Manifest::Difference& fault : faults) {
        remarks.fault(fault.path.empty() ? path : path + "/" + fault.path, fault.text);
    }
    return parts;
}

void EntryWriter::writeFolder(const StagedNode& node, const std::string& path, const std::string& before,
                              std::string& text) {
    const bool bHost = levelOf(path) == 2 && isIn(Branch::hosts, path);
    if (bHost && !isKnownHost(toVLString(node.name))) {
        text += before + "<!-- Decide: no known host has this name. -->" + style.lineEnd;
    }
    if (node.children.empty()) {
        text +=
            before +
            "<!-- Empty in the source. An uninstall removes it with all that is in it by then, unless it has "
            "dontdelete=\"1\". -->" +
            style.lineEnd;
    }
    begin("directory", node, path, before, text);
    if (bHost && !hostOfVariant(node.name).empty()) {
        text += " arch=\"x86\"";
    }
    if (node.children.empty()) {
        text += "/>" + style.lineEnd;
        ++counted.emptyFolders;
        return;
    }
    text += ">" + style.lineEnd;
    const auto first = std::find_if(node.children.begin(), node.children.end(),
                                    [](const StagedNode& child) { return !child.isLeftOut(); });
    const bool bComesWithFirst = first->isFolder() && !isTakenWhole(*first, path + "/" + first->name);
    counted.foldersMade += bComesWithFirst ? 0 : 1;
    for (const StagedNode& child : node.children) {
        write(child, path + "/" + child.name, before + style.indentation, text);
    }
    text += before + "</directory>" + style.lineEnd;
}

/// Whether the node can become an entry at `path`.
bool EntryWriter::mayStand(const StagedNode& node, const std::string& path) {
    if (!standsInPlace(node, path)) {
        return false;
    }
    const std::string fault = shellFaultOf(node.name);
    if (!fault.empty()) {
        remarks.fault(path, fault + ", which the shell interprets");
        return false;
    }
    if (node.kind == NodeKind::LooseLink) {
        remarks.fault(path, "is a link to nothing");
        return false;
    }
    noteName(node.name, path);
    noteContent(node, path);
    return true;
}

bool EntryWriter::standsInPlace(const StagedNode& node, const std::string& path) {
    const std::size_t level = levelOf(path);
    if (level == 1 && std::none_of(std::begin(Branch::all), std::end(Branch::all),
                                   [&](const char* branch) { return node.name == branch; })) {
        remarks.fault(path,
                      "lies beside Hosts, VorlaneFX and Content, from where nothing is installed: move it "
                      "into one of them, or exclude it");
        return false;
    }
    if (level > (isIn(Branch::hosts, path) ? 3U : 1U)) {
        return true;
    }
    if (!node.isFolder()) {
        remarks.fault(path, node.kind == NodeKind::LinkToFolder
                                ? "is a link, where a folder has to be"
                                : "is a file, where only folders are installed from: move it into "
                                  "Hosts/HOST/FAMILY, or exclude it");
        return false;
    }
    if (node.children.empty()) {
        if (path != Branch::shared) { // which every source folder has to have
            remarks.fault(path, "holds nothing to install: remove it, or exclude it");
        }
        return false;
    }
    if (level == 2 && !isKnownHost(toVLString(node.name))) {
        const auto nearest = nearestName(node.name, hostNames());
        remarks.note(path, "no known host has this name, and check warns of it" +
                               (nearest.has_value() ? "; is it " + quotedText(toVLString(*nearest)) + "?"
                                                    : std::string()));
    }
    return true;
}

void EntryWriter::countInside(const StagedNode& node) {
    const bool bMade = !node.children.empty() && !node.children.front().isFolder();
    counted.foldersMadeInWholeFolders += bMade ? 1 : 0;
    for (const StagedNode& child : node.children) {
        if (child.isFolder()) {
            countInside(child);
        } else {
            ++counted.filesInWholeFolders;
        }
    }
}

/// Notes what `check` warns about, but may be intended.
void EntryWriter::noteName(const std::string& name, const std::string& path) {
    if (isBlank(name.front()) || isBlank(name.back())) {
        remarks.note(path, "the name begins or ends with a blank, and check warns of it");
    }
    if (name.find(':') != std::string::npos) {
        remarks.note(path, "the name holds a colon, which users see as a slash, and check warns of it");
    }
    const std::string odd = oddBlankIn(toVLString(name));
    if (!odd.empty()) {
        remarks.note(path,
                     "the name holds " + odd + ", which nobody tells from a blank, and check warns of it");
    }
    if (!placeholdersIn(toVLString(name), false).empty()) {
        remarks.note(path,
                     "the name looks like a placeholder, which nothing fills in here, and check warns of it");
    }
}

void EntryWriter::noteContent(const StagedNode& node, const std::string& path) {
    if (node.bEmpty && node.name.front() != '.' && node.name != "__init__.py") {
        remarks.note(path, "has 0 bytes, and check warns of it");
    }
}

void EntryWriter::noteInsideWhole(const StagedNode& node, const std::string& path) {
    for (const StagedNode& child : node.children) {
        const std::string inside = path + "/" + child.name;
        if (child.isLeftOut() && child.omission != StagedNode::Omission::Hollow) {
            remarks.note(inside,
                         std::string(child.omission == StagedNode::Omission::Junk ? "is junk that"
                                                                                  : "is excluded, yet") +
                             " is installed with its folder, which is copied whole: remove it");
        } else if (child.kind == NodeKind::LooseLink) {
            remarks.note(inside, "is a link to nothing, and check warns of it");
        } else {
            noteContent(child, inside);
            noteInsideWhole(child, inside);
        }
    }
}
