#include "Utility/InstallInspector/Plan/PlannedMachine.h"

#include "Foundation/RegistryHelper.h"
#include "Platform/Utf8.h"
#include "Platform/WholeFile.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallUtility/Pattern.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

using Step = PlannedMachine::Step;
using Verb = PlannedMachine::Verb;

constexpr int mostLinks = 40;
constexpr std::size_t longestName = 255;
constexpr std::size_t longestPath = 4095;

/// The working folder of a run on a described machine. No description can name it.
constexpr const char* emptyFolder = "/./";

bool fails(Step& step, const std::string& why) {
    step.why = why;
    return false;
}

bool endsWithSlash(const std::string& path) {
    return !path.empty() && path.back() == '/';
}

/// Leaves "/" as it is.
std::string withoutLastSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

std::string lastName(const std::string& path) {
    const std::string trimmed = withoutLastSlashes(path);
    return trimmed.substr(trimmed.rfind('/') + 1);
}

std::string folderOf(const std::string& path) {
    const std::string trimmed = withoutLastSlashes(path);
    const std::size_t slash = trimmed.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : withoutLastSlashes(trimmed.substr(0, slash));
}

/// Puts the components of the path on the stack, the first one on top. A slash at the end becomes ".",
/// because the path must then lead to a folder.
void pushComponents(std::string_view path, std::vector<std::string_view>& stack) {
    if (!path.empty() && path.back() == '/') {
        stack.emplace_back(".");
    }
    std::size_t end = path.size();
    while (end > 0) {
        const std::size_t slash = path.rfind('/', end - 1);
        const std::size_t begin = slash == std::string_view::npos ? 0 : slash + 1;
        if (end > begin) {
            stack.push_back(path.substr(begin, end - begin));
        }
        end = begin == 0 ? 0 : begin - 1;
    }
}

/// The path of the working folder. Empty if the folder has been removed.
std::string workingFolder() {
    std::string folder(longestPath + 1, '\0');
    return getcwd(folder.data(), folder.size()) == nullptr ? "" : folder.c_str();
}

std::string realLinkText(const std::string& path) {
    std::string text(longestPath + 1, '\0');
    const ssize_t length = readlink(path.c_str(), text.data(), text.size());
    text.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return text;
}

std::string inside(const std::string& folder, const std::string& name) {
    return endsWithSlash(folder) ? folder + name : folder + "/" + name;
}

std::string printed(const std::function<void(FILE*)>& print) {
    char* text = nullptr;
    std::size_t size = 0;
    FILE* stream = open_memstream(&text, &size);
    if (stream == nullptr) {
        throw CannotForesee("there is no memory for the record");
    }
    print(stream);
    const bool bComplete = std::fclose(stream) == 0;
    std::string result(text, size);
    std::free(text);
    if (!bComplete) {
        throw CannotForesee("there is no memory for the record");
    }
    return result;
}

// Commands

[[noreturn]] void cannotForesee(const std::string& command, const std::string& reason) {
    throw CannotForesee(reason + ": " + printable(command));
}

/// Throws CannotForesee if the shell or the tool would not take `path` as a path.
void refuseShellSyntax(const std::string& command, const std::string& path) {
    if (path.find_first_of("\"$`\\") != std::string::npos) {
        cannotForesee(command, "the shell would interpret a character of the path");
    }
    if (!path.empty() && path.front() == '-') {
        cannotForesee(command, "a path that begins with a hyphen is an option to the tool");
    }
}

Verb verbOf(Command::Verb verb) {
    switch (verb) {
    case Command::Verb::RemoveFile:
        return Verb::RemoveFile;
    case Command::Verb::RemoveFolder:
        return Verb::RemoveFolder;
    case Command::Verb::RemoveEmptyFolder:
        return Verb::RemoveEmptyFolder;
    case Command::Verb::MakeFolder:
    case Command::Verb::MakeFolderWithParents:
        return Verb::MakeFolder;
    case Command::Verb::CopyFile:
        return Verb::CopyFile;
    case Command::Verb::CopyFolder:
    case Command::Verb::CopyFolderWithDitto:
        return Verb::CopyFolder;
    case Command::Verb::Link:
        return Verb::Link;
    case Command::Verb::Touch:
        break;
    }
    return Verb::Touch;
}

