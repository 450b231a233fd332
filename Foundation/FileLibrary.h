#pragma once

#include "Foundation/VLString.h"

/// Runs the shell command `command` to its end and puts its standard output into `output`. True whenever it
/// could be started, whatever its status; callers judge by the text. What this program printed before comes
/// out before anything that the command prints.
bool exec(VLString& command, VLString& output);

/// An owned block of bytes. No operation throws: where memory cannot be had the buffer is empty.
struct VLMemoryBuffer {
    /// Owned; null when the buffer is empty.
    char* data = nullptr;
    /// Bytes in the block; 0 when the buffer is empty.
    unsigned long size = 0;

    VLMemoryBuffer() = default;
    VLMemoryBuffer(const VLMemoryBuffer& other);
    ~VLMemoryBuffer();
    VLMemoryBuffer& operator=(const VLMemoryBuffer& other);

    /// Replaces the block by one of `newSize` bytes of unspecified content; 0 empties the buffer.
    void init(unsigned long newSize);
    /// Replaces the block by a copy of `newSize` bytes, which may be part of the old block; null or 0 empties
    /// the buffer.
    void init(const char* bytes, unsigned long newSize);
};

/// Questions about, and changes to, the file system. Nothing throws and nothing prints, apart from what the
/// commands themselves print; every failure is a false or an empty result.
///
/// Every change is a shell command, and its result whether the command's status was 0. A path goes into the
/// command between double quotes exactly as it is: blanks, apostrophes and the like are safe there, but a
/// double quote, "$", a backquote or a backslash means to the shell what it means inside double quotes, and
/// a relative path that begins with "-" is an option to the tool. Intended; callers know their paths.
///
/// Commands run, and paths are looked at, through Machine.
namespace FileLibrary {

/// Whether `path`, through links, is a directory (`wantDirectory`) or a regular file (otherwise).
bool IsFileExists(const VLString& path, bool wantDirectory);
bool IsDirectoryExists(const VLString& path);

/// rm -f: true also when there is no such file. An empty path is false.
bool RemoveFile(const VLString& path);
/// mkdir, with `withParents` mkdir -p, which is true also when the directory is there.
bool CreateDirectory(const VLString& path, bool withParents);
/// cp -f: copies a regular file (anything else is false, and nothing runs). Into the folder, when
/// `destination` is one.
bool CopyFile(const VLString& source, const VLString& destination);
/// ln -sf: makes `link` a symbolic link to `target`, which must be an existing file or directory, else
/// nothing runs. Replaces what is there; where that is a directory the link is made inside it.
bool CreateShortCut(const VLString& target, const VLString& link);
/// rm -rf, of the collapsed path. True, with nothing run, when `path` is not an existing directory; false,
/// with nothing run, for "/", ".", "/*" and "*".
bool RemoveFolder(const VLString& path);
/// rmdir: true, with nothing run, when `path` is not an existing directory; false when it is not empty.
bool RemoveEmptyDirectory(const VLString& path);
/// Copies what is in the directory `source` into the directory `destination`, which is made if need be with
/// its parents: adds to what is there, replaces files and links of the same name, and keeps permissions,
/// times, hard and symbolic links. Where `destination` is a link to a directory, the link is replaced by a
/// real directory. `flag` is ignored. Not atomic: what was copied before a failure stays.
///
/// Runs rm -rf for such a link, then ditto, or where the machine has none mkdir -p and cp, then touch for the
/// destination's modification time, the result of which is ignored.
bool CopyFolder(const VLString& source, const VLString& destination, bool flag);

/// Writes all bytes of `content` to the file, behind what it holds (`append`) or in place of it. False when
/// the file cannot be opened or not every byte could be written; what could be written stays. No command.
bool writeFile(const VLString& content, const VLString& path, bool append);
/// All bytes of the file; "" when it cannot be opened or read in full. No command.
VLString readFile(const VLString& path);

} // namespace FileLibrary
