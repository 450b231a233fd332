#include "Fuzz/Support/ScratchFolder.h"

#include "Foundation/FileLibrary.h"
#include "Fuzz/Support/FuzzTarget.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <unistd.h>

Fuzz::ScratchFolder::ScratchFolder() {
    const std::filesystem::path memory("/dev/shm");
    std::error_code error;
    const bool bMemory = std::filesystem::is_directory(memory, error);
    folder = ((bMemory ? memory : std::filesystem::temp_directory_path()) / "Fuzz.XXXXXX").string();
    require(mkdtemp(folder.data()) != nullptr, "a folder can be made");
}

Fuzz::ScratchFolder::~ScratchFolder() {
    std::error_code error;
    std::filesystem::remove_all(folder, error);
}

VLString Fuzz::ScratchFolder::write(const char* name, std::string_view content) const {
    VLString file = path() + "/" + name;
    require(FileLibrary::writeFile(textOf(content), file, false), "the input can be written to a file");
    return file;
}