/// Whether the command only asks for a home folder, and the shell interprets nothing in its text or answer.
bool onlyAsks(const std::string& command) {
    const std::string home = "eval echo '~";
    if (command == "eval echo $HOME") {
        const char* value = Machine::current().environmentHome();
        return value == nullptr || Pattern::isFitForEval(value);
    }
    return command.size() > home.size() && command.compare(0, home.size(), home) == 0 &&
           command.back() == '\'' &&
           Pattern::isFitForEval(toVLString(command.substr(home.size(), command.size() - home.size() - 1)));
}

} // namespace

PlannedMachine::PlannedMachine()
    : root(nodeAt("/")), startFolder(workingFolder()), bStartFolderGone(startFolder.empty()) {}

PlannedMachine::PlannedMachine(const MachineDescription& description)
    : described(description), startFolder(emptyFolder) {
    root.type = S_IFDIR;
    for (const auto& [path, entry] : description.entries) {
        make(path, entry.type, entry.text);
    }
    described->entries.clear();
    giveFolder(emptyFolder);
}

void PlannedMachine::give(const std::string& path) {
    const std::string name = withoutLastSlashes(path);
    const bool bAbsolute = !name.empty() && name.front() == '/';
    if (name.empty() || (bAbsolute && linkTypeOf(toVLString(name)) != 0)) {
        return;
    }
    Node node = nodeAt(name);
    if (node.type == S_IFLNK) {
        std::error_code error;
        node = nodeAt(std::filesystem::canonical(name, error));
    }
    if (node.type == S_IFDIR) {
        readWhole(node);
    }
    given[name] = std::move(node);
}

void PlannedMachine::giveFolder(const std::string& path) {
    given[path] = Node{S_IFDIR, "", "", {}, 0};
}

/// Reads the names of all files in the folder into memory. From then on names are compared as they are, even
/// if the disk treats two of them as the same.
void PlannedMachine::readWhole(Node& folder) {
    for (const std::string& name : childNames(folder)) {
        Node& child = childOf(folder, name);
        if (child.type == S_IFDIR) {
            readWhole(child);
        }
    }
    folder.origin.clear();
}

void PlannedMachine::make(const std::string& path, mode_t type, std::string text) {
    const auto inGiven = givenWith(path);
    Node* node = inGiven == given.end() ? &root : &inGiven->second;
    std::vector<std::string_view> names;
    pushComponents(std::string_view(path).substr(inGiven == given.end() ? 0 : inGiven->first.size()), names);
    for (; !names.empty(); names.pop_back()) {
        node->type = S_IFDIR;
        node = &childOf(*node, names.back());
    }
    if (type != S_IFDIR) {
        *node = madeFile(std::move(text));
    }
    node->type = type;
}

void PlannedMachine::begin() {
    recordedSteps.clear();
    alertTexts.clear();
    folderPlaces.clear();
    if (described) {
        earlier.reset();
        earlier = std::make_shared<PlannedMachine>(*this);
    }
}

std::string PlannedMachine::linkTextBefore(const std::string& path) {
    return earlier == nullptr ? realLinkText(path) : earlier->linkText(path);
}

// The machine in memory

PlannedMachine::Node PlannedMachine::nodeAt(const std::string& path) {
    Node node;
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0) {
        node.type = status.st_mode & S_IFMT;
        node.origin = path;
        node.text = node.type == S_IFLNK ? realLinkText(path) : "";
    }
    return node;
}

PlannedMachine::Child& PlannedMachine::entryOf(Node& folder, std::string_view name) {
    const auto known = folder.children.find(name);
    if (known != folder.children.end()) {
        return *known;
    }
    const auto child = folder.children.try_emplace(std::string(name)).first;
    if (!folder.origin.empty()) {
        child->second = nodeAt(inside(folder.origin, child->first));
    }
    return *child;
}

std::vector<std::string> PlannedMachine::childNames(Node& folder) {
    if (!folder.origin.empty()) {
        std::error_code error;
        for (std::filesystem::directory_iterator entry(folder.origin, error), end; !error && entry != end;
             entry.increment(error)) {
            childOf(folder, entry->path().filename().string());
        }
    }
    std::vector<std::string> names;
    for (const auto& [name, child] : folder.children) {
        if (child.type != 0) {
            names.push_back(name);
        }
    }
    return names;
}

