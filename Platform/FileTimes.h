#pragma once

#include <cstdint>
#include <string>

/// Times of a file, folder or link, in nanoseconds since 1970; 0 for what is not known.
struct FileTimes {
    std::int64_t made = 0; ///< when it came to be there; not every file system keeps it
    std::int64_t modified = 0;

    /// Follows no link at `path`.
    static FileTimes of(const std::string& path);
};
