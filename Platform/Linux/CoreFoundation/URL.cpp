#include "Platform/AtomicFile.h"
#include "Platform/Linux/CoreFoundation/Object.h"
#include "Platform/WholeFile.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <thread>

namespace {

constexpr std::size_t largestFile = 64UL << 20;
constexpr SInt32 unknownError = -10;

std::string withoutTrailingSlash(std::string path) {
    if (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

std::string joined(const std::string& folder, const std::string& component) {
    return component.empty() ? folder : folder + (folder == "/" ? "" : "/") + component;
}

/// The bytes of a regular file. Null if it is not a regular file, cannot be read or is too large.
CFDataRef readData(const std::string& path) {
    const FileContent content = WholeFile::Read(path, largestFile);
    if (content.error != 0 || content.state.type != S_IFREG) {
        return nullptr;
    }
    return new __CFData(content.size == 0 ? std::string() : std::string(content.bytes.get(), content.size));
}

/// Saves with AtomicFile, but only regular files. Returns 0 or an errno value. EBUSY: another process is
/// saving the file.
int replaceOnce(const std::string& path, const std::string& bytes) {
    const mode_t type = WholeFile::StateOf(path).type;
    if (type != 0 && type != S_IFREG) {
        return EINVAL;
    }
    AtomicFile file(path);
    if (file.Open()) {
        // Sync reports an error of the stream.
        (void)std::fwrite(bytes.data(), 1, bytes.size(), file.Stream());
        (void)(file.Sync() && file.Commit());
    }
    return file.Error();
}

bool replace(const std::string& path, const std::string& bytes) {
    constexpr int mostTries = 100;
    constexpr std::chrono::milliseconds pause(10);
    int error = replaceOnce(path, bytes);
    for (int i = 1; error == EBUSY && i < mostTries; ++i) {
        std::this_thread::sleep_for(pause);
        error = replaceOnce(path, bytes);
    }
    return error == 0;
}

Boolean outcome(bool bSucceeded, SInt32* errorCode) {
    if (errorCode != nullptr) {
        *errorCode = bSucceeded ? 0 : unknownError;
    }
    return bSucceeded ? 1 : 0;
}

} // namespace

__CFURL::__CFURL(std::string absolutePath)
    : CoreFoundationObject(URL), path(withoutTrailingSlash(std::move(absolutePath))) {}

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef, CFStringRef path, CFURLPathStyle style, Boolean) {
    if (path->utf8.empty() || style != kCFURLPOSIXPathStyle) {
        return nullptr;
    }
    if (path->utf8.front() == '/') {
        return new __CFURL(path->utf8);
    }
    std::error_code error;
    const auto workingFolder = std::filesystem::current_path(error);
    return error ? nullptr : new __CFURL(joined(workingFolder.string(), path->utf8));
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef, CFURLRef url, CFStringRef component, Boolean) {
    return new __CFURL(joined(url->path, component->utf8));
}

CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef, CFURLRef url) {
    const auto slash = url->path.rfind('/');
    return new __CFURL(url->path.substr(0, slash == 0 ? 1 : slash));
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean, UInt8* buffer, CFIndex capacity) {
    if (capacity <= 0 || url->path.size() >= static_cast<std::size_t>(capacity)) {
        return 0;
    }
    std::memcpy(buffer, url->path.c_str(), url->path.size() + 1);
    return 1;
}

Boolean CFURLCreateDataAndPropertiesFromResource(CFAllocatorRef, CFURLRef url, CFDataRef* data,
                                                 CFDictionaryRef* properties, CFArrayRef, SInt32* errorCode) {
    if (properties != nullptr) {
        *properties = nullptr;
    }
    *data = readData(url->path);
    return outcome(*data != nullptr, errorCode);
}

Boolean CFURLWriteDataAndPropertiesToResource(CFURLRef url, CFDataRef data, CFDictionaryRef,
                                              SInt32* errorCode) {
    return outcome(replace(url->path, data->bytes), errorCode);
}
