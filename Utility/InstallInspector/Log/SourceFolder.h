#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Finds out what the source folder of an install was: the log has only paths inside it.
class SourceFolder {
public:
    /// The part of the install to which a path in the source folder belongs: "Hosts/OpenFX/Glow", "VorlaneFX"
    /// or "Content". Empty when that cannot be told. The source folder is what all paths until now have
    /// before such a part, the longest if there are several.
    std::string phaseOf(std::string_view source);

private:
    std::string first;              ///< path, of which
    std::vector<std::size_t> roots; ///< these lengths may be the source folder
};
