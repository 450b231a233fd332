#include "Utility/InstallInspector/Documents/MachineDescription.h"

#include "Foundation/RegistryHelper.h"
#include "Platform/WholeFile.h"
#include "Utility/InstallInspector/Documents/FolderAbove.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallInspector/Report/JsonWriter.h"
#include "Utility/InstallInspector/Report/NearestName.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <functional>
#include <set>
#include <sys/stat.h>
#include <utility>

namespace {

using Json = nlohmann::json;
using Entry = MachineDescription::Entry;
using Preferences = MachineDescription::Preferences;

constexpr std::size_t largestFile = std::size_t{128} << 20U;
constexpr std::size_t mostNames = 2000000; ///< of all files, and of the folders above them
constexpr std::size_t longestName = 255;
constexpr std::size_t longestPath = 4095;
constexpr int deepest = 5; // a text in the preferences of another user has five objects and lists around it

/// `where` is the place in the document, such as "files[2]".
[[noreturn]] void fail(const std::string& where, const std::string& what) {
    throw BadDescription(where.empty() ? what : where + ": " + what);
}

std::string inQuotes(const std::string& text) {
    return quotedText(toVLString(text));
}

std::string stemOf(const std::string& key) {
    std::array<char, RegistryHelper::nameBufferSize> stem{};
    RegistryHelper::Normalize(stem.data(), key.c_str());
    return stem.data();
}

bool isAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

const char* kindOf(mode_t type) {
    return type == S_IFREG ? "a file" : type == S_IFLNK ? "a link" : "neither a file nor a folder";
}

// The document

/// Refuses while it is read what a document in memory does not show any more, or what would be too deep.
class Guard {
public:
    bool operator()(int depth, Json::parse_event_t event, Json& parsed) {
        using Event = Json::parse_event_t;
        if (event == Event::object_start || event == Event::array_start) {
            if (depth >= deepest) {
                fail("", "it is nested too deep for a machine");
            }
            members.emplace_back();
        } else if (event == Event::object_end || event == Event::array_end) {
            members.pop_back();
        } else if (event == Event::key) {
            const auto& name = parsed.get_ref<const std::string&>();
            if (!members.back().insert(name).second) {
                fail("", "the member " + inQuotes(name) + " is there twice");
            }
        }
        return true;
    }

private:
    std::vector<std::set<std::string>> members; ///< of each object that is open; none of a list
};

Json parse(const FileContent& content) {
    try {
        const char* begin = content.bytes == nullptr ? "" : content.bytes.get();
        if (std::strlen(begin) < content.size) {
            fail("", "it holds a zero byte"); // which would end it
        }
        return Json::parse(begin, begin + content.size, Guard());
    } catch (const Json::exception& error) {
        // Behind the name of the exception.
        const std::string text = error.what();
        const std::size_t end = text.find("] ");
        fail("", "it is no JSON: " +
                     printableText(toVLString(end == std::string::npos ? text : text.substr(end + 2))));
    }
}

/// Fills a description from a document.
class Reader {
public:
    Reader(MachineDescription& toFill, std::string itsFolder)
        : machine(toFill), folder(std::move(itsFolder)) {}

    void read(const Json& document) {
        Preferences preferences;
        std::optional<std::string> account;
        members(
            document, "",
            {{"$schema", [](const Json& value, const auto& where) { text(value, where); }},
             {"home", [&](const Json& value, const auto& where) { machine.home = home(value, where); }},
             {"accountHome", [&](const Json& value, const auto& where) { account = text(value, where); }},
             {"preferences",
              [&](const Json& value, const auto& where) { preferences = readPreferences(value, where); }},
             {"otherUsers",
              [&](const Json& value, const auto& where) { each(value, where, &Reader::readOtherUser); }},
             {"ditto", [&](const Json& value, const auto& where) { readDitto(value, where); }},
             {"folders",
              [&](const Json& value, const auto& where) { each(value, where, &Reader::readFolder); }},
             {"files", [&](const Json& value, const auto& where) { each(value, where, &Reader::readFile); }},
             {"links", [&](const Json& value, const auto& where) { readLinks(value, where); }},
             {"others",
              [&](const Json& value, const auto& where) { each(value, where, &Reader::readOther); }},
             {"products",
              [&](const Json& value, const auto& where) { each(value, where, &Reader::readProduct); }}});
        machine.accountHome = account.value_or(machine.home.value_or(""));
        if (!preferences.empty() && !machine.users.emplace(machine.accountHome, preferences).second) {
            fail("otherUsers", inQuotes(machine.accountHome) + " is the home of the user");
        }
        checkSize();
        checkFoldersAbove();
        addHomes();
    }

private:
    using Handler = std::function<void(const Json& value, const std::string& where)>;

