#include "Foundation/RegistryHelper.h"

#include "Foundation/Base64.h"

#include <CoreServices/CoreServices.h>

#include <array>
#include <cctype>
#include <cstring>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int base64LineLength = 64;
constexpr const char* temporaryFolder = "/tmp/";

/// Releases its reference at the end of its scope. May be null.
template <class Reference>
class Owned {
public:
    Owned() = default;
    explicit Owned(Reference created) : reference(created) {}
    Owned(Owned&& other) noexcept : reference(std::exchange(other.reference, nullptr)) {}
    Owned& operator=(Owned&& other) noexcept {
        std::swap(reference, other.reference);
        return *this;
    }
    ~Owned() {
        if (reference != nullptr) {
            CFRelease(reference);
        }
    }

    Reference get() const { return reference; }
    Reference handOver() { return std::exchange(reference, nullptr); }
    explicit operator bool() const { return reference != nullptr; }

private:
    Reference reference = nullptr;
};

using OwnedString = Owned<CFStringRef>;
using OwnedURL = Owned<CFURLRef>;
using OwnedDictionary = Owned<CFDictionaryRef>;
using OwnedMutableDictionary = Owned<CFMutableDictionaryRef>;
using OwnedData = Owned<CFDataRef>;

OwnedString createString(const char* text) {
    return OwnedString(text == nullptr
                           ? nullptr
                           : CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8));
}

OwnedString createString(const VLString& text) {
    return OwnedString(text.CreateCFString());
}

VLString textOf(CFTypeRef string) {
    return VLString().FromCFString(static_cast<CFStringRef>(string));
}

bool isString(CFTypeRef object) {
    return object != nullptr && CFGetTypeID(object) == CFStringGetTypeID();
}

bool isDictionary(CFTypeRef object) {
    return object != nullptr && CFGetTypeID(object) == CFDictionaryGetTypeID();
}

// Names

/// The file name and the preferences application of a key.
struct KeyName {
    explicit KeyName(const char* key) {
        std::array<char, RegistryHelper::nameBufferSize> normalized{};
        RegistryHelper::Normalize(normalized.data(), key == nullptr ? "" : key);
        stem = normalized.data();
        // The end of a long file name is cut. Intended: the limit applies to the whole name.
        fileName = ("com.vorlane." + stem + ".plist").substr(0, RegistryHelper::nameBufferSize - 1);
    }

    std::string stem;
    std::string fileName;
};

OwnedString fileNameOf(const VLString& key) {
    return createString(KeyName(key.ConstData()).fileName.c_str());
}

// Folders and files

OwnedURL folderAtPath(CFStringRef directory) {
    return OwnedURL(directory == nullptr ? nullptr
                                         : CFURLCreateWithFileSystemPath(kCFAllocatorDefault, directory,
                                                                         kCFURLPOSIXPathStyle, 1));
}

OwnedURL folderOfDomain(SInt16 domain, bool bCreate) {
    FSRef folder;
    const OSErr error = FSFindFolder(domain, kPreferencesFolderType, bCreate ? 1 : 0, &folder);
    return OwnedURL(error == noErr ? CFURLCreateFromFSRef(kCFAllocatorDefault, &folder) : nullptr);
}

OwnedURL fileIn(const OwnedURL& folder, CFStringRef fileName) {
    return OwnedURL(folder && fileName != nullptr ? CFURLCreateCopyAppendingPathComponent(
                                                        kCFAllocatorDefault, folder.get(), fileName, 0)
                                                  : nullptr);
}

OwnedData readFile(const OwnedURL& file) {
    CFDataRef data = nullptr;
    SInt32 error = 0;
    if (!file || CFURLCreateDataAndPropertiesFromResource(kCFAllocatorDefault, file.get(), &data, nullptr,
                                                          nullptr, &error) == 0) {
        return OwnedData();
    }
    return OwnedData(data);
}

