#pragma once

#include <string>
#include <vector>

class LocatedDocument;

/// Files in a source folder that are not meant to be installed: those that systems and tools leave
/// everywhere, and those that the author of a product excludes.
class LeftOut {
public:
    LeftOut() = default;
    /// With the patterns of the definition's `exclude` elements.
    explicit LeftOut(const LocatedDocument& definition);

    /// Adds a pattern in the syntax of the shell. A pattern without "/" is compared with each name. A pattern
    /// with "/" is compared with whole paths in the source folder, and its "*" does not match a "/".
    void add(std::string pattern) { patternList.push_back(std::move(pattern)); }
    const std::vector<std::string>& patterns() const { return patternList; }

    /// Whether systems and tools leave things of that name: .DS_Store, ._*, __MACOSX, .git and the like.
    static bool isJunk(const std::string& name);
    /// Whether a pattern matches. `path` is the path in the source folder. It ends with `name`.
    bool isExcluded(const std::string& name, const std::string& path) const;
    bool matches(const std::string& name, const std::string& path) const {
        return isJunk(name) || isExcluded(name, path);
    }

private:
    std::vector<std::string> patternList;
};
