#include "Foundation/FileSystemAccess.h"

#include "Foundation/PathLibrary.h"

#include <array>
#include <cstdio>
#include <cstdlib>
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

FileSystemAccess& FileSystemAccess::current() {
    return *inUse;
}

FileSystemAccess* FileSystemAccess::setCurrent(FileSystemAccess* access) {
    return std::exchange(inUse, access == nullptr ? &machine : access);
}