OwnedDictionary readDictionary(const OwnedURL& file) {
    const OwnedData data = readFile(file);
    Owned<CFPropertyListRef> list(data ? CFPropertyListCreateFromXMLData(kCFAllocatorDefault, data.get(),
                                                                         kCFPropertyListImmutable, nullptr)
                                       : nullptr);
    return OwnedDictionary(isDictionary(list.get()) ? static_cast<CFDictionaryRef>(list.handOver())
                                                    : nullptr);
}

bool writeDictionary(CFDictionaryRef dictionary, const OwnedURL& file) {
    const OwnedData data(CFPropertyListCreateXMLData(kCFAllocatorDefault, dictionary));
    SInt32 error = 0;
    return data && CFURLWriteDataAndPropertiesToResource(file.get(), data.get(), nullptr, &error) != 0;
}

// Entries

/// A new reference to the entry `name`. Null if there is none of the type.
template <class Reference>
Reference copyEntry(const OwnedDictionary& dictionary, CFStringRef name, bool (*isOfType)(CFTypeRef)) {
    const void* entry =
        dictionary && name != nullptr ? CFDictionaryGetValue(dictionary.get(), name) : nullptr;
    return isOfType(entry) ? static_cast<Reference>(CFRetain(entry)) : nullptr;
}

void appendValue(const void* key, const void* value, void* values) {
    const VLString name = isString(key) ? textOf(key) : VLString();
    if (name.IsSet() && isString(value)) {
        (*static_cast<std::map<VLString, VLString>*>(values))[name] = textOf(value);
    }
}

/// The result of `readAtPath` or `readAtDomain` for the first location that has one.
template <class Reference>
Owned<Reference> firstOfLocations(const VLString& key, const VLString& name,
                                  Reference (*readAtPath)(CFStringRef, CFStringRef, CFStringRef),
                                  Reference (*readAtDomain)(SInt16, CFStringRef, CFStringRef)) {
    const KeyName keyName(key.ConstData());
    const OwnedString fileName = createString(keyName.fileName.c_str());
    const OwnedString entry = createString(name);
    Owned<Reference> result(readAtPath(createString(temporaryFolder).get(), fileName.get(), entry.get()));
    for (const SInt16 domain : {SInt16{kUserDomain}, SInt16{kLocalDomain}}) {
        if (!result) {
            result = Owned<Reference>(readAtDomain(domain, fileName.get(), entry.get()));
        }
    }
    if (!result) {
        const OwnedString networkFile = createString(("Network/" + keyName.fileName).c_str());
        result = Owned<Reference>(readAtDomain(kLocalDomain, networkFile.get(), entry.get()));
    }
    return result;
}

// Writing

OwnedMutableDictionary mutableCopy(const OwnedDictionary& dictionary) {
    return OwnedMutableDictionary(
        dictionary ? CFDictionaryCreateMutableCopy(kCFAllocatorDefault, 0, dictionary.get())
                   : CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                               &kCFTypeDictionaryValueCallBacks));
}

/// A value to write, in the dictionary at the top or in a subkey.
struct Entry {
    OwnedString valueName;
    OwnedString value;
    bool bInSubkey = false;
    OwnedString subkey;

    bool isValid() const { return valueName && value && (!bInSubkey || subkey); }
};

/// A copy of `dictionary` with the entry set. `dictionary` may be null. On failure, null.
OwnedMutableDictionary withEntry(const OwnedDictionary& dictionary, const Entry& entry) {
    OwnedMutableDictionary top = mutableCopy(dictionary);
    if (!top || !entry.isValid()) {
        return OwnedMutableDictionary();
    }
    if (!entry.bInSubkey) {
        CFDictionarySetValue(top.get(), entry.valueName.get(), entry.value.get());
        return top;
    }
    const OwnedMutableDictionary values = mutableCopy(
        OwnedDictionary(copyEntry<CFDictionaryRef>(dictionary, entry.subkey.get(), isDictionary)));
    if (!values) {
        return OwnedMutableDictionary();
    }
    CFDictionarySetValue(values.get(), entry.valueName.get(), entry.value.get());
    CFDictionarySetValue(top.get(), entry.subkey.get(), values.get());
    return top;
}

