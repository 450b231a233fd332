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

/// As many links as systems follow before they take them for a loop.
constexpr int maxLinks = 40;
constexpr mode_t permissionBits = 07777;
/// How often another process may come between before a save gives up.
constexpr int mostTries = 100;

/// What the link at `path` says; empty when there is no link.
std::string readLink(const std::string& path) {
    std::array<char, PATH_MAX> text = {};
    const ssize_t length = readlink(path.c_str(), text.data(), text.size());
    return {text.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

/// The folder that holds `path`, with a slash behind it; empty for a bare name.
std::string folderOf(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

/// Where the links that begin at `path` end, whether or not something is there. Of a loop, any of its links.
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

/// The name of the new file: with ".new" behind it, and cut before that where no folder takes one so long.
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

/// Tries to lock the open file; a file system without locks has none of another process either.
bool isLockedByAnother(int file) {
    return flock(file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

bool isAt(const std::string& path, int file) {
    struct stat there = {};
    struct stat here = {};
    return lstat(path.c_str(), &there) == 0 && fstat(file, &here) == 0 && there.st_dev == here.st_dev &&
           there.st_ino == here.st_ino;
}

/// True when nothing of that name is there any more.
bool removeName(const std::string& path) {
    return unlink(path.c_str()) == 0 || errno == ENOENT;
}

/// Removes what has the name of a new file: one that a killed process has left, or something planted there,
/// which is never opened for writing. False when that cannot be removed, and with EBUSY when it is the new
/// file of a process that lives: each locks its own.
bool removeLeftOver(const std::string& path) {
    for (int i = 0; i < mostTries; ++i) {
        const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (file < 0) {
            // A link, or another user's file. Where there is nothing, another process may have just made its
            // own.
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
    // Where this exists, fsync leaves the data in the drive's own memory. Not every file system has it.
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
    return noted(begin());
}

bool AtomicFile::Sync() {
    return noted(bringToDisk());
}

bool AtomicFile::Commit() {
    return noted(putInPlace());
}

/// Remembers the reason of the first failure, which stands in errno.
bool AtomicFile::noted(bool bSucceeded) {
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

/// Makes the file that has just been made the one that this object writes. False when another process has
/// taken it for a left-over meanwhile.
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
    // In this order: a change of owner may clear bits of the mode.
    return (bSameOwner || fchown(file, old.st_uid, old.st_gid) == 0) && fchmod(file, oldMode) == 0;
}

/// A write takes these bits away, unless it is the superuser's.
bool AtomicFile::keepSpecialBits() {
    constexpr mode_t specialBits = S_ISUID | S_ISGID;
    return (oldMode & specialBits) == 0 || fchmod(fileno(stream), oldMode) == 0;
}

bool AtomicFile::bringToDisk() {
    // A stream remembers an error of any earlier print; a full disk may show only when the last bytes go.
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

/// Where files cannot be locked, another process that saves the same file removes our new one and makes its
/// own.
bool AtomicFile::isOurs() const {
    struct stat status = {};
    return !newPath.empty() && lstat(newPath.c_str(), &status) == 0 && status.st_dev == created.st_dev &&
           status.st_ino == created.st_ino;
}

/// Makes the new name survive a power failure. Not every file system can; the file is in place all the same.
void AtomicFile::syncFolder() const {
    const std::string parent = folderOf(target);
    const int folder = open(parent.empty() ? "." : parent.c_str(), O_RDONLY | O_CLOEXEC);
    if (folder >= 0) {
        fsync(folder);
        close(folder);
    }
}
