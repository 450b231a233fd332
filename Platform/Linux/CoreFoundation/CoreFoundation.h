#pragma once

// The part of the CoreFoundation C interface that this system calls, with the framework's names, types and
// ownership rules: the caller releases the result of a function with Create or Copy in its name, but not of
// one with Get. References must not be null unless a comment says so. Allocator arguments are ignored.
//
// Differences from the framework:
//  - Property lists are read from XML in UTF-8 and from binary lists of version 00. Other formats (old-style
//    text, UTF-16, Latin-1) give null. So do more than 512 nested elements, 64 MiB of text, or a million
//    objects.
//  - Some documents that the framework refuses are read, for example <integer>x</integer> (as 0).
//  - Numbers, dates and data are kept and written, but their values cannot be read.
//  - A file is replaced atomically by a rename. A hard link to it keeps the old text.

#include <cstddef>

using Boolean = unsigned char;
using UInt8 = unsigned char;
using SInt16 = signed short;
using SInt32 = signed int;
using OSStatus = SInt32;
using CFIndex = signed long;
using CFTypeID = unsigned long;
using CFOptionFlags = unsigned long;
using CFStringEncoding = unsigned int;

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the framework's names
using CFTypeRef = const void*;
using CFPropertyListRef = CFTypeRef;
using CFAllocatorRef = const struct __CFAllocator*;
using CFStringRef = const struct __CFString*;
using CFDataRef = const struct __CFData*;
using CFURLRef = const struct __CFURL*;
using CFArrayRef = const struct __CFArray*;
using CFDictionaryRef = const struct __CFDictionary*;
using CFMutableDictionaryRef = struct __CFDictionary*;
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

constexpr CFAllocatorRef kCFAllocatorDefault = nullptr;

CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);

// Strings

constexpr CFStringEncoding kCFStringEncodingUTF8 = 0x08000100;

CFTypeID CFStringGetTypeID();
/// `encoding` must be UTF-8. A byte order mark at the beginning is dropped. Null if `text` is malformed.
CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text, CFStringEncoding encoding);
/// In UTF-16 units.
CFIndex CFStringGetLength(CFStringRef string);
/// Copies the text with a terminator, as UTF-8. False when `capacity` bytes are too few; the first byte, if
/// there is one, is then zero.
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex capacity, CFStringEncoding encoding);

// File URLs. Paths are kept byte for byte, without percent coding.

using CFURLPathStyle = CFIndex;
constexpr CFURLPathStyle kCFURLPOSIXPathStyle = 0;

/// A relative path is resolved against the current working folder. Null for "", and if that folder does not
/// exist.
CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path, CFURLPathStyle style,
                                       Boolean isDirectory);
CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef allocator, CFURLRef url, CFStringRef component,
                                               Boolean isDirectory);
CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef allocator, CFURLRef url);
/// Writes the absolute path with a terminator. `resolveAgainstBase` is ignored. Returns false if `capacity`
/// bytes are too few.
Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer,
                                         CFIndex capacity);
/// Reads a regular file of at most 64 MiB. On failure, returns false, null data and error code -10.
/// `errorCode` may be null. Properties are not supported.
Boolean CFURLCreateDataAndPropertiesFromResource(CFAllocatorRef allocator, CFURLRef url, CFDataRef* data,
                                                 CFDictionaryRef* properties, CFArrayRef desiredProperties,
                                                 SInt32* errorCode);
/// Makes a new file (mode 0666 less the umask), or replaces an existing file atomically. Keeps mode and owner
/// and follows a link. Waits up to a second for another process that writes the same file. On failure,
/// returns false and error code -10, and changes nothing. `errorCode` may be null. Properties are not
/// written.
Boolean CFURLWriteDataAndPropertiesToResource(CFURLRef url, CFDataRef data, CFDictionaryRef properties,
                                              SInt32* errorCode);

// Dictionaries from strings to property-list objects, which they retain

using CFDictionaryApplierFunction = void (*)(const void* key, const void* value, void* context);
struct CFDictionaryKeyCallBacks {};
struct CFDictionaryValueCallBacks {};
constexpr CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks{};
constexpr CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks{};

CFTypeID CFDictionaryGetTypeID();
CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks);
/// A copy that is independent of `dictionary`. Both share the values.
CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity,
                                                     CFDictionaryRef dictionary);
/// Null if the key does not exist. The dictionary keeps its reference to the value.
const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);
void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value);
/// The order of the calls is not specified.
void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction applier,
                               void* context);

// Property lists

constexpr CFOptionFlags kCFPropertyListImmutable = 0;

/// Reads the property list in `data`, XML or binary. On failure, returns null and sets `*errorText` to a
/// text, which the caller releases. On success, sets `*errorText` to null. `errorText` may be null.
CFPropertyListRef CFPropertyListCreateFromXMLData(CFAllocatorRef allocator, CFDataRef data,
                                                  CFOptionFlags mutability, CFStringRef* errorText);
/// The property list as XML in UTF-8, with keys in the order of their UTF-16 units.
CFDataRef CFPropertyListCreateXMLData(CFAllocatorRef allocator, CFPropertyListRef propertyList);

/// Does nothing and returns true, because no service caches preferences here.
Boolean CFPreferencesAppSynchronize(CFStringRef applicationID);
