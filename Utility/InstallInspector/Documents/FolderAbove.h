#pragma once

#include <string>

/// The path of the folder that contains `path`. Empty for a path at the top, and for a bare name.
inline std::string folderAbove(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash);
}
