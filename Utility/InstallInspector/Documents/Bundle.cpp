#include "Utility/InstallInspector/Documents/Bundle.h"

#include "Utility/InstallInspector/Report/Finding.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <sys/stat.h>

namespace {

constexpr const char* endings[] = {
    ".app",    ".appex", ".aaxplugin", ".bundle", ".component",   ".framework",
    ".fxplug", ".kext",  ".pkg",       ".plugin", ".prm",         ".prefPane",
    ".saver",  ".vst",   ".vst3",      ".xpc",    ".qlgenerator",
};

bool endsWithAnyCase(const std::string& name, const std::string& ending) {
    return name.size() > ending.size() &&
           std::equal(ending.begin(), ending.end(), name.end() - static_cast<std::ptrdiff_t>(ending.size()),
                      [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

} // namespace

bool hasBundleName(const std::string& path) {
    return std::any_of(std::begin(endings), std::end(endings),
                       [&](const char* ending) { return endsWithAnyCase(path, ending); });
}

bool isBundle(const std::string& path, Machine& machine) {
    return hasBundleName(path) || machine.typeOf(toVLString(path + "/Contents")) == S_IFDIR;
}
