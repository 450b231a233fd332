#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <sys/types.h>

/// What tells one version of a file from another. Two that are equal are the same file, not written in
/// between.
struct FileState {
    mode_t type = 0; ///< the file-type bits of what a path leads to; 0 for nothing, and then all is 0
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t seconds = 0; ///< of the last change of its content
    std::int64_t nanoseconds = 0;

    bool operator==(const FileState& other) const;
    bool operator!=(const FileState& other) const { return !(*this == other); }
};

/// What one read of a file gave.
struct FileContent {
    std::unique_ptr<char[]> bytes; ///< `size` of them, and a zero byte behind them; null when there are none
    std::size_t size = 0;
    FileState state; ///< of the file that was read; empty when it could not be opened
    int error = 0;   ///< why it could not be read, an errno value; ENOENT or ENOTDIR: there is none
};

/// Files that are read or made as a whole. To replace one, see AtomicFile.
namespace WholeFile {

/// Reads all bytes of a file, through links. Never waits, as reading from a pipe would: what is no regular
/// file has a state and no bytes. So has one of more than `largest` bytes, with the error EFBIG.
FileContent Read(const std::string& path, std::size_t largest = SIZE_MAX);

/// The state of what `path` leads to, through links.
FileState StateOf(const std::string& path);

/// Makes a file of these bytes, with mode 0666 less the umask, and brings it to the disk. False, and `error`
/// says why, an errno value, when anything of that name is there (EEXIST) or the file cannot be made; then
/// nothing stays of it.
bool Create(const std::string& path, const char* bytes, std::size_t size, int& error);

} // namespace WholeFile
