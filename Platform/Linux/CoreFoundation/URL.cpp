#include "Platform/Linux/CoreFoundation/Object.h"
#include "Platform/Linux/File.h"

#include <cstring>
#include <filesystem>
#include <optional>

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
    auto content = readRegularFile(url->path, largestFile);
    *data = content ? new __CFData(std::move(*content)) : nullptr;
    return outcome(*data != nullptr, errorCode);
}

Boolean CFURLWriteDataAndPropertiesToResource(CFURLRef url, CFDataRef data, CFDictionaryRef,
                                              SInt32* errorCode) {
    return outcome(replaceFile(url->path, data->bytes), errorCode);
}
