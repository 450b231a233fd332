#pragma once

#include <string>
#include <vector>

class LocatedDocument;

/// What lies in a source folder and is not meant to be installed: what systems and tools leave everywhere,
/// and what the author of a product has named.
class LeftOut {
public:
    LeftOut() = default;
    /// With the patterns of the definition's `exclude` elements.
    explicit LeftOut(const LocatedDocument& definition);

    /// A pattern as of the shell. One without "/" is held against each name, one with "/" against whole paths
    /// in the source folder, in which "*" passes no "/".
    void add(std::string pattern) { patternList.push_back(std::move(pattern)); }
    const std::vector<std::string>& patterns() const { return patternList; }

    /// Whether systems and tools leave things of that name: .DS_Store, ._*, __MACOSX, .git and the like.
    static bool isJunk(const std::string& name);
    /// Whether a pattern matches. `path` is that in the source folder, and ends with `name`.
    bool isExcluded(const std::string& name, const std::string& path) const;
    bool matches(const std::string& name, const std::string& path) const {
        return isJunk(name) || isExcluded(name, path);
    }

private:
    std::vector<std::string> patternList;
};
