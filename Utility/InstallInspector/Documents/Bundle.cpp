#include "Utility/InstallInspector/Documents/Bundle.h"

#include "Utility/InstallInspector/Report/Finding.h"

#include <sys/stat.h>

bool hasBundleName(const std::string& path) {
    for (const std::string ending : {".app", ".bundle", ".plugin", ".framework", ".component", ".pkg"}) {
        if (path.size() > ending.size() &&
            path.compare(path.size() - ending.size(), ending.size(), ending) == 0) {
            return true;
        }
    }
    return false;
}

bool isBundle(const std::string& path, Machine& machine) {
    return hasBundleName(path) || machine.typeOf(toVLString(path + "/Contents")) == S_IFDIR;
}
