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

/// The only access of the engine to the machine: runs commands, reads and saves files, places an uninstaller.
/// This class uses the real machine. To preview or test a run, derive from it, override operations, and
/// install the object with setCurrent.
///
/// Two things do not go through this class: the other operations of RegistryHelper, and
/// FileLibrary::writeFile.
class Machine {
public:
    virtual ~Machine() = default;

    /// Runs the shell command to its end. Flushes this program's own output first. Returns true if the
    /// command was started and its exit status is 0.
    virtual bool run(const Command& command);
    /// Runs a shell command that changes nothing, and puts its standard output into `output`, whatever its
    /// exit status is. Returns false and an empty `output` if the command cannot be started. A zero byte in
    /// the output ends its line.
    virtual bool capture(const VLString& command, VLString& output);
    /// The file-type bits (S_IFREG, S_IFDIR ...) of `path`. Follows links. 0 if it does not exist or cannot
    /// be examined.
    virtual mode_t typeOf(const VLString& path);
    /// The same, but does not follow a link at `path`: S_IFLNK.
    virtual mode_t linkTypeOf(const VLString& path);
    /// Whether the shell would find an executable file with this name in its search path. `name` has no
    /// slash.
    virtual bool hasProgram(const VLString& name);
    /// The names of what is in the folder, without "." and "..", sorted by their bytes. Empty when there is
    /// no such folder or it cannot be read.
    virtual std::vector<VLString> namesIn(const VLString& folder);
    /// See WholeFile::Read.
    virtual FileContent readFile(const VLString& path);
    enum class Saved { Yes, No, ChangedMeanwhile };
    /// Replaces the file at `path` atomically with what `print` prints, see AtomicFile. If `expected` is not
    /// null and the state of the old file is no longer `*expected` right before the replacement, does nothing
    /// and returns ChangedMeanwhile. On failure, returns No and sets `error` to an errno value.
    virtual Saved saveFile(const VLString& path, const std::function<void(FILE*)>& print,
                           const FileState* expected, int& error);
    /// See WholeFile::Create.
    virtual bool createFile(const VLString& path, const char* bytes, std::size_t size, int& error);

    enum class Lock { Held, HeldByAnother, CannotBeHad };
    /// Tries to take the lock of a run, without waiting. It is an advisory lock (flock) on the folder "/",
    /// which always exists, can be opened by every user and is never replaced. The system releases it when
    /// the process dies. Commands that the process runs do not hold it.
    virtual Lock tryToLock();
    virtual void unlock();
    /// Waits for `duration`. Returns the time that has passed on the monotonic clock.
    virtual std::chrono::milliseconds pause(std::chrono::milliseconds duration);

    /// The value of the environment variable HOME. Null if it is not set.
    virtual const char* environmentHome();
    /// See RegistryHelper::GetRegistryKeyAtPath.
    virtual VLString preference(const VLString& key, const VLString& valueName, const VLString& folder);

    // See PlatformServices.

    virtual VLString mainBundlePath();
    virtual bool removeItem(const VLString& path);
    virtual bool createFolder(const VLString& path);
    virtual bool copyItem(const VLString& source, const VLString& destination);
    virtual bool createSymbolicLink(const VLString& link, const VLString& target);
    /// Returns true for Retry. If nobody can be asked, logs both texts in one line and returns false.
    virtual bool showRetryCancelAlert(const VLString& title, const VLString& text);

    /// The object in use. By default, the real machine.
    static Machine& current();
    /// Sets the object in use. The caller keeps ownership. Null selects the real machine. Returns the
    /// previous object.
    static Machine* setCurrent(Machine* access);

private:
    int lockedFolder = -1; ///< a descriptor, while the lock is held
};