std::size_t PlannedMachine::countBelow(Node& folder) {
    std::size_t count = 0;
    for (const std::string& name : childNames(folder)) {
        Node& child = childOf(folder, name);
        count += 1 + (child.type == S_IFDIR ? countBelow(child) : 0);
    }
    return count;
}

PlannedMachine::Place PlannedMachine::nowhere(int error) {
    Place place;
    place.error = error;
    return place;
}

PlannedMachine::Place PlannedMachine::find(const std::string& path, bool bFollow) {
    const bool bRelative = path.empty() || path.front() != '/';
    if (path.size() > longestPath) {
        return nowhere(ENAMETOOLONG);
    }
    const auto inGiven = givenWith(path);
    if (inGiven != given.end()) {
        return walk(std::string_view(path).substr(inGiven->first.size()), bFollow, inGiven->second,
                    inGiven->first);
    }
    if (path.empty() || (bRelative && bStartFolderGone)) {
        return nowhere(ENOENT);
    }
    return bRelative ? find(inside(startFolder, path), bFollow) : walk(path, bFollow, root, "");
}

/// The innermost given path that contains `path`. The search begins at the end, where longer paths are.
PlannedMachine::Given::iterator PlannedMachine::givenWith(const std::string& path) {
    for (auto each = given.end(); each != given.begin();) {
        const std::string& name = (--each)->first;
        if (path.compare(0, name.size(), name) == 0 &&
            (path.size() == name.size() || path[name.size()] == '/' || endsWithSlash(name))) {
            return each;
        }
    }
    return given.end();
}

/// Follows `path` from the folder `start`, whose own path is `within`.
PlannedMachine::Place PlannedMachine::walk(std::string_view path, bool bFollow, Node& start,
                                           const std::string& within) {
    constexpr std::size_t usualDepth = 16;
    std::vector<std::string_view> rest;
    rest.reserve(usualDepth);
    pushComponents(path, rest);
    Place place;
    place.node = &start;
    place.within = within;
    place.folders.reserve(usualDepth);
    place.names.reserve(usualDepth);
    int links = 0;
    while (!rest.empty()) {
        const std::string_view name = rest.back();
        rest.pop_back();
        if (place.node->type != S_IFDIR) {
            return nowhere(place.node->type == 0 ? ENOENT : ENOTDIR);
        }
        if (name.size() > longestName) {
            return nowhere(ENAMETOOLONG);
        }
        if (name == ".") {
            continue;
        }
        if (name == "..") {
            if (!place.folders.empty()) {
                place.node = place.folders.back();
                place.folders.pop_back();
                place.names.pop_back();
            }
            continue;
        }
        Child& entry = entryOf(*place.node, name);
        Node& next = entry.second;
        if (next.type != S_IFLNK || (rest.empty() && !bFollow)) {
            place.folders.push_back(place.node);
            place.names.push_back(&entry.first);
            place.node = &next;
            continue;
        }
        if (++links > mostLinks || next.text.empty()) {
            return nowhere(next.text.empty() ? ENOENT : ELOOP);
        }
        if (next.text.front() == '/') {
            place.node = &root;
            place.within.clear();
            place.folders.clear();
            place.names.clear();
        }
        pushComponents(next.text, rest);
    }
    return place;
}

std::string PlannedMachine::placeOf(const std::string& path) {
    const std::string full =
        withoutLastSlashes(path.empty() || path.front() != '/' ? inside(startFolder, path) : path);
    const std::string name = lastName(full);
    return name.empty() || name == "." || name == ".." ? placeOfFolder(full)
                                                       : inside(placeOfFolder(folderOf(full)), name);
}

std::string PlannedMachine::placeOfFolder(const std::string& path) {
    const auto [known, bNew] = folderPlaces.try_emplace(path);
    if (bNew) {
        const Place place = find(path, true);
        if (place.node == nullptr || place.node->type == 0) {
            known->second = inside(placeOfFolder(folderOf(path)), lastName(path));
        } else {
            known->second = place.within;
            for (const std::string* name : place.names) {
                known->second += "/" + *name;
            }
            known->second = known->second.empty() ? "/" : known->second;
        }
    }
    return known->second;
}

