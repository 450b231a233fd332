#pragma once

#include "Foundation/VLString.h"

/// Runs the shell command `command` to its end and puts its standard output into `output`. Returns true if it
/// could be started, whatever its exit status is. Flushes this program's own output first.
bool exec(VLString& command, VLString& output);

/// An owned block of bytes. No operation throws. If no memory is available, the buffer is empty.
struct VLMemoryBuffer {
    /// Owned; null when the buffer is empty.
    char* data = nullptr;
    /// Bytes in the block; 0 when the buffer is empty.
    unsigned long size = 0;

    VLMemoryBuffer() = default;
    VLMemoryBuffer(const VLMemoryBuffer& other);
    ~VLMemoryBuffer();
    VLMemoryBuffer& operator=(const VLMemoryBuffer& other);

    /// Replaces the block with `newSize` bytes of unspecified content. 0 empties the buffer.
    void init(unsigned long newSize);
    /// Replaces the block with a copy of `newSize` bytes. `bytes` may be part of the old block. Null or 0
    /// empties the buffer.
    void init(const char* bytes, unsigned long newSize);
};

/// Reads and changes the file system, through Machine. Nothing throws. Only the commands themselves print. On
/// failure, the result is false or empty.
///
/// Every change is a shell command. The result is true if the exit status of the command is 0. Paths are put
/// into the command between double quotes and are not escaped. So the shell interprets a double quote, "$", a
/// backquote and a backslash, and the tool takes a relative path that begins with "-" for an option.
/// Intended: callers know their paths.
namespace FileLibrary {

/// Whether `path` is a directory (`wantDirectory`) or a regular file (otherwise). Follows links.
bool IsFileExists(const VLString& path, bool wantDirectory);
bool IsDirectoryExists(const VLString& path);

/// Runs rm -f. Returns true if the file does not exist. Returns false for an empty path.
bool RemoveFile(const VLString& path);
/// Runs mkdir, or mkdir -p if `withParents` is set. mkdir -p also succeeds if the directory exists.
bool CreateDirectory(const VLString& path, bool withParents);
/// Runs cp -f. `source` must be a regular file, otherwise nothing runs and the result is false. If
/// `destination` is a folder, copies into it.
bool CopyFile(const VLString& source, const VLString& destination);
/// Runs ln -sf to make `link` a symbolic link to `target`. `target` must be an existing file or directory,
/// otherwise nothing runs and the result is false. Replaces an existing `link`. If `link` is a directory, the
/// link is made inside it.
bool CreateShortCut(const VLString& target, const VLString& link);
/// Runs rm -rf with the collapsed path. If `path` is not an existing directory, nothing runs and the result
/// is true. For "/", ".", "/*" and "*", nothing runs and the result is false.
bool RemoveFolder(const VLString& path);
/// Runs rmdir. If `path` is not an existing directory, nothing runs and the result is true. If it is not
/// empty, the result is false.
bool RemoveEmptyDirectory(const VLString& path);
/// Merges the content of the directory `source` into the directory `destination`, which is made with its
/// parents if it does not exist. Replaces files and links with the same name. Keeps permissions, times, hard
/// and symbolic links. If `destination` is a link to a directory, the link is replaced by a directory. `flag`
/// is ignored. Not atomic: on failure, what was copied stays.
///
/// Runs rm -rf for such a link, then ditto (or mkdir -p and cp on machines without ditto), then touch for
/// `destination`. The result of touch is ignored.
bool CopyFolder(const VLString& source, const VLString& destination, bool flag);

/// Writes all bytes of `content` to the file. Replaces the file, or appends to it if `append` is set. Returns
/// false if the file cannot be opened or written completely; a part may have been written. Runs no command.
bool writeFile(const VLString& content, const VLString& path, bool append);
/// All bytes of the file. "" if it cannot be opened or read completely. Runs no command.
VLString readFile(const VLString& path);

} // namespace FileLibrary
