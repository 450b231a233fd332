#pragma once

#include "Foundation/VLString.h"

#include <filesystem>
#include <string>

/// A new empty folder. At the end of the scope, it is removed with everything in it. If KEEP_TEST_FOLDERS is
/// set in the environment, it is kept and its path is printed.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return folder; }
    /// The path of `name` inside the folder.
    VLString operator/(const std::string& name) const { return VLString((folder / name).c_str()); }
    VLString text() const { return VLString(folder.c_str()); }

private:
    std::filesystem::path folder;
};
