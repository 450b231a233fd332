#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <memory>
#include <type_traits>

struct ReleaseReference {
    void operator()(CFTypeRef reference) const { CFRelease(reference); }
};

/// A CoreFoundation reference that is released at the end of its scope.
template <class Reference>
using OwnedReference = std::unique_ptr<std::remove_pointer_t<Reference>, ReleaseReference>;

template <class Reference>
OwnedReference<Reference> owned(Reference created) {
    return OwnedReference<Reference>(created);
}

inline OwnedReference<CFStringRef> string(const char* text) {
    return owned(CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8));
}
