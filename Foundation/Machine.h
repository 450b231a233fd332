#pragma once

#include "Foundation/Command.h"
#include "Foundation/VLString.h"
#include "Platform/WholeFile.h"

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <sys/types.h>
#include <vector>

/// All that the system asks of the machine to run a command, to learn what a path is or what a file holds,
/// and to place an uninstaller. This class asks the machine itself. A program that wants to know what would
/// be done, rather than do it, derives from it, overrides what it answers otherwise, and puts its object in
/// place with setCurrent.
///
/// Not asked here: preference files are read, and FileLibrary::writeFile writes, directly.
class Machine {
public:
    virtual ~Machine() = default;

    /// Runs the shell command to its end. Its output goes where this program's goes, after all that was
    /// printed before. True when it was started and its status was 0.
    virtual bool run(const Command& command);
    /// Runs a shell command that changes nothing and gives its standard output, whatever its status. False,
    /// and `output` empty, when it cannot be started. Of a piece of a line that holds a zero byte the rest is
    /// lost.
    virtual bool capture(const VLString& command, VLString& output);
    /// The file-type bits (S_IFREG, S_IFDIR ...) of what `path` leads to, through links; 0 when that is not
    /// there or cannot be looked at.
    virtual mode_t typeOf(const VLString& path);
    /// The same for `path` itself: a link is S_IFLNK.
    virtual mode_t linkTypeOf(const VLString& path);
    /// Whether the shell would find an executable file of this name, which holds no slash, in its search
    /// path.
    virtual bool hasProgram(const VLString& name);
    /// The names of what is in the folder, without "." and "..", sorted by their bytes. Empty when there is
    /// no such folder or it cannot be read.
    virtual std::vector<VLString> namesIn(const VLString& folder);
    /// See WholeFile::Read.
    virtual FileContent readFile(const VLString& path);
    enum class Saved { Yes, No, ChangedMeanwhile };
    /// Replaces the file at `path` as a whole by what `print` prints, see AtomicFile. ChangedMeanwhile, and
    /// nothing done: right before the new file would take its place, the state of the old one is no more
    /// `*expected`; null expects nothing. No: `error` says why, an errno value.
    virtual Saved saveFile(const VLString& path, const std::function<void(FILE*)>& print,
                           const FileState* expected, int& error);
    /// See WholeFile::Create.
    virtual bool createFile(const VLString& path, const char* bytes, std::size_t size, int& error);

    enum class Lock { Held, HeldByAnother, CannotBeHad };
    /// Tries to take the lock that a run holds while it changes this machine, and does not wait. It is an
    /// advisory lock (flock) on the folder "/", which is always there, may be opened by everyone and is never
    /// replaced. The system takes it away from a process that dies; commands that the process runs do not
    /// hold it.
    virtual Lock tryToLock();
    virtual void unlock();
    /// Waits for that long; how long it was by the monotonic clock.
    virtual std::chrono::milliseconds pause(std::chrono::milliseconds duration);

    // See PlatformServices.

    virtual VLString mainBundlePath();
    virtual bool removeItem(const VLString& path);
    virtual bool createFolder(const VLString& path);
    virtual bool copyItem(const VLString& source, const VLString& destination);
    virtual bool createSymbolicLink(const VLString& link, const VLString& target);
    /// True for Retry. Where there is nobody to ask, both texts are logged in one line.
    virtual bool showRetryCancelAlert(const VLString& title, const VLString& text);

    /// What is in use; the machine itself at first.
    static Machine& current();
    /// Puts `access`, which stays the caller's, in use until the next call; null stands for the machine
    /// itself. Returns what it takes the place of.
    static Machine* setCurrent(Machine* access);

private:
    int lockedFolder = -1; ///< a descriptor, while the lock is held
};
