#pragma once

#include <cstddef>
#include <string_view>

struct BinaryListLimits {
    /// Containers inside each other.
    std::size_t deepest;
    /// Objects, each counted as often as something refers to it.
    std::size_t mostObjects;
    /// Bytes of text and data, likewise.
    std::size_t mostBytes;
};

/// Whether libplist can read the binary property list without harm. It follows references by recursion, makes
/// a copy for each reference, so that a small file can grow without bound, and ends the process over a zero
/// character in a key. A list that is malformed in other ways may be called harmless: libplist refuses it.
bool isHarmlessBinaryList(std::string_view list, const BinaryListLimits& limits);