std::string PlannedMachine::linkText(const std::string& path) {
    const Place place = find(path, false);
    return place.node == nullptr || place.node->type != S_IFLNK ? "" : place.node->text;
}

bool PlannedMachine::isFolder(const std::string& path) {
    return typeOf(toVLString(path)) == S_IFDIR;
}

/// Copies the content of one folder into another. On a failure, sets `why`, goes on with the next name and
/// returns false at the end.
bool PlannedMachine::merge(Node& source, Node& destination, std::string& why) {
    bool bResult = true;
    for (const std::string& name : childNames(source)) {
        Node& from = childOf(source, name);
        Node& to = childOf(destination, name);
        if (from.type == S_IFDIR && to.type == S_IFDIR) {
            bResult = merge(from, to, why) && bResult;
        } else if (to.type == 0 || (from.type != S_IFDIR && to.type != S_IFDIR)) {
            to = Node(from);
        } else {
            why = "\"" + printable(name) + "\" is a folder in one of the two and not in the other";
            bResult = false;
        }
    }
    return bResult;
}

// Questions

mode_t PlannedMachine::typeOf(const VLString& path) {
    const Place place = find(toString(path), true);
    return place.node == nullptr ? 0 : place.node->type;
}

mode_t PlannedMachine::linkTypeOf(const VLString& path) {
    const Place place = find(toString(path), false);
    return place.node == nullptr ? 0 : place.node->type;
}

std::vector<VLString> PlannedMachine::namesIn(const VLString& folder) {
    const Place place = find(toString(folder), true);
    std::vector<VLString> names;
    if (place.node != nullptr && place.node->type == S_IFDIR) {
        for (const std::string& name : childNames(*place.node)) {
            names.push_back(toVLString(name));
        }
    }
    return names;
}

FileContent PlannedMachine::readFile(const VLString& path) {
    const Place place = find(toString(path), true);
    FileContent content;
    if (place.node == nullptr || place.node->type == 0) {
        content.error = place.node == nullptr ? place.error : ENOENT;
        return content;
    }
    if (!place.node->origin.empty()) {
        return Machine::readFile(toVLString(place.node->origin));
    }
    content.state = stateOf(*place.node);
    const std::string& text = place.node->text;
    if (place.node->type == S_IFREG && !text.empty()) {
        content.size = text.size();
        content.bytes = std::make_unique<char[]>(content.size + 1);
        std::memcpy(content.bytes.get(), text.c_str(), content.size + 1);
    }
    return content;
}

bool PlannedMachine::hasProgram(const VLString& name) {
    return described ? described->bDitto && name == "ditto" : Machine::hasProgram(name);
}

const char* PlannedMachine::environmentHome() {
    return !described ? Machine::environmentHome() : described->home ? described->home->c_str() : nullptr;
}

VLString PlannedMachine::preference(const VLString& key, const VLString& valueName, const VLString& folder) {
    if (!described) {
        return Machine::preference(key, valueName, folder);
    }
    char stem[RegistryHelper::nameBufferSize] = {};
    RegistryHelper::Normalize(stem, key.ConstData());
    for (const auto& [home, preferences] : described->users) {
        const auto values = preferences.find(stem);
        if (folder == toVLString(home + "/Library/Preferences") && values != preferences.end()) {
            const auto value = values->second.find(toString(valueName));
            return value == values->second.end() ? VLString() : toVLString(value->second);
        }
    }
    return VLString();
}

VLString PlannedMachine::mainBundlePath() {
    return bundle;
}

bool PlannedMachine::showRetryCancelAlert(const VLString& /*title*/, const VLString& text) {
    alertTexts.push_back(toString(text));
    return false;
}

/// A copied file has the state of its source. So it differs from the file that it replaces.
FileState PlannedMachine::stateOf(const Node& node) {
    if (!node.origin.empty()) {
        return WholeFile::StateOf(node.origin);
    }
    FileState state;
    state.type = node.type;
    state.inode = node.number;
    state.size = static_cast<std::int64_t>(node.text.size());
    return state;
}

