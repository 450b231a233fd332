#pragma once

#include "Foundation/FileLibrary.h"
#include "Foundation/VLString.h"

#include <CoreFoundation/CoreFoundation.h>

#include <map>
#include <set>

/// A store of named texts in preference files, readable by other programs of the family.
///
/// A *key* names a file, "com.vorlane.STEM.plist" with the key's Normalize text for STEM: a property list
/// with a dictionary on top. A *value* is an entry of that dictionary whose value is a string, and a *subkey*
/// one whose value is a dictionary of strings. Entries of other types count as absent, and stay when a file
/// is rewritten.
///
/// A file lies in a given directory, or in one of these *locations*, in this order: "/tmp/", the Preferences
/// folder of the user, that of the machine (the "local domain"), and the sub-folder "Network" of the latter.
/// A *domain* is kUserDomain or kLocalDomain of <CoreServices/CoreServices.h>.
///
/// A file that is missing, cannot be read, is malformed or has something else on top is the same as none.
/// Reads give empty results then. Writes give false when the text is not UTF-8, the folder is not there or
/// the file cannot be written; a file that was there is then as it was, except for what FixPermissions does.
/// Nothing throws or logs. Texts go through VLString::FromCFString: names and values that are not all ASCII
/// come out empty.
namespace RegistryHelper {

// Functions over CoreFoundation objects. Results are new references that the caller releases, null when there
// is nothing. An argument may be null, and the result is then null.

/// The dictionary on top of the file `fileName` in `directory`.
CFDictionaryRef GetDictionaryAtPath(CFStringRef directory, CFStringRef fileName);
/// The same in the domain's Preferences folder, which is not created. `fileName` may have folders in it.
CFDictionaryRef GetDictionaryAtDomain(SInt16 domain, CFStringRef fileName);
CFStringRef GetRegistryKeyAtPath(CFStringRef directory, CFStringRef fileName, CFStringRef valueName);
CFStringRef GetRegistryKeyAtDomain(SInt16 domain, CFStringRef fileName, CFStringRef valueName);
CFDictionaryRef GetRegistrySubkeyAtPath(CFStringRef directory, CFStringRef fileName, CFStringRef subkey);
CFDictionaryRef GetRegistrySubkeyAtDomain(SInt16 domain, CFStringRef fileName, CFStringRef subkey);

/// For CFDictionaryApplyFunction: adds `key` to the std::set<VLString> `names` when it is a string that is
/// not empty, whatever `value` is.
void AppendKeyName(const void* key, const void* value, void* names);

/// Gives the file the owner, group and permission bits of its folder, so that a file written by the superuser
/// into a user's folder belongs to that user. Does what it can; paths of 1024 bytes and more are left alone.
void FixPermissions(CFURLRef file);
/// Makes the preferences service forget what it holds of "com.vorlane.STEM".
void FlushPreferencesCache(const char* stem);

// Names and codes

/// Room for a stem, a file name, and their terminators.
constexpr int nameBufferSize = 260;

/// Writes the stem of `input` into `output`, which has `nameBufferSize` bytes: letters in lower case, digits,
/// ".", "_" and "-"; "." for each slash and backslash; nothing for any other byte. What does not fit is cut
/// off.
void Normalize(char* output, const char* input);
/// Two digits, of which the letters are upper case, for each byte.
VLString EncodeToHex(const VLString& bytes);
/// The bytes that EncodeToHex was given; "" for a text of odd length. Intended: lower-case digits and other
/// characters give some byte.
VLString DecodeFromHex(const VLString& text);

// Reading

VLString GetRegistryKeyAtPath(const VLString& key, const VLString& valueName, const VLString& directory);
/// From the first location that has the value, be it empty.
VLString GetRegistryKey(const VLString& key, const VLString& valueName);
/// Fills `buffer` with the value, and with zeros behind it, and gives true when it is not empty and at most
/// `bufferSize` bytes long; otherwise the buffer stays as it was. Intended: a value of exactly that length
/// has no terminator.
bool GetRegistryKey(const char* key, const char* valueName, char* buffer, int bufferSize);
VLUnicodeString GetRegistryKeyUnicode(const VLUnicodeString& key, const VLUnicodeString& valueName);
/// Decodes the value from Base64.
VLMemoryBuffer GetRegistryKeyBinary(const VLString& key, const VLString& valueName);
/// The names of the entries, of any type, in all locations but "Network".
std::set<VLString> EnumRegistryKeys(const VLString& key);
/// The values in the subkey of the first location that has it.
std::map<VLString, VLString> GetRegistrySubkeyValues(const VLString& key, const VLString& subkey);

// Writing. The file is made when it is not there, and so is a domain's folder, but not a given directory.
// After the attempt, successful or not, FixPermissions and FlushPreferencesCache run.

bool SetRegistryKey(const char* key, const char* valueName, const char* value, SInt16 domain);
/// In the user's domain.
bool SetRegistryKey(const VLString& key, const VLString& valueName, const VLString& value);
/// In the local domain and then in the user's; only the second result counts.
bool FullSetRegistryKey(const VLString& key, const VLString& valueName, const VLString& value);
/// Makes the value empty in the user's domain; the entry stays.
bool RemoveRegistryKeyValue(const VLString& key, const VLString& valueName);
bool SetRegistryKeyUnicode(const VLUnicodeString& key, const VLUnicodeString& valueName,
                           const VLUnicodeString& value);
/// Stores Base64 text, in lines of 64 characters, in the user's domain; "" for an empty buffer.
bool SetRegistryKeyBinary(const VLString& key, const VLString& valueName, const VLMemoryBuffer& value);
bool SetRegistryKeyAtPath(const char* key, const char* valueName, const char* value, const char* directory);
bool SetRegistryKeyAtPath(const VLString& key, const VLString& valueName, const VLString& value,
                          const VLString& directory);
/// The subkey is made when it is not there, and replaces an entry of another type.
bool SetRegistrySubkey(const char* key, const char* subkey, const char* valueName, const char* value,
                       SInt16 domain);
bool SetRegistrySubkey(const VLString& key, const VLString& subkey, const VLString& valueName,
                       const VLString& value, SInt16 domain);
bool SetRegistrySubkeyAtPath(const VLString& key, const VLString& subkey, const VLString& valueName,
                             const VLString& value, const VLString& directory);

} // namespace RegistryHelper
