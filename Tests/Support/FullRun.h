#pragma once

#include <cstdlib>

/// Whether tests run in their long forms. Scripts/torture sets RELIABILITY_FULL.
inline bool isFullRun() {
    const char* full = std::getenv("RELIABILITY_FULL"); // NOLINT(concurrency-mt-unsafe): nobody sets it
    return full != nullptr && *full != '\0';
}
