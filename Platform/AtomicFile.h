#pragma once

#include <cstdio>
#include <string>
#include <sys/stat.h>

/// Replaces a text file so that whoever reads it, at any moment and also after the process was killed or the
/// power failed, finds the old file or the new one, whole.
///
///     AtomicFile file(path);
///     bool saved = file.Open() && print(file.Stream()) && file.Sync() && file.Commit();
///
/// Until Commit the new text stands in a file of its own beside the old one, under its name with ".new"
/// appended; a name too long for that loses as much of its end. Without a Commit that succeeds the old file
/// is as it was and the new one is removed; what a killed process left is removed by the next Open. Of two
/// objects for one file, also in two processes, the second cannot be opened while the first is there, so that
/// what is checked before Commit still holds then. A link is followed, as fopen does, also one that leads to
/// no file yet. What is no regular file (a device) is written directly.
class AtomicFile {
public:
    explicit AtomicFile(const std::string& path);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Begins the new file, with mode and owner of the old one. False when the old file may not be written,
    /// when no file can be made in its folder, when mode or owner cannot be kept, or (EBUSY) when another
    /// object has the file open.
    bool Open();
    /// Where to print the text after Open; owned by this object.
    FILE* Stream() { return stream; }
    /// Brings all that was printed to the disk. False when any of it could not be written.
    bool Sync();
    /// Closes the stream and puts the new file in the old one's place. False when that fails, when Sync has
    /// not succeeded before, or when another process has begun a new file of the same name since.
    bool Commit();
    /// Why the first of the above that failed did so, an errno value: EBUSY when another process has begun a
    /// new file of the same name; 0 when none failed.
    int Error() const { return error; }

private:
    bool begin();
    bool bringToDisk();
    bool putInPlace();
    bool noted(bool bSucceeded);
    bool create(mode_t mode);
    bool claim(const std::string& path);
    void release();
    bool keepModeAndOwner(const struct stat& old);
    bool keepSpecialBits();
    bool isOurs() const;
    void syncFolder() const;

    std::string target;  ///< no link
    std::string newPath; ///< empty as long as there is no new file
    FILE* stream = nullptr;
    int claimed = -1;         ///< holds the lock of the new file also when the stream is closed
    struct stat created = {}; ///< the new file, to know it again
    mode_t oldMode = 0;       ///< of the old file; 0 when there was none
    bool bSynced = false;
    int error = 0;
};
