#pragma once

#include "Foundation/VLString.h"

#include <cstddef>
#include <memory>
#include <sys/types.h>

/// All that the system asks of the machine to run a command, to learn what a path is or what a file holds,
/// and to place an uninstaller. This class asks the machine itself. A program that wants to know what would
/// be done, rather than do it, derives from it, overrides what it answers otherwise, and puts its object in
/// place with setCurrent.
///
/// Not asked here: preference files are read, and FileLibrary::writeFile writes, directly. The record is
/// saved by InstallUtility::saveStatusFile.
class FileSystemAccess {
public:
    virtual ~FileSystemAccess() = default;

    /// Runs a shell command to its end. Its output goes where this program's goes, after all that was printed
    /// before. True when it was started and its status was 0.
    virtual bool runCommand(const VLString& command);
    /// Runs a shell command and gives its standard output, whatever its status. False, and `output` empty,
    /// when it cannot be started. Of a piece of a line that holds a zero byte the rest is lost.
    virtual bool captureCommand(const VLString& command, VLString& output);
    /// The file-type bits (S_IFREG, S_IFDIR ...) of what `path` leads to, through links; 0 when that is not
    /// there or cannot be looked at.
    virtual mode_t typeOf(const VLString& path);
    /// The same for `path` itself: a link is S_IFLNK.
    virtual mode_t linkTypeOf(const VLString& path);
    /// Whether the shell would find an executable file of this name, which holds no slash, in its search
    /// path.
    virtual bool hasProgram(const VLString& name);
    /// All bytes of the file, `size` of them, and a zero byte behind them; null when there are none to be
    /// had.
    virtual std::unique_ptr<char[]> readFile(const VLString& path, std::size_t& size);

    // See PlatformServices.

    virtual VLString mainBundlePath();
    virtual bool removeItem(const VLString& path);
    virtual bool createFolder(const VLString& path);
    virtual bool copyItem(const VLString& source, const VLString& destination);
    virtual bool createSymbolicLink(const VLString& link, const VLString& target);
    virtual bool showRetryCancelAlert(const VLString& title, const VLString& text);

    /// What is in use; the machine itself at first.
    static FileSystemAccess& current();
    /// Puts `access`, which stays the caller's, in use until the next call; null stands for the machine
    /// itself. Returns what it takes the place of.
    static FileSystemAccess* setCurrent(FileSystemAccess* access);
};
