#pragma once

#include <cstddef>
#include <string_view>

struct BinaryListLimits {
    /// The largest number of nested containers.
    std::size_t deepest;
    /// The largest number of objects. Each object counts once for each reference to it.
    std::size_t mostObjects;
    /// The largest number of bytes of text and data, counted in the same way.
    std::size_t mostBytes;
};

/// Whether libplist can read the binary property list safely. libplist follows references by recursion. It
/// copies an object for each reference to it, so that a small file can need any amount of memory. It ends the
/// process if a key contains a zero character. A list that is malformed in other ways can be "harmless",
/// because libplist refuses it.
bool isHarmlessBinaryList(std::string_view list, const BinaryListLimits& limits);
