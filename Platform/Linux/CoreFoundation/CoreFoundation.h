#pragma once

// The part of the CoreFoundation C interface that this system calls, with the framework's names, types and
// ownership rules: a function with Create or Copy in its name gives a reference that the caller releases, one
// with Get does not. References may not be null unless a comment says so. Allocator arguments are ignored.
//
// Where it differs from the framework:
//  - Property lists are read from XML in UTF-8 and from binary lists of version 00. Old-style text, UTF-16
//  and
//    Latin-1 give null, as do more than 512 nested elements, 64 MiB of text, and a million objects.
//  - Some documents that the framework refuses are read, for example a number that is none (as 0).
//  - Numbers, dates and data can be kept and written, but not looked into.
//  - A file is replaced whole or left as it was, by a rename; a hard link to it keeps the old text.

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
/// The encoding has to be UTF-8. A leading byte order mark is dropped. Null when `text` is not well-formed.
CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text, CFStringEncoding encoding);
/// In UTF-16 units.
CFIndex CFStringGetLength(CFStringRef string);
/// Copies the text with a terminator, as UTF-8. False when `capacity` bytes are too few; the first byte, if
/// there is one, is then zero.
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex capacity, CFStringEncoding encoding);

// File URLs. Paths are kept byte for byte, without percent coding.

using CFURLPathStyle = CFIndex;
constexpr CFURLPathStyle kCFURLPOSIXPathStyle = 0;

/// A relative path is resolved against the working folder now. Null for "" and where there is no such folder.
CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path, CFURLPathStyle style,
                                       Boolean isDirectory);
CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef allocator, CFURLRef url, CFStringRef component,
                                               Boolean isDirectory);
CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef allocator, CFURLRef url);
/// The absolute path with a terminator, whatever `resolveAgainstBase`. False when `capacity` bytes are too
/// few.
Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer,
                                         CFIndex capacity);
/// Reads a file of at most 64 MiB. False, null data and error code -10 when that fails or it is no regular
/// file. `errorCode` may be null; no properties are given.
Boolean CFURLCreateDataAndPropertiesFromResource(CFAllocatorRef allocator, CFURLRef url, CFDataRef* data,
                                                 CFDictionaryRef* properties, CFArrayRef desiredProperties,
                                                 SInt32* errorCode);
/// Writes a new file (mode 0666 less the umask), or replaces an existing one, whose mode and owner it keeps
/// and whose link it follows. Waits up to a second for another process that writes the same file. False and
/// error code -10 when that fails, and nothing has changed then. `errorCode` may be null; properties are not
/// written. Atomic.
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
/// Independent of the original; the values are shared.
CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef allocator, CFIndex capacity,
                                                     CFDictionaryRef dictionary);
/// Null when the key is not there. The dictionary keeps the value.
const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);
void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value);
/// Nothing may depend on the order of the calls.
void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction applier,
                               void* context);

// Property lists

constexpr CFOptionFlags kCFPropertyListImmutable = 0;

/// The list in `data`, XML or binary; null when it cannot be read. `errorText` may be null; otherwise it
/// takes a text for the caller to release when the result is null, and null when it is not.
CFPropertyListRef CFPropertyListCreateFromXMLData(CFAllocatorRef allocator, CFDataRef data,
                                                  CFOptionFlags mutability, CFStringRef* errorText);
/// The list as XML in UTF-8, keys sorted by UTF-16 unit.
CFDataRef CFPropertyListCreateXMLData(CFAllocatorRef allocator, CFPropertyListRef propertyList);

/// Always true: no service keeps preferences in memory here, so there is nothing to synchronize.
Boolean CFPreferencesAppSynchronize(CFStringRef applicationID);
