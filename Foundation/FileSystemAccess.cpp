#include "Foundation/FileSystemAccess.h"

#include "Foundation/PathLibrary.h"
#include "Platform/PlatformServices.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <new>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

FileSystemAccess machine;
FileSystemAccess* inUse = &machine;

bool isExecutableFile(const VLString& path) {
    struct stat status {};
    return stat(path.ConstData(), &status) == 0 && S_ISREG(status.st_mode) &&
           access(path.ConstData(), X_OK) == 0;
}

/// The folders, separated by colons, that the shell searches; an empty one is the working folder.
VLString searchPath() {
    if (const char* path = std::getenv("PATH")) {
        return VLString(path);
    }
    std::array<char, 512> standard{};
    confstr(_CS_PATH, standard.data(), standard.size());
    return VLString(standard.data());
}

bool readAll(int file, char* to, std::size_t size) {
    while (size > 0) {
        const ssize_t count = read(file, to, size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        to += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

} // namespace

bool FileSystemAccess::runCommand(const VLString& command) {
    static_cast<void>(std::fflush(stdout));
    return std::system(command.ConstData()) == 0;
}

bool FileSystemAccess::captureCommand(const VLString& command, VLString& output) {
    output.Clear();
    static_cast<void>(std::fflush(stdout));
    FILE* pipe = popen(command.ConstData(), "r");
    if (pipe == nullptr) {
        return false;
    }
    std::array<char, 128> piece{};
    while (std::fgets(piece.data(), piece.size(), pipe) != nullptr) {
        output += piece.data();
    }
    pclose(pipe);
    return true;
}

mode_t FileSystemAccess::typeOf(const VLString& path) {
    struct stat status {};
    return stat(path.ConstData(), &status) == 0 ? status.st_mode & S_IFMT : 0;
}

mode_t FileSystemAccess::linkTypeOf(const VLString& path) {
    struct stat status {};
    return lstat(path.ConstData(), &status) == 0 ? status.st_mode & S_IFMT : 0;
}

bool FileSystemAccess::hasProgram(const VLString& name) {
    const VLString path = searchPath();
    for (unsigned long from = 0, to = 0; from <= path.Size(); from = to + 1) {
        to = path.IndexOf(":", from);
        to = path.HasOf(to) ? to : path.Size();
        const VLString folder = path.Substr(from, to - from);
        if (isExecutableFile(PathLibrary::GetDirectoryWithFile(folder.IsSet() ? folder : ".", name))) {
            return true;
        }
    }
    return false;
}

std::unique_ptr<char[]> FileSystemAccess::readFile(const VLString& path, std::size_t& size) {
    // Not to wait for someone to write into a named pipe.
    const int file = open(path.ConstData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) {
        return nullptr;
    }
    std::unique_ptr<char[]> text;
    struct stat status = {};
    if (fstat(file, &status) == 0 && status.st_size > 0) {
        size = static_cast<std::size_t>(status.st_size);
        text.reset(new (std::nothrow) char[size + 1]);
        if (text != nullptr && readAll(file, text.get(), size)) {
            text[size] = '\0';
        } else {
            text.reset();
        }
    }
    close(file);
    return text;
}

VLString FileSystemAccess::mainBundlePath() {
    return PlatformServices::MainBundlePath();
}

bool FileSystemAccess::removeItem(const VLString& path) {
    return PlatformServices::RemoveItem(path);
}

bool FileSystemAccess::createFolder(const VLString& path) {
    return PlatformServices::CreateFolder(path);
}

bool FileSystemAccess::copyItem(const VLString& source, const VLString& destination) {
    return PlatformServices::CopyItem(source, destination);
}

bool FileSystemAccess::createSymbolicLink(const VLString& link, const VLString& target) {
    return PlatformServices::CreateSymbolicLink(link, target);
}

bool FileSystemAccess::showRetryCancelAlert(const VLString& title, const VLString& text) {
    return PlatformServices::ShowRetryCancelAlert(title, text);
}

FileSystemAccess& FileSystemAccess::current() {
    return *inUse;
}

FileSystemAccess* FileSystemAccess::setCurrent(FileSystemAccess* access) {
    return std::exchange(inUse, access == nullptr ? &machine : access);
}
