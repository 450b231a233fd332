#pragma once

#include "Foundation/FileLibrary.h"
#include "Foundation/VLString.h"

#include <CoreFoundation/CoreFoundation.h>

#include <map>
#include <set>

/// Reads and writes named texts in preference files, which all programs of the family share.
///
/// A *key* names a file: "com.vorlane.STEM.plist", where STEM is the result of Normalize. The file is a
/// property list (the format of macOS preferences) with a dictionary at the top. A *value* is an entry of
/// that dictionary with a string. A *subkey* is an entry with a dictionary of strings. Entries of other types
/// count as missing, and they stay when a file is rewritten.
///
/// A file is in a given directory, or in one of these *locations*, in this order: "/tmp/", the Preferences
/// folder of the user, the Preferences folder of the machine (the "local domain"), and its sub-folder
/// "Network". A *domain* is kUserDomain or kLocalDomain of <CoreServices/CoreServices.h>.
///
/// A file counts as missing if it cannot be read, is malformed or has no dictionary at the top. Reads then
/// give empty results. Writes return false if a text is not UTF-8, the folder does not exist or the file
/// cannot be written. An existing file then stays as it was, except for FixPermissions. Nothing throws or
/// logs. Texts go through VLString::FromCFString, so names and values with characters outside ASCII are
/// empty.
namespace RegistryHelper {

// Functions for CoreFoundation objects. A result is a new reference, which the caller releases, or null if
// there is nothing. If an argument is null, the result is null.

/// The dictionary at the top of the file `fileName` in `directory`.
CFDictionaryRef GetDictionaryAtPath(CFStringRef directory, CFStringRef fileName);
/// The same in the Preferences folder of the domain, which is not created. `fileName` may contain folders.
CFDictionaryRef GetDictionaryAtDomain(SInt16 domain, CFStringRef fileName);
CFStringRef GetRegistryKeyAtPath(CFStringRef directory, CFStringRef fileName, CFStringRef valueName);
CFStringRef GetRegistryKeyAtDomain(SInt16 domain, CFStringRef fileName, CFStringRef valueName);
CFDictionaryRef GetRegistrySubkeyAtPath(CFStringRef directory, CFStringRef fileName, CFStringRef subkey);
CFDictionaryRef GetRegistrySubkeyAtDomain(SInt16 domain, CFStringRef fileName, CFStringRef subkey);

/// For CFDictionaryApplyFunction. Adds `key` to the std::set<VLString> `names` if it is a string and not
/// empty. `value` is ignored.
void AppendKeyName(const void* key, const void* value, void* names);

/// Gives the file the owner, group and permission bits of its folder. So a file that the superuser writes
/// into a user's folder belongs to that user. Errors are ignored. Does nothing for paths of 1024 bytes and
/// more.
void FixPermissions(CFURLRef file);
/// Makes the preferences service drop its cache of "com.vorlane.STEM".
void FlushPreferencesCache(const char* stem);

// Names and codes

/// The size of a buffer for a stem or a file name, with its terminator.
constexpr int nameBufferSize = 260;

/// Writes the stem of `input` into `output`, which has `nameBufferSize` bytes. Letters become lower case.
/// Digits, ".", "_" and "-" stay. Slashes and backslashes become ".". All other bytes are left out. A stem
/// that is too long is cut.
void Normalize(char* output, const char* input);
/// Two hexadecimal digits for each byte, with upper-case letters.
VLString EncodeToHex(const VLString& bytes);
/// Reverses EncodeToHex. "" for a text of odd length. Intended: lower-case digits and other characters give
/// some byte.
VLString DecodeFromHex(const VLString& text);

// Reading

VLString GetRegistryKeyAtPath(const VLString& key, const VLString& valueName, const VLString& directory);
/// The value from the first location that has it, even if it is empty.
VLString GetRegistryKey(const VLString& key, const VLString& valueName);
/// Copies the value to `buffer` and fills the rest with zeros. Returns false and does not change `buffer` if
/// the value is empty or longer than `bufferSize` bytes. Intended: a value of exactly `bufferSize` bytes has
/// no terminator.
bool GetRegistryKey(const char* key, const char* valueName, char* buffer, int bufferSize);
VLUnicodeString GetRegistryKeyUnicode(const VLUnicodeString& key, const VLUnicodeString& valueName);
/// Decodes the value from Base64.
VLMemoryBuffer GetRegistryKeyBinary(const VLString& key, const VLString& valueName);
/// The names of all entries, of any type, in all locations except "Network".
std::set<VLString> EnumRegistryKeys(const VLString& key);
/// The values in the subkey of the first location that has it.
std::map<VLString, VLString> GetRegistrySubkeyValues(const VLString& key, const VLString& subkey);

// Writing. A missing file is created. A missing folder of a domain is created, a missing directory that is
// given is not. FixPermissions and FlushPreferencesCache run afterwards, also on failure.

bool SetRegistryKey(const char* key, const char* valueName, const char* value, SInt16 domain);
/// In the user's domain.
bool SetRegistryKey(const VLString& key, const VLString& valueName, const VLString& value);
/// Writes in the local domain, then in the user's domain. Returns the result of the second.
bool FullSetRegistryKey(const VLString& key, const VLString& valueName, const VLString& value);
/// Makes the value empty in the user's domain. The entry stays.
bool RemoveRegistryKeyValue(const VLString& key, const VLString& valueName);
bool SetRegistryKeyUnicode(const VLUnicodeString& key, const VLUnicodeString& valueName,
                           const VLUnicodeString& value);
/// Stores the buffer in the user's domain as Base64 text in lines of 64 characters. An empty buffer is "".
bool SetRegistryKeyBinary(const VLString& key, const VLString& valueName, const VLMemoryBuffer& value);
bool SetRegistryKeyAtPath(const char* key, const char* valueName, const char* value, const char* directory);
bool SetRegistryKeyAtPath(const VLString& key, const VLString& valueName, const VLString& value,
                          const VLString& directory);
/// A missing subkey is created. It replaces an entry of another type.
bool SetRegistrySubkey(const char* key, const char* subkey, const char* valueName, const char* value,
                       SInt16 domain);
bool SetRegistrySubkey(const VLString& key, const VLString& subkey, const VLString& valueName,
                       const VLString& value, SInt16 domain);
bool SetRegistrySubkeyAtPath(const VLString& key, const VLString& subkey, const VLString& valueName,
                             const VLString& value, const VLString& directory);

} // namespace RegistryHelper
