#pragma once

#include <cstddef>
#include <random>

/// Gives the same numbers for the same seed everywhere.
using Random = std::mt19937;

/// A number below `end`, which is not 0.
inline std::size_t below(Random& random, std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
}
