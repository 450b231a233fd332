#include "Platform/WholeFile.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace {

FileState stateFrom(const struct stat& status) {
#ifdef __APPLE__
    const timespec& changed = status.st_mtimespec;
#else
    const timespec& changed = status.st_mtim;
#endif
    return {static_cast<mode_t>(status.st_mode & S_IFMT), static_cast<std::uint64_t>(status.st_dev),
            static_cast<std::uint64_t>(status.st_ino),    static_cast<std::int64_t>(status.st_size),
            static_cast<std::int64_t>(changed.tv_sec),    static_cast<std::int64_t>(changed.tv_nsec)};
}

/// Reads `size` bytes. Returns 0 or an errno value.
int readAll(int file, char* to, std::size_t size) {
    while (size > 0) {
        const ssize_t count = read(file, to, size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return count < 0 ? errno : EIO; // the file has become shorter
        }
        to += count;
        size -= static_cast<std::size_t>(count);
    }
    return 0;
}

/// Reads the open file into `content`. Returns 0 or an errno value.
int readInto(FileContent& content, int file, std::size_t largest) {
    struct stat status {};
    if (fstat(file, &status) != 0) {
        return errno;
    }
    content.state = stateFrom(status);
    if (!S_ISREG(status.st_mode) || status.st_size == 0) {
        return 0;
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size > largest) {
        return EFBIG;
    }
    content.bytes.reset(new (std::nothrow) char[size + 1]);
    const int error = content.bytes == nullptr ? ENOMEM : readAll(file, content.bytes.get(), size);
    if (error == 0) {
        content.size = size;
        content.bytes[size] = '\0';
    } else {
        content.bytes.reset();
    }
    return error;
}

/// errno, or another value than 0 if errno is 0.
int reason() {
    return errno != 0 ? errno : EIO;
}

bool writeAll(int file, const char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t count = write(file, bytes, size);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        const std::size_t written = count < 0 ? 0 : static_cast<std::size_t>(count);
        bytes += written;
        size -= written;
    }
    return true;
}

} // namespace

bool FileState::operator==(const FileState& other) const {
    return type == other.type && device == other.device && inode == other.inode && size == other.size &&
           seconds == other.seconds && nanoseconds == other.nanoseconds;
}

FileContent WholeFile::Read(const std::string& path, std::size_t largest) {
    FileContent content;
    // O_NONBLOCK: do not wait for the writer of a named pipe. O_NOCTTY: a terminal must not become ours.
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0) {
        content.error = reason();
        return content;
    }
    content.error = readInto(content, file, largest);
    close(file);
    return content;
}

FileState WholeFile::StateOf(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? stateFrom(status) : FileState();
}

bool WholeFile::Create(const std::string& path, const char* bytes, std::size_t size, int& error) {
    errno = 0;
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0) {
        error = reason();
        return false;
    }
    const bool bWritten = writeAll(file, bytes, size) && fsync(file) == 0;
    error = bWritten ? 0 : reason();
    if (close(file) != 0 && error == 0) {
        error = reason();
    }
    if (error != 0) {
        unlink(path.c_str());
    }
    return error == 0;
}
