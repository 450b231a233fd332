#include "Platform/AtomicFile.h"

#include <climits>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

/// The number of links after which systems assume a loop.
constexpr int maxLinks = 40;
constexpr mode_t permissionBits = 07777;
/// How often another process may interrupt a save before it fails.
constexpr int mostTries = 100;

/// The target text of the link at `path`. Empty if there is no link.
std::string readLink(const std::string& path) {
    std::array<char, PATH_MAX> text = {};
    const ssize_t length = readlink(path.c_str(), text.data(), text.size());
    return {text.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

/// The folder of `path`, with a slash at its end. Empty for a bare name.
std::string folderOf(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

/// The path at the end of the links that begin at `path`. It need not exist. In a loop, any of its links.
std::string followLinks(std::string path) {
    for (int links = 0; links < maxLinks; ++links) {
        const std::string link = readLink(path);
        if (link.empty()) {
            break;
        }
        path = link.front() == '/' ? link : folderOf(path).append(link);
    }
    return path;
}

/// The name of the new file: `path` with ".new" appended. A name that is too long for the folder is cut
/// first.
std::string newNameOf(const std::string& path) {
    const std::string ending = ".new";
    const std::size_t longest = folderOf(path).size() + NAME_MAX - ending.size();
    return path.substr(0, longest) + ending;
}

FILE* openStream(const std::string& path, int flags, mode_t mode) {
    const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC | flags, mode);
    FILE* stream = file < 0 ? nullptr : fdopen(file, "w");
    if (file >= 0 && stream == nullptr) {
        close(file);
    }
    return stream;
}

bool mayBeWritten(const std::string& path) {
    const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    return file >= 0 && close(file) == 0;
}

/// Whether another process has locked the open file. Otherwise locks it. False on a file system without
/// locks.
bool isLockedByAnother(int file) {
    return flock(file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

bool isAt(const std::string& path, int file) {
    struct stat there = {};
    struct stat here = {};
    return lstat(path.c_str(), &there) == 0 && fstat(file, &here) == 0 && there.st_dev == here.st_dev &&
           there.st_ino == here.st_ino;
}

/// Removes the file. Returns true if nothing with this name exists any more.
bool removeName(const std::string& path) {
    return unlink(path.c_str()) == 0 || errno == ENOENT;
}

/// Removes whatever has the name of a new file: the file of a killed process, or something that was planted
/// there. It is never opened for writing. Returns false if it cannot be removed. EBUSY: it is locked, so it
/// belongs to a running process.
bool removeLeftOver(const std::string& path) {
    for (int i = 0; i < mostTries; ++i) {
        const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (file < 0) {
            // A link, or a file of another user. If there is nothing, another process may just have made its
            // new file.
            return errno == ENOENT || removeName(path);
        }
        const bool bInUse = isLockedByAnother(file);
        const bool bSame = isAt(path, file);
        const bool bRemoved = !bInUse && bSame && removeName(path);
        const int error = bInUse ? EBUSY : errno;
        close(file);
        if (bSame) {
            errno = error;
            return bRemoved;
        }
    }
    errno = EBUSY;
    return false;
}

bool syncToDisk(int file) {
#ifdef F_FULLFSYNC
    // On systems with F_FULLFSYNC, fsync leaves the data in the memory of the drive. Not every file system
    // supports it.
    if (fcntl(file, F_FULLFSYNC) == 0) {
        return true;
    }
#endif
    return fsync(file) == 0;
}

} // namespace

AtomicFile::AtomicFile(const std::string& path) : target(followLinks(path)) {}

AtomicFile::~AtomicFile() {
    if (stream != nullptr) {
        (void)std::fclose(stream);
    }
    if (isOurs()) {
        unlink(newPath.c_str());
    }
    release();
}

bool AtomicFile::Open() {
    return keepError(begin());
}

bool AtomicFile::Sync() {
    return keepError(bringToDisk());
}

bool AtomicFile::Commit() {
    return keepError(putInPlace());
}

/// Returns `bSucceeded`. Stores errno if this is the first failure.
bool AtomicFile::keepError(bool bSucceeded) {
    if (!bSucceeded && error == 0) {
        error = errno != 0 ? errno : EIO;
    }
    return bSucceeded;
}

bool AtomicFile::begin() {
    struct stat old = {};
    if (stat(target.c_str(), &old) != 0) {
        constexpr mode_t everyoneLessMask = 0666;
        return errno == ENOENT && create(everyoneLessMask);
    }
    if (!S_ISREG(old.st_mode)) {
        stream = openStream(target, O_TRUNC, 0);
        return stream != nullptr;
    }
    constexpr mode_t ownerAlone = 0600;
    return mayBeWritten(target) && create(ownerAlone) && keepModeAndOwner(old);
}

bool AtomicFile::create(mode_t mode) {
    const std::string path = newNameOf(target);
    for (int i = 0; i < mostTries; ++i) {
        if (!removeLeftOver(path)) {
            return false;
        }
        stream = openStream(path, O_CREAT | O_EXCL | O_NOFOLLOW, mode);
        if (stream == nullptr && errno != EEXIST) {
            return false;
        }
        if (stream != nullptr && claim(path)) {
            return true;
        }
    }
    errno = EBUSY;
    return false;
}

/// Locks the file that was just made. Returns false if another process has meanwhile removed it as a
/// left-over.
bool AtomicFile::claim(const std::string& path) {
    claimed = fcntl(fileno(stream), F_DUPFD_CLOEXEC, 0);
    newPath = path;
    if (!isLockedByAnother(claimed) && fstat(claimed, &created) == 0 && isOurs()) {
        return true;
    }
    (void)std::fclose(std::exchange(stream, nullptr));
    release();
    newPath.clear();
    return false;
}

void AtomicFile::release() {
    if (claimed >= 0) {
        close(std::exchange(claimed, -1));
    }
}

bool AtomicFile::keepModeAndOwner(const struct stat& old) {
    const int file = fileno(stream);
    oldMode = old.st_mode & permissionBits;
    const bool bSameOwner = created.st_uid == old.st_uid && created.st_gid == old.st_gid;
    // The owner comes first, because changing it may clear bits of the mode.
    return (bSameOwner || fchown(file, old.st_uid, old.st_gid) == 0) && fchmod(file, oldMode) == 0;
}

/// Sets these bits again, because a write clears them unless the superuser writes.
bool AtomicFile::keepSpecialBits() {
    constexpr mode_t specialBits = S_ISUID | S_ISGID;
    return (oldMode & specialBits) == 0 || fchmod(fileno(stream), oldMode) == 0;
}

bool AtomicFile::bringToDisk() {
    // ferror reports errors of earlier prints. On a full disk, often only fflush fails.
    const bool bWritten = std::ferror(stream) == 0 && std::fflush(stream) == 0 && keepSpecialBits();
    bSynced = bWritten && (newPath.empty() || syncToDisk(fileno(stream)));
    return bSynced;
}

bool AtomicFile::putInPlace() {
    const bool bWhole = std::fclose(std::exchange(stream, nullptr)) == 0 && bSynced;
    if (newPath.empty() || !bWhole) {
        return bWhole;
    }
    if (!isOurs()) {
        errno = EBUSY;
        return false;
    }
    if (std::rename(newPath.c_str(), target.c_str()) != 0) {
        return false;
    }
    newPath.clear();
    release();
    syncFolder();
    return true;
}

/// Whether the new file is still the one of this object. Without locks, another process that saves the same
/// file removes it and makes its own.
bool AtomicFile::isOurs() const {
    struct stat status = {};
    return !newPath.empty() && lstat(newPath.c_str(), &status) == 0 && status.st_dev == created.st_dev &&
           status.st_ino == created.st_ino;
}

/// Syncs the folder, so that the new name survives a power failure. Not every file system supports this, so
/// errors are ignored.
void AtomicFile::syncFolder() const {
    const std::string parent = folderOf(target);
    const int folder = open(parent.empty() ? "." : parent.c_str(), O_RDONLY | O_CLOEXEC);
    if (folder >= 0) {
        fsync(folder);
        close(folder);
    }
}
