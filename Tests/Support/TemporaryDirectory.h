#pragma once

#include "Foundation/VLString.h"

#include <filesystem>
#include <string>

/// A new empty folder that is removed with all it holds at the end of its scope, also after a failed
/// assertion. Set KEEP_TEST_FOLDERS in the environment to keep it and have its path printed.
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