/// Writes the entry into the file of the key. `read` gives its dictionary, `findFolder` its folder.
bool setEntry(const char* key, const Entry& entry, const std::function<CFDictionaryRef(CFStringRef)>& read,
              const std::function<OwnedURL()>& findFolder) {
    const KeyName keyName(key);
    const OwnedString fileName = createString(keyName.fileName.c_str());
    const OwnedMutableDictionary dictionary = withEntry(OwnedDictionary(read(fileName.get())), entry);
    const OwnedURL file = dictionary ? fileIn(findFolder(), fileName.get()) : OwnedURL();
    if (!file) {
        return false;
    }
    const bool bWritten = writeDictionary(dictionary.get(), file);
    RegistryHelper::FixPermissions(file.get());
    RegistryHelper::FlushPreferencesCache(keyName.stem.c_str());
    return bWritten;
}

bool setEntryInDomain(const char* key, const Entry& entry, SInt16 domain) {
    return setEntry(
        key, entry,
        [&](CFStringRef fileName) { return RegistryHelper::GetDictionaryAtDomain(domain, fileName); },
        [&] { return folderOfDomain(domain, true); });
}

bool setEntryAtPath(const char* key, const Entry& entry, const char* directory) {
    const OwnedString path = createString(directory);
    return setEntry(
        key, entry,
        [&](CFStringRef fileName) { return RegistryHelper::GetDictionaryAtPath(path.get(), fileName); },
        [&] { return folderAtPath(path.get()); });
}

Entry valueEntry(const char* valueName, const char* value) {
    return {createString(valueName), createString(value), false, OwnedString()};
}

Entry subkeyEntry(const char* subkey, const char* valueName, const char* value) {
    return {createString(valueName), createString(value), true, createString(subkey)};
}

int hexValue(char digit) {
    const int code = static_cast<unsigned char>(digit);
    return code < 58 ? code - '0' : code - 55;
}

} // namespace

namespace RegistryHelper {

CFDictionaryRef GetDictionaryAtPath(CFStringRef directory, CFStringRef fileName) {
    return readDictionary(fileIn(folderAtPath(directory), fileName)).handOver();
}

CFDictionaryRef GetDictionaryAtDomain(SInt16 domain, CFStringRef fileName) {
    return readDictionary(fileIn(folderOfDomain(domain, false), fileName)).handOver();
}

CFStringRef GetRegistryKeyAtPath(CFStringRef directory, CFStringRef fileName, CFStringRef valueName) {
    return copyEntry<CFStringRef>(OwnedDictionary(GetDictionaryAtPath(directory, fileName)), valueName,
                                  isString);
}

CFStringRef GetRegistryKeyAtDomain(SInt16 domain, CFStringRef fileName, CFStringRef valueName) {
    return copyEntry<CFStringRef>(OwnedDictionary(GetDictionaryAtDomain(domain, fileName)), valueName,
                                  isString);
}

CFDictionaryRef GetRegistrySubkeyAtPath(CFStringRef directory, CFStringRef fileName, CFStringRef subkey) {
    return copyEntry<CFDictionaryRef>(OwnedDictionary(GetDictionaryAtPath(directory, fileName)), subkey,
                                      isDictionary);
}

CFDictionaryRef GetRegistrySubkeyAtDomain(SInt16 domain, CFStringRef fileName, CFStringRef subkey) {
    return copyEntry<CFDictionaryRef>(OwnedDictionary(GetDictionaryAtDomain(domain, fileName)), subkey,
                                      isDictionary);
}

void AppendKeyName(const void* key, const void*, void* names) {
    const VLString name = isString(key) ? textOf(key) : VLString();
    if (name.IsSet()) {
        static_cast<std::set<VLString>*>(names)->insert(name);
    }
}

void FixPermissions(CFURLRef file) {
    const OwnedURL folder(
        file == nullptr ? nullptr : CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorDefault, file));
    std::array<char, 1024> folderPath{};
    std::array<char, 1024> filePath{};
    const auto getPath = [](CFURLRef url, std::array<char, 1024>& path) {
        return CFURLGetFileSystemRepresentation(url, 1, reinterpret_cast<UInt8*>(path.data()),
                                                static_cast<CFIndex>(path.size())) != 0;
    };
    struct stat status {};
    if (!folder || !getPath(folder.get(), folderPath) || !getPath(file, filePath) ||
        stat(folderPath.data(), &status) != 0) {
        return;
    }
    constexpr mode_t permissionBits = 07777;
    // Only the superuser can change the owner. The mode is set in any case, and last, because a change of
    // the owner clears bits of the mode.
    [[maybe_unused]] const int owner = chown(filePath.data(), status.st_uid, status.st_gid);
    [[maybe_unused]] const int mode = chmod(filePath.data(), status.st_mode & permissionBits);
}

