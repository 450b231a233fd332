#include "Foundation/PathLibrary.h"
#include "Fuzz/Support/FuzzTarget.h"

#include <string>

using Fuzz::require;
using Fuzz::view;

namespace {

/// The rule as it reads: takes the leftmost step up away until there is none that may go.
std::string collapsed(std::string path) {
    for (;;) {
        const std::size_t found = path.find("/../");
        if (found == std::string::npos || found == 0) {
            return path;
        }
        const std::size_t slash = path.rfind('/', found - 1);
        if (slash == std::string::npos) {
            return path;
        }
        path.erase(slash + 1, found + 3 - slash);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Fuzz::Input input(data, size);
    const VLString path = Fuzz::textOf(input.bytes());
    const VLString result = PathLibrary::CollapsePath(path);
    require(view(result) == collapsed(std::string(input.bytes())), "a path collapses as the rule reads");
    require(view(PathLibrary::CollapsePath(result)) == view(result), "nothing is left to collapse");

    const VLString name = PathLibrary::GetFileNameFromPath(path);
    const VLString folder = PathLibrary::GetDirectoryWithoutFile(path);
    require(view(name) == view(path) || view(folder + name) == view(path), "folder and name make the path");
    require(PathLibrary::GetParentDir(path).Size() <= path.Size(), "a parent is no longer than its path");
    require(view(PathLibrary::GetDirectoryWithFile(folder, name)).find(view(name)) != std::string_view::npos,
            "a joined path holds the name");
    return 0;
}
