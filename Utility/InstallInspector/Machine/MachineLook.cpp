#include "Utility/InstallInspector/Machine/MachineLook.h"

#include "Foundation/RegistryHelper.h"
#include "Platform/Utf8.h"
#include "Utility/InstallInspector/Documents/FolderAbove.h"
#include "Utility/InstallInspector/Documents/InstalledProducts.h"
#include "Utility/InstallInspector/Documents/OtherHomes.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallUtility/Pattern.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <set>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

using Condition = InstallUtility::InstallItem::ItemPath::Condition;
using Items = std::map<VLString, InstallUtility::InstallItem>;

constexpr int mostLinks = 40;
/// How many folders above an empty target folder an uninstall may remove.
constexpr int highestClimb = 10;
constexpr std::string_view preferencesFolder = "/Library/Preferences";

/// The names of the path, the first one on top.
void push(const std::string& path, std::vector<std::string>& names) {
    const std::size_t below = names.size();
    for (std::size_t begin = 0, end = 0; begin < path.size(); begin = end + 1) {
        end = std::min(path.find('/', begin), path.size());
        names.push_back(path.substr(begin, end - begin));
    }
    std::reverse(names.begin() + static_cast<std::ptrdiff_t>(below), names.end());
}

std::string linkText(const std::string& path) {
    std::error_code error;
    return std::filesystem::read_symlink(path, error).string();
}

/// The path in a form that a JSON document can contain. Two paths hardly ever become the same.
std::string described(const std::string& path) {
    return isUtf8(path) ? path : printable(path);
}

mode_t kindOf(mode_t type) {
    return type == 0 || type == S_IFREG || type == S_IFDIR || type == S_IFLNK ? type : S_IFSOCK;
}

} // namespace

MachineLook::MachineLook(std::size_t most) : mostEntries(most), before(setCurrent(this)) {
    const char* home = environmentHome();
    if (home != nullptr && home[0] == '/') {
        machine.home = home;
    } else if (home != nullptr && home[0] != '\0') {
        remark("HOME is no absolute path, and is left out");
    }
    machine.accountHome = toString(InstallUtility::getUserHomePath());
    machine.bDitto = hasProgram("ditto");
    for (const std::string& each : otherHomes()) {
        if (Pattern::isFitForEval(toVLString(each))) { // any other counts as no home for the engine
            others.push_back(each);
        }
    }
}

// What is asked

mode_t MachineLook::typeOf(const VLString& path) {
    note(toString(path));
    return Machine::typeOf(path);
}

mode_t MachineLook::linkTypeOf(const VLString& path) {
    note(toString(path));
    return Machine::linkTypeOf(path);
}

std::vector<VLString> MachineLook::namesIn(const VLString& folder) {
    noteNames(toString(folder));
    return Machine::namesIn(folder);
}

FileContent MachineLook::readFile(const VLString& path) {
    FileContent content = Machine::readFile(path);
    const std::string place = note(toString(path));
    const auto entry = machine.entries.find(described(place));
    if (entry != machine.entries.end() && entry->second.type == S_IFREG) {
        entry->second.text.assign(content.bytes == nullptr ? "" : content.bytes.get(), content.size);
        if (content.error != 0) {
            remark(place + " cannot be read, and is described as empty");
        } else if (!isUtf8(entry->second.text)) {
            remark(place + " is not UTF-8, and is described with other characters");
        }
    }
    return content;
}

VLString MachineLook::preference(const VLString& key, const VLString& valueName, const VLString& folder) {
    VLString value = Machine::preference(key, valueName, folder);
    const std::string path = toString(folder);
    if (value.IsSet() && path.size() > preferencesFolder.size()) {
        char stem[RegistryHelper::nameBufferSize] = {};
        RegistryHelper::Normalize(stem, key.ConstData());
        const std::string home = path.substr(0, path.size() - preferencesFolder.size());
        machine.users[home][stem][toString(valueName)] = toString(value);
    }
    return value;
}

// What is there

void MachineLook::add(const std::string& path, mode_t type) {
    if (machine.entries.size() == mostEntries) {
        throw TooMuch("there are more than " + std::to_string(mostEntries) +
                      " files and folders to describe; give the definitions, which say what matters");
    }
    if (!isUtf8(path)) {
        remark(path + " has a name that is not UTF-8, and is described with another one");
    }
    const std::string text = type == S_IFLNK ? linkText(path) : "";
    if (type == S_IFLNK && text.empty()) {
        remark(path + " is a link that cannot be read, and is described as neither a file nor a folder");
    }
    machine.entries[described(path)] = {
        static_cast<mode_t>(type == S_IFLNK && text.empty() ? S_IFSOCK : kindOf(type)), text};
}

/// Adds what is at the path, without following a link. Returns its type.
mode_t MachineLook::noteItself(const std::string& path) {
    const auto known = machine.entries.find(path);
    if (known != machine.entries.end()) {
        return known->second.type;
    }
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        if (errno == EACCES) {
            remark(path + " cannot be looked at, and is described as not there");
        }
        return 0;
    }
    const mode_t type = status.st_mode & S_IFMT;
    add(path, type);
    return type;
}

std::string MachineLook::note(const std::string& path) {
    if (path.empty() || path.front() != '/') {
        return "";
    }
    std::vector<std::string> names;
    push(path, names);
    std::string place;
    for (int links = 0; !names.empty();) {
        const std::string name = std::move(names.back());
        names.pop_back();
        if (name.empty() || name == ".") {
            continue;
        }
        if (name == "..") {
            place = folderAbove(place);
            continue;
        }
        std::string next = place;
        next.append("/").append(name);
        const mode_t type = noteItself(next);
        if (type == 0 || (type != S_IFLNK && type != S_IFDIR && !names.empty())) {
            return "";
        }
        if (type != S_IFLNK) {
            place = next;
            continue;
        }
        const std::string text = linkText(next);
        if (++links > mostLinks || text.empty()) {
            return "";
        }
        place = text.front() == '/' ? "" : place;
        push(text, names);
    }
    return place.empty() ? "/" : place;
}