    static void members(const Json& object, const std::string& where,
                        const std::map<std::string, Handler>& handlers) {
        if (!object.is_object()) {
            fail(where, "an object is wanted, { ... }");
        }
        std::vector<std::string> known;
        known.reserve(handlers.size());
        for (const auto& [name, handler] : handlers) {
            known.push_back(name);
        }
        for (const auto& [name, value] : object.items()) {
            const auto handler = handlers.find(name);
            if (handler == handlers.end()) {
                const auto nearest = nearestName(name, known);
                fail(where, "unknown member " + inQuotes(name) +
                                (nearest ? "; write " + inQuotes(*nearest) : std::string()));
            }
            std::string place = where;
            handler->second(value, place.append(where.empty() ? "" : ".").append(name));
        }
    }

    void each(const Json& list, const std::string& where,
              void (Reader::*handle)(const Json&, const std::string&)) {
        if (!list.is_array()) {
            fail(where, "a list is wanted, [ ... ]");
        }
        for (std::size_t i = 0; i < list.size(); ++i) {
            (this->*handle)(list[i], where + "[" + std::to_string(i) + "]");
        }
    }

    static const std::string& text(const Json& value, const std::string& where) {
        if (!value.is_string()) {
            fail(where, "a text is wanted, \"...\"");
        }
        return value.get_ref<const std::string&>();
    }

    /// A home folder is an absolute path. Unlike other paths, it may be written in any way.
    static const std::string& home(const Json& value, const std::string& where) {
        const std::string& path = text(value, where);
        const std::string given = "the path " + inQuotes(path);
        if (path.empty() || path.front() != '/') {
            fail(where, given + " does not begin with \"/\"");
        }
        if (path.size() > longestPath || path.find('\0') != std::string::npos) {
            fail(where, given + (path.size() > longestPath ? " is too long" : " holds a zero byte"));
        }
        return path;
    }

    /// An absolute path that is written in only one way.
    static const std::string& path(const Json& value, const std::string& where) {
        const std::string& path = home(value, where);
        const std::string given = "the path " + inQuotes(path);
        for (std::size_t begin = 1, end = 0; end < path.size() && path != "/"; begin = end + 1) {
            end = std::min(path.find('/', begin), path.size());
            const std::string name = path.substr(begin, end - begin);
            if (name.empty() || name == "." || name == "..") {
                fail(where, given + " has an empty name, \".\" or \"..\" in it");
            }
            if (name.size() > longestName) {
                fail(where, given + " has a name that is too long");
            }
        }
        return path;
    }

    void add(const Json& value, Entry entry, const std::string& where) {
        const std::string& added = path(value, where);
        if (added == "/" && entry.type != S_IFDIR) {
            fail(where, "\"/\" is a folder");
        }
        if (!machine.entries.emplace(added, std::move(entry)).second) {
            fail(where, "the path " + inQuotes(added) + " is there twice");
        }
    }

    void readFolder(const Json& value, const std::string& where) { add(value, {S_IFDIR, ""}, where); }

    void readOther(const Json& value, const std::string& where) { add(value, {S_IFSOCK, ""}, where); }

    void readFile(const Json& value, const std::string& where) {
        if (value.is_string()) {
            add(value, {S_IFREG, ""}, where);
            return;
        }
        const Json* file = nullptr;
        std::string content;
        members(value, where,
                {{"path", [&](const Json& member, const auto&) { file = &member; }},
                 {"text", [&](const Json& member, const auto& place) { content = text(member, place); }}});
        if (file == nullptr) {
            fail(where, "the member \"path\" is missing");
        }
        add(*file, {S_IFREG, content}, where + ".path");
    }

