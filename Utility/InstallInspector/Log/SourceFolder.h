#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Finds the source folder of an install. The log has only paths inside it.
class SourceFolder {
public:
    /// The part of the install to which a path in the source folder belongs: "Hosts/OpenFX/Glow", "VorlaneFX"
    /// or "Content". Empty if it is not known. The source folder is what all paths until now have in common
    /// before such a part. If several folders are possible, it is the longest one.
    std::string phaseOf(std::string_view source);

private:
    std::string first; ///< the first path
    std::vector<std::size_t>
        roots; ///< the lengths of the beginnings of `first` that may be the source folder
};
