#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <sys/types.h>

/// Identifies a version of a file. If two states are equal, it is the same file and was not written in
/// between.
struct FileState {
    mode_t type = 0; ///< the file-type bits; 0 if there is no file, and then all members are 0
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t seconds = 0; ///< the modification time
    std::int64_t nanoseconds = 0;

    bool operator==(const FileState& other) const;
    bool operator!=(const FileState& other) const { return !(*this == other); }
};

/// The result of reading a file.
struct FileContent {
    std::unique_ptr<char[]> bytes; ///< `size` bytes and a zero byte; null if nothing was read
    std::size_t size = 0;
    FileState state; ///< of the file; empty if it could not be opened
    int error = 0;   ///< 0, or an errno value; with ENOENT or ENOTDIR the file does not exist
};

/// Reads and makes complete files. To replace a file, see AtomicFile.
namespace WholeFile {

/// Reads all bytes of a regular file. Follows links. Something else, such as a pipe, has a state and no
/// bytes, so the call never waits. A file of more than `largest` bytes has a state, no bytes and the error
/// EFBIG.
FileContent Read(const std::string& path, std::size_t largest = SIZE_MAX);

/// The state of the file at `path`. Follows links.
FileState StateOf(const std::string& path);

/// Makes a file with these bytes and mode 0666 less the umask, and syncs it to the disk. On failure, returns
/// false, sets `error` to an errno value, and leaves no file. EEXIST: something with this name exists.
bool Create(const std::string& path, const char* bytes, std::size_t size, int& error);

} // namespace WholeFile
