#pragma once

#include "Foundation/VLString.h"

#include <string>
#include <string_view>

namespace Fuzz {

/// A new empty folder, in memory if the machine has a file system for that. Removed with everything in it
/// when the program ends. After a finding, it stays.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    VLString path() const { return VLString(folder.c_str()); }
    /// Writes `content` to the file `name` and returns its path.
    VLString write(const char* name, std::string_view content) const;

private:
    std::string folder;
};

} // namespace Fuzz