    void readLinks(const Json& value, const std::string& where) {
        if (!value.is_object()) {
            fail(where, "an object is wanted, { ... }");
        }
        for (const auto& [link, target] : value.items()) {
            const std::string place = where + "." + printable(link);
            const std::string& linkTarget = text(target, place);
            if (linkTarget.empty() || linkTarget.size() > longestPath ||
                linkTarget.find('\0') != std::string::npos) {
                fail(place, "what a link says is neither empty nor too long, and holds no zero byte");
            }
            add(Json(link), {S_IFLNK, linkTarget}, place);
        }
    }

    static Preferences readPreferences(const Json& keys, const std::string& where) {
        if (!keys.is_object()) {
            fail(where, "an object is wanted, { ... }");
        }
        Preferences preferences;
        for (const auto& [key, values] : keys.items()) {
            const std::string place = where + "." + printable(key);
            const auto [file, bNew] = preferences.try_emplace(stemOf(key));
            if (!bNew) {
                fail(place, "another key has the same file, com.vorlane." + file->first + ".plist");
            }
            if (!values.is_object()) {
                fail(place, "an object is wanted, { ... }");
            }
            for (const auto& [name, value] : values.items()) {
                const std::string valuePlace = place + "." + printable(name);
                if (!isAscii(name) || !isAscii(text(value, valuePlace))) {
                    fail(valuePlace, "the engine reads no preference with other characters than ASCII");
                }
                file->second[name] = text(value, valuePlace);
            }
        }
        return preferences;
    }

    void readOtherUser(const Json& value, const std::string& where) {
        std::string itsHome;
        Preferences preferences;
        members(value, where,
                {{"home", [&](const Json& member, const auto& place) { itsHome = home(member, place); }},
                 {"preferences", [&](const Json& member, const auto& place) {
                      preferences = readPreferences(member, place);
                  }}});
        if (itsHome.empty()) {
            fail(where, "the member \"home\" is missing");
        }
        if (!machine.users.emplace(itsHome, std::move(preferences)).second) {
            fail(where, "the home " + inQuotes(itsHome) + " is there twice");
        }
    }

    void readDitto(const Json& value, const std::string& where) {
        if (!value.is_boolean()) {
            fail(where, "true or false is wanted");
        }
        machine.bDitto = value.get<bool>();
    }

    void readProduct(const Json& value, const std::string& where) {
        MachineDescription::Product product;
        const auto file = [&](std::string& member) {
            return [&](const Json& path, const std::string& place) {
                member = text(path, place);
                if (member.empty() || member.find('\0') != std::string::npos) {
                    fail(place, "the path of a file is wanted");
                }
                // A relative path begins at the folder of the description, not at the working folder.
                member = member.front() == '/' ? member : folder + member;
            };
        };
        members(value, where, {{"definition", file(product.definition)}, {"targets", file(product.targets)}});
        if (product.definition.empty() || product.targets.empty()) {
            fail(where, std::string("the member \"") +
                            (product.definition.empty() ? "definition" : "targets") + "\" is missing");
        }
        machine.products.push_back(std::move(product));
    }

    /// In the order of the paths, what a path has of the one before it is counted once.
    void checkSize() const {
        std::size_t names = 0;
        const std::string* last = nullptr;
        for (const auto& [path, entry] : machine.entries) {
            const auto differs =
                last == nullptr ? path.begin()
                                : std::mismatch(path.begin(), path.end(), last->begin(), last->end()).first;
            names += 1 + static_cast<std::size_t>(std::count(differs, path.end(), '/'));
            last = &path;
        }
        if (names > mostNames) {
            fail("", "it describes more than " + std::to_string(mostNames) + " files and folders");
        }
    }

