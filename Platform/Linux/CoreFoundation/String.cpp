#include "Platform/Linux/CoreFoundation/Object.h"
#include "Platform/Utf8.h"

#include <cstring>

CFStringRef createString(std::string utf8) {
    const auto units = utf16Length(utf8);
    return units ? new __CFString(std::move(utf8), *units) : nullptr;
}

CFTypeID CFStringGetTypeID() {
    return CoreFoundationObject::String;
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* text, CFStringEncoding encoding) {
    if (encoding != kCFStringEncodingUTF8) {
        return nullptr;
    }
    const char byteOrderMark[] = "\xEF\xBB\xBF";
    const std::size_t markLength = sizeof byteOrderMark - 1;
    return createString(std::strncmp(text, byteOrderMark, markLength) == 0 ? text + markLength : text);
}

CFIndex CFStringGetLength(CFStringRef string) {
    return static_cast<CFIndex>(string->length);
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex capacity, CFStringEncoding encoding) {
    if (capacity <= 0) {
        return 0;
    }
    if (encoding != kCFStringEncodingUTF8 || string->utf8.size() >= static_cast<std::size_t>(capacity)) {
        buffer[0] = '\0';
        return 0;
    }
    std::memcpy(buffer, string->utf8.c_str(), string->utf8.size() + 1);
    return 1;
}
