#include "Utility/InstallUtility/AtomicFile.h"

#include "Foundation/PathLibrary.h"

#include <climits>

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

/// As many links as systems follow before they take them for a loop.
constexpr int maxLinks = 40;
constexpr mode_t permissionBits = 07777;

/// What the link at `path` says; empty when there is no link.
VLString readLink(const VLString& path) {
    std::array<char, PATH_MAX> text = {};
    const ssize_t length = readlink(path.ConstData(), text.data(), text.size());
    return length <= 0 ? VLString() : VLString(text.data(), static_cast<unsigned long>(length));
}

/// Where the links that begin at `path` end, whether or not something is there. Of a loop, any of its links.
VLString followLinks(VLString path) {
    for (int links = 0; links < maxLinks; ++links) {
        const VLString link = readLink(path);
        if (link.IsEmpty()) {
            break;
        }
        path = link[0] == '/' ? link : PathLibrary::GetDirectoryWithoutFile(path) + link;
    }
    return path;
}

FILE* openStream(const VLString& path, int flags, mode_t mode) {
    const int file = open(path.ConstData(), O_WRONLY | O_CLOEXEC | flags, mode);
    FILE* stream = file < 0 ? nullptr : fdopen(file, "w");
    if (file >= 0 && stream == nullptr) {
        close(file);
    }
    return stream;
}

bool mayBeWritten(const VLString& path) {
    const int file = open(path.ConstData(), O_WRONLY | O_CLOEXEC);
    return file >= 0 && close(file) == 0;
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

AtomicFile::AtomicFile(const VLString& path) : target(followLinks(path)) {}

AtomicFile::~AtomicFile() {
    if (stream != nullptr) {
        (void)std::fclose(stream);
    }
    if (isOurs()) {
        unlink(newPath.ConstData());
    }
}

bool AtomicFile::Open() {
    struct stat old = {};
    if (stat(target.ConstData(), &old) != 0) {
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

/// A file that has the name already is removed, never opened: it might be a link, planted to have something
/// else overwritten.
bool AtomicFile::create(mode_t mode) {
    const VLString path = target + ".new";
    unlink(path.ConstData());
    stream = openStream(path, O_CREAT | O_EXCL | O_NOFOLLOW, mode);
    if (stream == nullptr) {
        return false;
    }
    newPath = path;
    return fstat(fileno(stream), &created) == 0;
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

bool AtomicFile::Sync() {
    // A stream remembers an error of any earlier print; a full disk may show only when the last bytes go.
    const bool bWritten = std::ferror(stream) == 0 && std::fflush(stream) == 0 && keepSpecialBits();
    bSynced = bWritten && (newPath.IsEmpty() || syncToDisk(fileno(stream)));
    return bSynced;
}

bool AtomicFile::Commit() {
    const bool bWhole = std::fclose(std::exchange(stream, nullptr)) == 0 && bSynced;
    if (newPath.IsEmpty() || !bWhole) {
        return bWhole;
    }
    if (!isOurs() || std::rename(newPath.ConstData(), target.ConstData()) != 0) {
        return false;
    }
    newPath.Clear();
    syncFolder();
    return true;
}

/// Another process that saves the same file removes our new one and makes its own.
bool AtomicFile::isOurs() const {
    struct stat status = {};
    return newPath.IsSet() && lstat(newPath.ConstData(), &status) == 0 && status.st_dev == created.st_dev &&
           status.st_ino == created.st_ino;
}

/// Makes the new name survive a power failure. Not every file system can; the file is in place all the same.
void AtomicFile::syncFolder() const {
    const VLString parent = PathLibrary::GetDirectoryWithoutFile(target);
    const int folder = open(parent.IsEmpty() ? "." : parent.ConstData(), O_RDONLY | O_CLOEXEC);
    if (folder >= 0) {
        fsync(folder);
        close(folder);
    }
}
