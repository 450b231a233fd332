#include "Platform/Linux/File.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr mode_t permissionBits = 07777;

class Descriptor {
public:
    explicit Descriptor(int opened) : number(opened) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    bool isOpen() const { return number >= 0; }
    int get() const { return number; }
    bool close() {
        const bool bClosed = !isOpen() || ::close(number) == 0;
        number = -1;
        return bClosed;
    }

private:
    int number;
};

/// What `path` leads to through links, of which the last may dangle.
fs::path linkTarget(fs::path path) {
    constexpr int mostLinks = 40;
    std::error_code error;
    for (int i = 0; i < mostLinks && fs::is_symlink(fs::symlink_status(path, error)); ++i) {
        const fs::path target = fs::read_symlink(path, error);
        path = path.parent_path() / target;
    }
    return path;
}

/// A file with a new name in `folder`, open for writing, or -1; `name` becomes its path.
int createUnique(const fs::path& folder, fs::path& name) {
    constexpr int mostTries = 100;
    static unsigned number = 0;
    int file = -1;
    for (int i = 0; i < mostTries && file < 0; ++i) {
        name = folder / (".preferences." + std::to_string(getpid()) + "." + std::to_string(number++));
        file = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (file < 0 && errno != EEXIST) {
            break;
        }
    }
    return file;
}

bool writeAll(int file, std::string_view content) {
    while (!content.empty()) {
        const ssize_t written = write(file, content.data(), content.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        content.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

bool copyOwnerAndMode(const struct stat& from, int file) {
    struct stat now {};
    return fstat(file, &now) == 0 &&
           ((now.st_uid == from.st_uid && now.st_gid == from.st_gid) ||
            fchown(file, from.st_uid, from.st_gid) == 0) &&
           fchmod(file, from.st_mode & permissionBits) == 0;
}

bool mayReplace(const fs::path& path, const struct stat& existing) {
    return S_ISREG(existing.st_mode) && faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

} // namespace

std::optional<std::string> readRegularFile(const std::string& path, std::size_t largest) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (!file.isOpen() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    std::string content;
    char buffer[1 << 16];
    while (content.size() <= largest) {
        const ssize_t count = read(file.get(), buffer, sizeof buffer);
        if (count == 0) {
            return content;
        }
        if (count < 0 && errno != EINTR) {
            return std::nullopt;
        }
        content.append(buffer, count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    return std::nullopt;
}

bool replaceFile(const std::string& path, std::string_view content) {
    const fs::path target = linkTarget(path);
    struct stat existing {};
    const bool bExists = stat(target.c_str(), &existing) == 0;
    if (bExists && !mayReplace(target, existing)) {
        return false;
    }
    fs::path temporary;
    Descriptor file(createUnique(target.parent_path(), temporary));
    if (!file.isOpen()) {
        return false;
    }
    const bool bReplaced = writeAll(file.get(), content) &&
                           (!bExists || copyOwnerAndMode(existing, file.get())) && fsync(file.get()) == 0 &&
                           file.close() && std::rename(temporary.c_str(), target.c_str()) == 0;
    if (!bReplaced) {
        unlink(temporary.c_str());
    }
    return bReplaced;
}