PlannedMachine::Node PlannedMachine::madeFile(std::string text) {
    return {S_IFREG, "", std::move(text), {}, ++filesMade};
}

Machine::Saved PlannedMachine::saveFile(const VLString& path, const std::function<void(FILE*)>& print,
                                        const FileState* expected, int& error) {
    const Place place = find(toString(path), true);
    const auto fails = [&error](int reason) {
        error = reason;
        return Saved::No;
    };
    if (place.node == nullptr || place.node->type == S_IFDIR) {
        return fails(place.node == nullptr ? place.error : EISDIR);
    }
    if (place.node->type != 0 && place.node->type != S_IFREG) {
        return Saved::Yes;
    }
    // The new file is written next to the old one first.
    Node& unfinished = childOf(*place.folders.back(), *place.names.back() + ".new");
    if (unfinished.type == S_IFDIR) {
        return fails(EISDIR);
    }
    unfinished = Node();
    const FileState found = place.node->type == 0 ? FileState() : stateOf(*place.node);
    if (expected != nullptr && found != *expected) {
        return Saved::ChangedMeanwhile;
    }
    *place.node = madeFile(printed(print));
    return Saved::Yes;
}

bool PlannedMachine::createFile(const VLString& path, const char* bytes, std::size_t size, int& error) {
    const Place place = find(toString(path), false);
    if (place.node == nullptr || place.node->type != 0) {
        error = place.node == nullptr ? place.error : EEXIST;
        return false;
    }
    *place.node = madeFile(std::string(bytes, size));
    return true;
}

// Commands

bool PlannedMachine::capture(const VLString& command, VLString& output) {
    const std::string text = toString(command);
    const auto known = answers.find(text);
    if (known != answers.end()) {
        output = toVLString(known->second);
    } else if (!onlyAsks(text)) {
        cannotForesee(text, "the shell might do more than answer");
    } else if (described) {
        output = toVLString(
            (text == "eval echo $HOME" ? described->home.value_or("") : described->accountHome) + "\n");
    } else if (!Machine::capture(command, output)) {
        return false;
    }
    answers[text] = toString(output);
    if (withoutSteps == 0) {
        Step step;
        step.command = text;
        recordedSteps.push_back(step);
    }
    return true;
}

bool PlannedMachine::run(const Command& command) {
    Step step;
    step.command = toString(command.text());
    step.verb = verbOf(command.verb);
    step.path = toString(command.path);
    step.source = toString(command.source);
    refuseShellSyntax(step.command, step.path);
    refuseShellSyntax(step.command, step.source);
    if (command.verb == Command::Verb::MakeFolder) {
        cannotForesee(step.command, "no run is known to make a folder without those above it");
    }
    return performAndRecord(std::move(step));
}

bool PlannedMachine::performAndRecord(Step step) {
    const auto inGiven = givenWith(step.path);
    if (inGiven != given.end() && inGiven->first != emptyFolder) {
        cannotForesee(step.command.empty() ? step.path : step.command,
                      "the run would change what it is given");
    }
    step.before = linkTypeOf(toVLString(step.path));
    folderPlaces.clear();
    step.bSucceeded = perform(step);
    const bool bRemoves = step.verb == Verb::RemoveFolder || step.verb == Verb::RemoveEmptyFolder ||
                          step.verb == Verb::RemoveItem;
    bStartFolderGone = bStartFolderGone || (bRemoves && !isFolder(startFolder));
    recordedSteps.push_back(step);
    return step.bSucceeded;
}

bool PlannedMachine::perform(Step& step) {
    if (step.command.empty() && !(isUtf8(step.source) && isUtf8(step.path))) {
        return fails(step, "the path is not UTF-8");
    }
    switch (step.verb) {
    case Verb::MakeFolder:
    case Verb::CreateFolder:
        return makeFolder(step, step.path);
    case Verb::CopyFile:
        return copyFile(step, step.path);
    case Verb::CopyFolder:
        return copyFolder(step);
    case Verb::Link:
        return link(step);
    case Verb::Touch:
        return touch(step);
    case Verb::RemoveFile:
        return removeFile(step);
    case Verb::RemoveFolder:
        return removeFolder(step);
    case Verb::RemoveEmptyFolder:
        return removeEmptyFolder(step);
    case Verb::RemoveItem:
        return removeItem(step);
    case Verb::CopyItem:
        return copyItem(step);
    case Verb::CreateLink:
        return createLink(step);
    case Verb::Ask:
        break;
    }
    return true;
}