std::vector<std::string> MachineLook::noteNames(const std::string& folder) {
    std::vector<std::string> paths;
    const std::string place = note(folder);
    if (place.empty() || Machine::linkTypeOf(toVLString(place)) != S_IFDIR) {
        return paths;
    }
    if (access(place.c_str(), R_OK | X_OK) != 0) {
        remark(place + " cannot be looked into, and is described as empty");
    }
    for (const VLString& name : Machine::namesIn(toVLString(place))) {
        paths.push_back((place == "/" ? "" : place) + "/" + toString(name));
        note(paths.back());
    }
    return paths;
}

void MachineLook::noteAll(const std::string& path) {
    std::vector<std::string> folders{path};
    while (!folders.empty()) {
        const std::string folder = std::move(folders.back());
        folders.pop_back();
        for (const std::string& below : noteNames(folder)) {
            if (noteItself(below) == S_IFDIR) {
                folders.push_back(below);
            }
        }
    }
}

// What plans ask for

void MachineLook::atInstalledProducts() {
    note(SharedPackage::managerLink);
    note(SharedPackage::manager);
    readFile(std::string(SharedPackage::definitionsFolderWithoutRecord)
                 .append(SharedPackage::ID)
                 .append(".xml")
                 .c_str());
    const InstalledProducts installed = InstalledProducts::find();
    for (const auto& product : installed.all()) {
        note(product->uninstaller + "/Contents");
        if (product->isReadable()) {
            atProduct(product->files);
        }
    }
}

void MachineLook::atProduct(PlacedProduct& product) {
    const auto look = [&] {
        product.placeAgain();
        atItems(product.product().items, false);
        atRecords(product.product().items);
        atPlaces(product);
    };
    look();
    if (dependsOnUser(product)) {
        for (const std::string& home : others) {
            const OtherHome other(home);
            look();
        }
    }
}

void MachineLook::atTargets(const Items& items) {
    noteNames("/Applications"); // where shortcuts go
    atItems(items, true);
    atRecords(items);
    for (const std::string& home : others) {
        const OtherHome other(home);
        atItems(items, true);
        atRecords(items);
    }
}

/// `bAll`: at all that is in the target folders, too.
void MachineLook::atItems(const Items& items, bool bAll) {
    for (const auto& [name, item] : items) {
        for (const auto& candidate : item.paths) {
            askFor(candidate.condition);
            if (bAll) {
                atAllIn(candidate.path);
            }
        }
        atItems(item.items, bAll);
    }
}

/// Adds everything in a target folder, or in the folder that contains the folders of all families.
void MachineLook::atAllIn(const VLString& pattern) {
    const unsigned long family = pattern.IndexOf("%FAMILY%", 0);
    const std::string filled = toString(InstallUtility::fillPattern(pattern.Substr(0, family)));
    const std::string folder = pattern.HasOf(family) ? folderAbove(filled) : filled;
    if (!filled.empty()) {
        atFoldersAbove(folder);
        noteAll(folder.empty() ? "/" : folder);
    }
}

void MachineLook::askFor(const Condition& condition) {
    for (const Condition& operand : condition.conditions) {
        askFor(operand);
    }
    note(toString(InstallUtility::fillPattern(condition.value)));
}

/// At the files in the target folders of "VorlaneFX" that runs read.
void MachineLook::atRecords(const Items& items) {
    const auto shared = items.find(Branch::shared);
    if (shared == items.end()) {
        return;
    }
    for (const auto& candidate : shared->second.paths) {
        const VLString folder = InstallUtility::fillPattern(candidate.path);
        noteNames(toString(folder));
        readFile(InstallUtility::statusFilePath(folder));
        readFile(folder + "/" + SharedPackage::definitionsFolder + "/" + SharedPackage::ID + ".xml");
    }
}

void MachineLook::atPlaces(const PlacedProduct& product) {
    std::set<std::string> targets;
    for (const PlacedProduct::Spot& spot : product.spots()) {
        for (const auto* places : {&spot.places, &spot.idle}) {
            for (const PlacedProduct::Place& place : *places) {
                if (spot.bLeaf) {
                    noteAll(toString(place.path));
                } else {
                    noteNames(toString(place.path));
                }
                if (targets.insert(toString(place.target)).second) {
                    atFoldersAbove(toString(place.target));
                }
            }
        }
        VLString shortCut;
        if (spot.node->node->IsShortCutInfoValid() &&
            InstallUtility::createFullShortCutName(*spot.node->node, shortCut)) {
            noteNames(toString(shortCut));
        }
    }
}

/// At the folders above a target folder that an uninstall removes when they are empty.
void MachineLook::atFoldersAbove(const std::string& folder) {
    std::string above = folder;
    for (int i = 0; i < highestClimb; ++i) {
        above = folderAbove(above);
        const VLString path = toVLString(above);
        if (!path.HasOf(path.IndexOfIgnoreCase("vorlane", 0))) {
            return;
        }
        noteNames(above);
    }
}

std::vector<std::string> MachineLook::finish() {
    if (machine.home && Machine::typeOf(toVLString(*machine.home)) != S_IFDIR) {
        remark(*machine.home + ", the home, is no folder, and is described as one");
    }
    return std::exchange(remarks, {});
}

void MachineLook::remark(const std::string& text) {
    const std::string line = printable(text);
    if (std::find(remarks.begin(), remarks.end(), line) == remarks.end()) {
        remarks.push_back(line);
    }
}
