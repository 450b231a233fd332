#pragma once

#include <cstdio>
#include <string>
#include <sys/stat.h>

/// Replaces a text file atomically. A reader finds the complete old file or the complete new file, at any
/// moment, also after the process was killed or the power failed.
///
///     AtomicFile file(path);
///     bool saved = file.Open() && print(file.Stream()) && file.Sync() && file.Commit();
///
/// Until Commit, the new text is in a separate file in the same folder. Its name is the name of the old file
/// with ".new" appended; a name that is too long for this is cut first. Without a successful Commit, the old
/// file stays and the new file is removed. The next Open removes the new file of a killed process.
///
/// While one object for a file is open, no second one can be opened, also not in another process. So what is
/// checked before Commit is still true at Commit. Links are followed, also dangling links. Something that is
/// not a regular file, such as a device, is written directly.
class AtomicFile {
public:
    explicit AtomicFile(const std::string& path);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Makes the new file, with mode and owner of the old one. Returns false if the old file may not be
    /// written, the new file cannot be made, mode or owner cannot be kept, or another object has the file
    /// open (EBUSY).
    bool Open();
    /// The stream for the text after Open. Owned by this object.
    FILE* Stream() { return stream; }
    /// Writes everything that was printed to the disk. Returns false if a part could not be written.
    bool Sync();
    /// Closes the stream and renames the new file to the old one. Returns false if this fails, if Sync was
    /// not successful before, or if another process has meanwhile made a new file with the same name.
    bool Commit();
    /// The errno value of the first failure. EBUSY: another process has made a new file with the same name. 0
    /// without a failure.
    int Error() const { return error; }

private:
    bool begin();
    bool bringToDisk();
    bool putInPlace();
    bool keepError(bool bSucceeded);
    bool create(mode_t mode);
    bool claim(const std::string& path);
    void release();
    bool keepModeAndOwner(const struct stat& old);
    bool keepSpecialBits();
    bool isOurs() const;
    void syncFolder() const;

    std::string target;  ///< with links resolved
    std::string newPath; ///< empty while there is no new file
    FILE* stream = nullptr;
    int claimed = -1;         ///< a descriptor that keeps the new file locked after the stream is closed
    struct stat created = {}; ///< identifies the new file
    mode_t oldMode = 0;       ///< of the old file; 0 if there was none
    bool bSynced = false;
    int error = 0;
};