/// Makes the folder, and the folders above it.
bool PlannedMachine::makeFolder(Step& step, const std::string& path) {
    const std::string folder = withoutLastSlashes(path);
    if (folder.empty()) {
        return fails(step, "the path is empty");
    }
    if (find(folder, false).node == nullptr) {
        const std::string above = folderOf(folder);
        if (above == folder || above == "." || !makeFolder(step, above)) {
            return !step.why.empty()  ? false
                   : bStartFolderGone ? fails(step, "the folder in which the run is started is gone")
                                      : fails(step, "the path is too long");
        }
    }
    const Place place = find(folder, false);
    if (place.node == nullptr) {
        return fails(step, "a name in it is too long");
    }
    if (place.node->type != 0) {
        return isFolder(folder) || fails(step, printable(folder) + " is in the way");
    }
    place.node->type = S_IFDIR;
    step.made.push_back(folder);
    return true;
}

bool PlannedMachine::copyFile(Step& step, const std::string& path) {
    const Place source = find(step.source, true);
    Place destination = find(path, true);
    if (source.node == nullptr || source.node->type != S_IFREG) {
        return fails(step, "the source is not there");
    }
    if (destination.error == ELOOP) {
        destination = find(path, false); // a link that cannot be opened is replaced
    }
    if (destination.node == nullptr) {
        return fails(step, printable(folderOf(path)) + " is not there");
    }
    if (destination.node->type == S_IFDIR) {
        return path == step.path ? copyFile(step, inside(path, lastName(step.source)))
                                 : fails(step, printable(path) + " is a folder");
    }
    if (destination.node == source.node) {
        return fails(step, "source and destination are the same file");
    }
    if (destination.node->type == 0 && linkTypeOf(toVLString(path)) == S_IFLNK) {
        return fails(step, printable(path) + " is a link that leads nowhere");
    }
    if (destination.node->type != 0 && destination.node->type != S_IFREG &&
        destination.node->type != S_IFLNK) {
        cannotForesee(step.command, "the destination is no file");
    }
    *destination.node = Node(*source.node);
    return true;
}

bool PlannedMachine::copyFolder(Step& step) {
    // The command without ditto makes the folder first. That may make the source, too.
    const bool bMakesFolder = isFolder(step.source) || step.command.rfind("mkdir", 0) == 0;
    if (bMakesFolder && !makeFolder(step, step.path)) {
        return false;
    }
    const Place source = find(step.source, true);
    if (source.node == nullptr || source.node->type != S_IFDIR) {
        return fails(step, "the source is not there");
    }
    const Place destination = find(step.path, true);
    if (destination.node == source.node ||
        std::count(destination.folders.begin(), destination.folders.end(), source.node) != 0) {
        cannotForesee(step.command, "a folder would be copied into itself");
    }
    Node copy = *source.node;
    return merge(copy, *destination.node, step.why);
}

bool PlannedMachine::link(Step& step) {
    step.inside = isFolder(step.path) ? placeOfFolder(step.path) : "";
    const std::string path = step.inside.empty() ? step.path : inside(step.path, lastName(step.source));
    const Place place = find(path, false);
    if (place.node == nullptr) {
        return fails(step, printable(folderOf(path)) + " is not there");
    }
    if (place.node->type == S_IFDIR) {
        return fails(step, printable(path) + " is a folder");
    }
    if (place.node == find(step.source, true).node) {
        return fails(step, "the link would lead to itself");
    }
    *place.node = Node{S_IFLNK, "", step.source, {}, 0};
    return true;
}

bool PlannedMachine::touch(Step& step) {
    const Place place = find(step.path, true);
    if (place.node == nullptr) {
        return fails(step, printable(folderOf(step.path)) + " is not there");
    }
    if (place.node->type == 0) {
        place.node->type = S_IFREG;
    }
    return true;
}

/// The result of a tool that removes something where nothing is.
bool PlannedMachine::removeNothing(Step& step, const Place& place) {
    return place.node != nullptr || place.error == ENOENT || place.error == ENOTDIR ||
           fails(step, place.error == ELOOP ? "links on the way lead in a circle" : "the path is too long");
}

