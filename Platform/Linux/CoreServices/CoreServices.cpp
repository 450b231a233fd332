#include "Platform/Linux/CoreServices/CoreServices.h"

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

namespace {

std::optional<std::string> preferencesFolder(SInt16 domain) {
    const char* home = domain == kUserDomain ? std::getenv("HOME") : ""; // NOLINT(concurrency-mt-unsafe)
    if (home == nullptr || (domain == kUserDomain && home[0] != '/') ||
        (domain != kUserDomain && domain != kLocalDomain)) {
        return std::nullopt;
    }
    return std::string(home) + "/Library/Preferences";
}

} // namespace

OSErr FSFindFolder(FSVolumeRefNum domain, OSType folderType, Boolean createFolder, FSRef* folder) {
    const auto path = folderType == kPreferencesFolderType ? preferencesFolder(domain) : std::nullopt;
    if (!path || path->size() >= sizeof folder->path) {
        return fnfErr;
    }
    std::error_code error;
    if (createFolder != 0) {
        std::filesystem::create_directories(*path, error);
    }
    if (!std::filesystem::is_directory(*path, error)) {
        return fnfErr;
    }
    folder->path[path->copy(folder->path, sizeof folder->path - 1)] = '\0';
    return noErr;
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef* item) {
    const CFStringRef path = CFStringCreateWithCString(allocator, item->path, kCFStringEncodingUTF8);
    if (path == nullptr) {
        return nullptr;
    }
    const CFURLRef url = CFURLCreateWithFileSystemPath(allocator, path, kCFURLPOSIXPathStyle, 1);
    CFRelease(path);
    return url;
}