    void checkFoldersAbove() const {
        for (const auto& [path, entry] : machine.entries) {
            const auto below = machine.entries.lower_bound(path + "/");
            if (entry.type != S_IFDIR && below != machine.entries.end() &&
                below->first.compare(0, path.size() + 1, path + "/") == 0) {
                fail(inQuotes(below->first),
                     inQuotes(path) + " is " + kindOf(entry.type) + ", so nothing can be below it");
            }
        }
    }

    bool hasFileAbove(const std::string& path) const {
        for (std::string above = folderAbove(path); !above.empty(); above = folderAbove(above)) {
            const auto found = machine.entries.find(above);
            if (found != machine.entries.end() && found->second.type != S_IFDIR) {
                return true;
            }
        }
        return false;
    }

    /// The home folders and the files of the preferences need not be listed.
    void addHomes() {
        if (machine.home) {
            imply(*machine.home, S_IFDIR);
        }
        for (const auto& [home, preferences] : machine.users) {
            imply(home, S_IFDIR);
            for (const auto& [stem, values] : preferences) {
                std::string file = home + "/Library/Preferences/com.vorlane.";
                imply(file.append(stem).append(".plist"), S_IFREG);
            }
        }
    }

    /// Unless something else is described there, or above it.
    void imply(const std::string& place, mode_t type) {
        std::string path = std::filesystem::path(place).lexically_normal();
        path = path.size() > 1 && path.back() == '/' ? folderAbove(path) : path;
        if (!path.empty() && path.front() == '/' && !hasFileAbove(path)) {
            machine.entries.emplace(path, Entry{type, ""});
        }
    }

    MachineDescription& machine;
    std::string folder; ///< that of the description, with a slash; empty for the working folder
};

// Writing

void writePaths(JsonWriter& json, const char* name, const std::map<std::string, Entry>& entries,
                mode_t type) {
    json.beginArray(name);
    for (const auto& [path, entry] : entries) {
        if (entry.type != type) {
            continue;
        }
        if (entry.text.empty()) {
            json.element(path);
        } else {
            json.beginObject();
            json.text("path", path);
            json.text("text", entry.text);
            json.endObject();
        }
    }
    json.endArray();
}

void writePreferences(JsonWriter& json, const Preferences& preferences) {
    json.beginObject("preferences");
    for (const auto& [stem, values] : preferences) {
        json.beginObject(stem.c_str());
        for (const auto& [name, value] : values) {
            json.text(name.c_str(), value);
        }
        json.endObject();
    }
    json.endObject();
}

} // namespace

MachineDescription MachineDescription::read(const std::string& file) {
    MachineDescription machine;
    machine.path = file;
    try {
        const FileContent content = WholeFile::Read(file, largestFile);
        if (content.error != 0) {
            fail("", std::strerror(content.error)); // NOLINT(concurrency-mt-unsafe): one thread
        }
        if (content.state.type != S_IFREG) {
            fail("", "it is no file");
        }
        const std::string folder = folderAbove(file);
        Reader(machine, file.find('/') == std::string::npos ? "" : folder + "/").read(parse(content));
    } catch (const BadDescription& fault) {
        throw BadDescription(printable(file) + ": " + fault.what());
    }
    return machine;
}

void MachineDescription::write(Output& output) const {
    JsonWriter json(output);
    json.beginObject();
    if (home) {
        json.text("home", *home);
    }
    if (accountHome != home.value_or("")) {
        json.text("accountHome", accountHome);
    }
    const auto own = users.find(accountHome);
    writePreferences(json, own == users.end() ? Preferences() : own->second);
    json.beginArray("otherUsers");
    for (const auto& user : users) {
        if (user.first != accountHome) {
            json.beginObject();
            json.text("home", user.first);
            writePreferences(json, user.second);
            json.endObject();
        }
    }
    json.endArray();
    json.flag("ditto", bDitto);
    writePaths(json, "folders", entries, S_IFDIR);
    writePaths(json, "files", entries, S_IFREG);
    json.beginObject("links");
    for (const auto& [link, entry] : entries) {
        if (entry.type == S_IFLNK) {
            json.text(link.c_str(), entry.text);
        }
    }
    json.endObject();
    writePaths(json, "others", entries, S_IFSOCK);
    json.endObject();
}