bool PlannedMachine::removeFile(Step& step) {
    const Place place = find(step.path, false);
    if (place.node == nullptr || place.node->type == 0) {
        return removeNothing(step, place);
    }
    if (place.node->type == S_IFDIR) {
        return fails(step, "it is a folder");
    }
    *place.node = Node();
    return true;
}

bool PlannedMachine::removeFolder(Step& step) {
    const std::string path = withoutLastSlashes(step.path);
    const Place place = find(path, false);
    if (place.node == nullptr || place.node->type == 0) {
        return removeNothing(step, place);
    }
    const std::string name = lastName(path);
    if (name == "." || name == "..") {
        return fails(step, "rm refuses to remove \".\" and \"..\"");
    }
    if (place.folders.empty() || (place.node->type == S_IFLNK && path != step.path)) {
        cannotForesee(step.command, "tools differ in what they do here");
    }
    step.removed = place.node->type == S_IFDIR ? countBelow(*place.node) : 0;
    *place.node = Node();
    return true;
}

bool PlannedMachine::removeEmptyFolder(Step& step) {
    const std::string path = withoutLastSlashes(step.path);
    const Place place = find(path, false);
    const std::string name = lastName(path);
    if (place.node == nullptr || place.node->type != S_IFDIR) {
        return fails(step, "it is no folder itself");
    }
    if (place.folders.empty() || name == "." || name == ".." || !childNames(*place.node).empty()) {
        return fails(step, "it is not empty");
    }
    *place.node = Node();
    return true;
}

// Steps without a shell

bool PlannedMachine::removeItem(const VLString& path) {
    Step step;
    step.verb = Verb::RemoveItem;
    step.path = withoutLastSlashes(toString(path));
    return performAndRecord(step);
}

bool PlannedMachine::createFolder(const VLString& path) {
    Step step;
    step.verb = Verb::CreateFolder;
    step.path = withoutLastSlashes(toString(path));
    return performAndRecord(step);
}

bool PlannedMachine::copyItem(const VLString& source, const VLString& destination) {
    Step step;
    step.verb = Verb::CopyItem;
    step.source = withoutLastSlashes(toString(source));
    step.path = withoutLastSlashes(toString(destination));
    return performAndRecord(step);
}

bool PlannedMachine::createSymbolicLink(const VLString& link, const VLString& target) {
    Step step;
    step.verb = Verb::CreateLink;
    step.source = toString(target);
    step.path = withoutLastSlashes(toString(link));
    return performAndRecord(step);
}

bool PlannedMachine::removeItem(Step& step) {
    const Place place = find(step.path, false);
    if (place.node == nullptr || place.node->type == 0 || place.folders.empty()) {
        return fails(step, "it is not there");
    }
    *place.node = Node();
    return true;
}

bool PlannedMachine::copyItem(Step& step) {
    const Place destination = find(step.path, false);
    if (destination.node == nullptr) {
        return fails(step, printable(folderOf(step.path)) + " is not there");
    }
    if (destination.node->type != 0) {
        return fails(step, "it is there already");
    }
    if (step.source == bundle) {
        *destination.node = Node{S_IFDIR, "", "", {{"Contents", Node{S_IFDIR, "", "", {}, 0}}}, 0};
        return true;
    }
    const Place source = find(step.source, false);
    if (source.node == nullptr ||
        (source.node->type != S_IFREG && source.node->type != S_IFDIR && source.node->type != S_IFLNK)) {
        return fails(step, printable(step.source) + " cannot be copied");
    }
    if (std::count(destination.folders.begin(), destination.folders.end(), source.node) != 0) {
        return fails(step, "a folder cannot be copied into itself");
    }
    *destination.node = Node(*source.node);
    return true;
}

bool PlannedMachine::createLink(Step& step) {
    const Place place = find(step.path, false);
    if (place.node == nullptr) {
        return fails(step, printable(folderOf(step.path)) + " is not there");
    }
    if (place.node->type != 0) {
        return fails(step, "it is there already");
    }
    *place.node = Node{S_IFLNK, "", step.source, {}, 0};
    return true;
}
