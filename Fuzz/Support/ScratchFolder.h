#pragma once

#include "Foundation/VLString.h"

#include <string>
#include <string_view>

namespace Fuzz {

/// A new empty folder, in memory where the machine has such a place, which is removed with all it holds when
/// the program ends. A program that a finding ends leaves it behind.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    VLString path() const { return VLString(folder.c_str()); }
    /// The path of the file `name`, which is made to hold `content`.
    VLString write(const char* name, std::string_view content) const;

private:
    std::string folder;
};

} // namespace Fuzz