void FlushPreferencesCache(const char* stem) {
    const OwnedString application =
        createString(stem == nullptr ? VLString() : VLString("com.vorlane.") + stem);
    if (stem != nullptr && application) {
        CFPreferencesAppSynchronize(application.get());
    }
}

void Normalize(char* output, const char* input) {
    int length = 0;
    for (; *input != '\0' && length < nameBufferSize - 1; ++input) {
        const auto c = static_cast<unsigned char>(*input);
        const bool bAscii = c < 128;
        if (bAscii && std::isalpha(c) != 0) {
            output[length++] = static_cast<char>(std::tolower(c));
        } else if ((c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-') {
            output[length++] = static_cast<char>(c);
        } else if (c == '/' || c == '\\') {
            output[length++] = '.';
        }
    }
    output[length] = '\0';
}

VLString EncodeToHex(const VLString& bytes) {
    const char digits[] = "0123456789ABCDEF";
    std::string text;
    for (unsigned long i = 0; i < bytes.Size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return VLString(text.data(), text.size());
}

VLString DecodeFromHex(const VLString& text) {
    std::string bytes;
    for (unsigned long i = 0; text.Size() % 2 == 0 && i < text.Size(); i += 2) {
        bytes += static_cast<char>(16 * hexValue(text[i]) + hexValue(text[i + 1]));
    }
    return VLString(bytes.data(), bytes.size());
}

VLString GetRegistryKeyAtPath(const VLString& key, const VLString& valueName, const VLString& directory) {
    return textOf(OwnedString(GetRegistryKeyAtPath(createString(directory).get(), fileNameOf(key).get(),
                                                   createString(valueName).get()))
                      .get());
}

VLString GetRegistryKey(const VLString& key, const VLString& valueName) {
    return textOf(
        firstOfLocations<CFStringRef>(key, valueName, GetRegistryKeyAtPath, GetRegistryKeyAtDomain).get());
}

bool GetRegistryKey(const char* key, const char* valueName, char* buffer, int bufferSize) {
    const VLString value = GetRegistryKey(VLString(key), VLString(valueName));
    if (value.IsEmpty() || bufferSize < 0 || value.Size() > static_cast<unsigned long>(bufferSize)) {
        return false;
    }
    std::strncpy(buffer, value.ConstData(), static_cast<std::size_t>(bufferSize));
    return true;
}

VLUnicodeString GetRegistryKeyUnicode(const VLUnicodeString& key, const VLUnicodeString& valueName) {
    return GetRegistryKey(key.ToUTF8(), valueName.ToUTF8()).GetUnicode();
}

VLMemoryBuffer GetRegistryKeyBinary(const VLString& key, const VLString& valueName) {
    const VLString text = GetRegistryKey(key, valueName);
    VLMemoryBuffer bytes;
    bytes.init(Base64EstimateDecodedDataSize(text.Size()));
    unsigned long size = bytes.size;
    VLMemoryBuffer result;
    if (bytes.data != nullptr && Base64DecodeData(text.ConstData(), text.Size(), bytes.data, &size)) {
        result.init(bytes.data, size);
    }
    return result;
}

std::set<VLString> EnumRegistryKeys(const VLString& key) {
    const OwnedString fileName = fileNameOf(key);
    std::set<VLString> names;
    const auto addNames = [&](const OwnedDictionary& dictionary) {
        if (dictionary) {
            CFDictionaryApplyFunction(dictionary.get(), AppendKeyName, &names);
        }
    };
    addNames(OwnedDictionary(GetDictionaryAtPath(createString("/tmp").get(), fileName.get())));
    addNames(OwnedDictionary(GetDictionaryAtDomain(kUserDomain, fileName.get())));
    addNames(OwnedDictionary(GetDictionaryAtDomain(kLocalDomain, fileName.get())));
    return names;
}

std::map<VLString, VLString> GetRegistrySubkeyValues(const VLString& key, const VLString& subkey) {
    std::map<VLString, VLString> values;
    if (const auto dictionary = firstOfLocations<CFDictionaryRef>(key, subkey, GetRegistrySubkeyAtPath,
                                                                  GetRegistrySubkeyAtDomain)) {
        CFDictionaryApplyFunction(dictionary.get(), appendValue, &values);
    }
    return values;
}

bool SetRegistryKey(const char* key, const char* valueName, const char* value, SInt16 domain) {
    return setEntryInDomain(key, valueEntry(valueName, value), domain);
}

bool SetRegistryKey(const VLString& key, const VLString& valueName, const VLString& value) {
    return SetRegistryKey(key.ConstData(), valueName.ConstData(), value.ConstData(), kUserDomain);
}

bool FullSetRegistryKey(const VLString& key, const VLString& valueName, const VLString& value) {
    SetRegistryKey(key.ConstData(), valueName.ConstData(), value.ConstData(), kLocalDomain);
    return SetRegistryKey(key, valueName, value);
}

bool RemoveRegistryKeyValue(const VLString& key, const VLString& valueName) {
    return SetRegistryKey(key, valueName, "");
}

bool SetRegistryKeyUnicode(const VLUnicodeString& key, const VLUnicodeString& valueName,
                           const VLUnicodeString& value) {
    return SetRegistryKey(key.ToUTF8(), valueName.ToUTF8(), value.ToUTF8());
}

bool SetRegistryKeyBinary(const VLString& key, const VLString& valueName, const VLMemoryBuffer& value) {
    if (value.size == 0) {
        return SetRegistryKey(key, valueName, "");
    }
    VLMemoryBuffer text;
    text.init(Base64EstimateEncodedDataSize(value.size, base64LineLength));
    unsigned long size = text.size;
    return text.data != nullptr &&
           Base64EncodeData(value.data, value.size, text.data, &size, base64LineLength) &&
           SetRegistryKey(key, valueName, VLString(text.data, size));
}

bool SetRegistryKeyAtPath(const char* key, const char* valueName, const char* value, const char* directory) {
    return setEntryAtPath(key, valueEntry(valueName, value), directory);
}

bool SetRegistryKeyAtPath(const VLString& key, const VLString& valueName, const VLString& value,
                          const VLString& directory) {
    return SetRegistryKeyAtPath(key.ConstData(), valueName.ConstData(), value.ConstData(),
                                directory.ConstData());
}

bool SetRegistrySubkey(const char* key, const char* subkey, const char* valueName, const char* value,
                       SInt16 domain) {
    return setEntryInDomain(key, subkeyEntry(subkey, valueName, value), domain);
}

bool SetRegistrySubkey(const VLString& key, const VLString& subkey, const VLString& valueName,
                       const VLString& value, SInt16 domain) {
    return SetRegistrySubkey(key.ConstData(), subkey.ConstData(), valueName.ConstData(), value.ConstData(),
                             domain);
}

bool SetRegistrySubkeyAtPath(const VLString& key, const VLString& subkey, const VLString& valueName,
                             const VLString& value, const VLString& directory) {
    return setEntryAtPath(key.ConstData(),
                          subkeyEntry(subkey.ConstData(), valueName.ConstData(), value.ConstData()),
                          directory.ConstData());
}

} // namespace RegistryHelper
