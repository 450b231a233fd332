#include "Utility/InstallInspector/Documents/OtherHomes.h"

#include "Utility/InstallInspector/Documents/FolderAbove.h"

#include <algorithm>
#include <cerrno>
#include <set>
#include <sys/stat.h>
#include <utility>

namespace {

constexpr const char* usersFolder = "/Users";

std::string ownHome() {
    const char* value = Machine::current().environmentHome();
    std::string home = value == nullptr ? "" : value;
    while (!home.empty() && home.back() == '/') {
        home.pop_back();
    }
    return home;
}

} // namespace

std::vector<std::string> otherHomes() {
    Machine& machine = Machine::current();
    const std::string own = ownHome();
    std::set<std::string> folders{usersFolder};
    if (const std::string beside = folderAbove(own); !beside.empty()) {
        folders.insert(beside);
    }
    std::vector<std::string> homes;
    for (const std::string& folder : folders) {
        for (const VLString& name : machine.namesIn(toVLString(folder))) {
            std::string home = folder + "/" + toString(name);
            if (home != own && S_ISDIR(machine.typeOf(toVLString(home)))) {
                homes.push_back(std::move(home));
            }
        }
    }
    return homes;
}

bool dependsOnUser(const PlacedProduct& product) {
    const auto& entries = product.product().targetsFile.entries();
    return std::any_of(entries.begin(), entries.end(), [](const LocatedDocument::Entry& entry) {
        const VLString value = attributeOf(*entry.element, "value");
        return value.HasOf(value.IndexOfIgnoreCase("%USER%", 0)) || value.HasOf(value.IndexOf("REGKEY:", 0));
    });
}

bool isHidden(const VLString& path) {
    struct stat info = {};
    return lstat(path.ConstData(), &info) != 0 && errno == EACCES;
}

OtherHome::OtherHome(std::string folder)
    : home(std::move(folder)), machine(Machine::current()), before(setCurrent(this)) {}

bool OtherHome::capture(const VLString& command, VLString& output) {
    // The engine takes the user's name from the answer to the first command, and the home folder from the
    // second.
    const std::string text = toString(command);
    if (text == "eval echo $HOME" || text.rfind("eval echo '~", 0) == 0) {
        output = toVLString(home + "\n");
        return true;
    }
    return machine.capture(command, output);
}
