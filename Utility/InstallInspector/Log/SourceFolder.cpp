#include "Utility/InstallInspector/Log/SourceFolder.h"

#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

/// "Hosts/OpenFX/Glow" and the like, when the rest of a path behind the source folder begins with a branch;
/// else empty.
std::string phaseAt(std::string_view rest) {
    for (const char* branch : Branch::all) {
        const std::string_view name(branch);
        if (rest.substr(0, name.size()) != name || (rest.size() > name.size() && rest[name.size()] != '/')) {
            continue;
        }
        std::size_t end = name.size();
        for (int i = 0; i < (name == Branch::hosts ? 2 : 0) && end < rest.size(); ++i) {
            end = std::min(rest.find('/', end + 1), rest.size());
        }
        return std::string(rest.substr(0, end));
    }
    return "";
}

/// The lengths of all folders that may be the source folder of this path.
std::vector<std::size_t> rootsOf(std::string_view source) {
    std::vector<std::size_t> roots;
    for (std::size_t slash = source.find('/'); slash != std::string_view::npos;
         slash = source.find('/', slash + 1)) {
        if (!phaseAt(source.substr(slash + 1)).empty()) {
            roots.push_back(slash);
        }
    }
    return roots;
}

} // namespace

std::string SourceFolder::phaseOf(std::string_view source) {
    std::vector<std::size_t> own = rootsOf(source);
    if (own.empty()) {
        return "";
    }
    const auto differs = std::mismatch(source.begin(), source.end(), first.begin(), first.end()).first;
    const auto same = static_cast<std::size_t>(differs - source.begin());
    std::vector<std::size_t> common;
    std::set_intersection(roots.begin(), std::upper_bound(roots.begin(), roots.end(), same), own.begin(),
                          own.end(), std::back_inserter(common));
    if (common.empty()) {
        first = source;
        common = std::move(own);
    }
    roots = std::move(common);
    return phaseAt(source.substr(roots.back() + 1));
}
