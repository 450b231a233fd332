#include "Utility/InstallInspector/Documents/Bundle.h"

#include "Utility/InstallInspector/Report/Finding.h"

#include <sys/stat.h>

bool isBundle(const std::string& path, Machine& machine) {
    for (const std::string ending : {".app", ".bundle", ".plugin", ".framework", ".component", ".pkg"}) {
        if (path.size() > ending.size() &&
            path.compare(path.size() - ending.size(), ending.size(), ending) == 0) {
            return true;
        }
    }
    return machine.typeOf(toVLString(path + "/Contents")) == S_IFDIR;
}
