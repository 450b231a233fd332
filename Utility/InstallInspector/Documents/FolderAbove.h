#pragma once

#include <string>

/// The path of the folder that contains `path`. Empty for a path at the top, and for a bare name.
inline std::string folderAbove(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash);
}

/// Whether `path` is `folder`, or lies below it. Compares only the texts.
inline bool isAtOrBelow(const std::string& path, const std::string& folder) {
    return path.compare(0, folder.size(), folder) == 0 &&
           (path.size() == folder.size() || path[folder.size()] == '/');
}
