#include "Foundation/VLString.h"

#include <CoreFoundation/CoreFoundation.h>
#include <climits>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <iterator>
#include <memory>
#include <new>
#include <strings.h>

namespace {

/// Formatted output is cut after this many characters.
constexpr unsigned long longestFormatted = 510;
constexpr unsigned long longestWideDouble = 29;

int compare(const char* a, const char* b, unsigned long length) {
    return std::strncmp(a, b, length);
}
int compare(const wchar_t* a, const wchar_t* b, unsigned long length) {
    return std::wcsncmp(a, b, length);
}

unsigned long lengthOf(const char* text) {
    return std::strlen(text);
}
unsigned long lengthOf(const wchar_t* text) {
    return std::wcslen(text);
}

char lowerCase(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}
wchar_t lowerCase(wchar_t c) {
    return static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
}
char upperCase(char c) {
    return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}
wchar_t upperCase(wchar_t c) {
    return static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
}

// Storage. The length of a block depends only on the size of its text, so no field stores it. Up to 64
// characters it is exact. Above that it is a power of two, so appending in a loop takes time in proportion to
// the text.

template <class Char>
constexpr unsigned long largestSize = ULONG_MAX / (4 * sizeof(Char));

unsigned long blockLength(unsigned long size) {
    constexpr unsigned long exactUpTo = 64;
    if (size < exactUpTo) {
        return size + 1;
    }
    unsigned long length = 2 * exactUpTo;
    while (length < size + 1) {
        length *= 2;
    }
    return length;
}

/// `block` made long enough for a text of `size` characters. `block` may be null. On failure, returns null
/// and does not change the block.
template <class Char>
Char* resize(Char* block, unsigned long size) {
    if (size > largestSize<Char>) {
        return nullptr;
    }
    return static_cast<Char*>(std::realloc(block, blockLength(size) * sizeof(Char)));
}

template <class Char>
void assign(Char*& data, unsigned long& size, const Char* text, unsigned long length) {
    Char* block = nullptr;
    if (text != nullptr && length != 0 && (block = resize<Char>(nullptr, length)) != nullptr) {
        std::memcpy(block, text, length * sizeof(Char));
        block[length] = 0;
    }
    // The old text is freed last, because `text` may be part of it.
    std::free(data);
    data = block;
    size = block == nullptr ? 0 : length;
}

template <class Char>
void append(Char*& data, unsigned long& size, const Char* text, unsigned long length) {
    if (length == 0) {
        return;
    }
    const bool bOwnText = text == data;
    if (data == nullptr || blockLength(size) != blockLength(size + length)) {
        Char* block = resize(data, size + length);
        if (block == nullptr) {
            return;
        }
        data = block;
    }
    std::memcpy(data + size, bOwnText ? data : text, length * sizeof(Char));
    size += length;
    data[size] = 0;
}

/// A temporary array. Null if no memory is available.
template <class Element>
std::unique_ptr<Element[]> tryAllocate(unsigned long count) {
    return std::unique_ptr<Element[]>(new (std::nothrow) Element[count]);
}

// Comparison

template <class String>
bool areEqual(const String& a, const String& b) {
    return a.Size() == b.Size() && (a.IsEmpty() || compare(a.Data(), b.Data(), a.Size()) == 0);
}

template <class String>
bool isLess(const String& a, const String& b) {
    if (a.Size() != b.Size()) {
        return a.Size() > b.Size();
    }
    return a.IsSet() && compare(a.Data(), b.Data(), a.Size()) < 0;
}

// Searches use the algorithm of Knuth, Morris and Pratt, "Fast pattern matching in strings", SIAM J. Comput.
// 6 (1977). Its time is linear for every text.

enum class Case { Matters, Ignored };
enum class Direction { Forward, Backward };

template <class Char, Case letters, Direction direction>
class Text {
public:
    Text(const Char* text, unsigned long textLength) : data(text), length(textLength) {}

    Char operator[](unsigned long index) const {
        const Char c = data[direction == Direction::Forward ? index : length - 1 - index];
        return letters == Case::Matters ? c : lowerCase(c);
    }
    unsigned long size() const { return length; }

private:
    const Char* data;
    unsigned long length;
};

/// The position in `text` where the first `needle` ends. `needle` must not be empty. VLString::maxLen if
/// there is none, or if no memory is available for a long needle.
template <class Searched>
unsigned long endOfFirst(const Searched& needle, const Searched& text) {
    // border[i]: length of the longest proper prefix of the needle that also ends at its position i.
    unsigned long fewBorders[32]; // enough for most needles: a separator or a placeholder
    std::unique_ptr<unsigned long[]> manyBorders;
    unsigned long* border = fewBorders;
    if (needle.size() > std::size(fewBorders)) {
        manyBorders = tryAllocate<unsigned long>(needle.size());
        border = manyBorders.get();
        if (border == nullptr) {
            return VLString::maxLen;
        }
    }
    border[0] = 0;
    unsigned long matched = 0;
    for (unsigned long i = 1; i < needle.size(); ++i) {
        while (matched > 0 && needle[i] != needle[matched]) {
            matched = border[matched - 1];
        }
        matched += needle[i] == needle[matched] ? 1UL : 0UL;
        border[i] = matched;
    }

    matched = 0;
    for (unsigned long i = 0; i < text.size(); ++i) {
        while (matched > 0 && text[i] != needle[matched]) {
            matched = border[matched - 1];
        }
        matched += text[i] == needle[matched] ? 1UL : 0UL;
        if (matched == needle.size()) {
            return i + 1;
        }
    }
    return VLString::maxLen;
}

/// The length of the needle that is compared. A comparison stops after a zero character, like strncmp,
/// wcsncmp and strncasecmp. There is no wide strncasecmp; its replacement here treats a zero character like
/// any other.
template <Case letters, class String>
unsigned long comparedLength(const String& needle) {
    if (letters == Case::Ignored && std::is_same_v<String, VLUnicodeString>) {
        return needle.Size();
    }
    return std::min(lengthOf(needle.ConstData()) + 1, needle.Size());
}

template <Case letters, class String>
unsigned long indexOf(const String& string, const String& needle, unsigned long start) {
    if (needle.Size() > string.Size() || start >= string.Size()) {
        return String::maxLen;
    }
    if (needle.IsEmpty()) {
        return start;
    }
    if (needle.Size() > string.Size() - start) {
        return String::maxLen;
    }
    using Char = std::decay_t<decltype(string[0])>;
    using Searched = Text<Char, letters, Direction::Forward>;
    const unsigned long compared = comparedLength<letters>(needle);
    const unsigned long ignoredTail = needle.Size() - compared;
    const unsigned long end =
        endOfFirst(Searched(needle.Data(), compared),
                   Searched(string.Data() + start, string.Size() - start - ignoredTail));
    return end == String::maxLen ? end : start + end - compared;
}

template <Case letters, class String>
unsigned long indexLastOf(const String& string, const String& needle) {
    if (needle.Size() > string.Size()) {
        return String::maxLen;
    }
    if (needle.IsEmpty()) {
        return string.Size();
    }
    using Char = std::decay_t<decltype(string[0])>;
    using Searched = Text<Char, letters, Direction::Backward>;
    const unsigned long compared = comparedLength<letters>(needle);
    const unsigned long searched = string.Size() - (needle.Size() - compared);
    const unsigned long end =
        endOfFirst(Searched(needle.Data(), compared), Searched(string.Data(), searched));
    return end == String::maxLen ? end : searched - end;
}

// Building

template <class String>
String substr(const String& string, unsigned long start, unsigned long count) {
    String result;
    if (string.HasOf(start)) {
        result.init(string.Data() + start, std::min(string.Size() - start, count));
    }
    return result;
}

template <class String>
String replace(const String& string, const String& what, const String& with) {
    if (what.IsEmpty()) {
        return string;
    }
    String result;
    unsigned long copied = 0;
    for (unsigned long found = string.IndexOf(what, 0); string.HasOf(found);
         found = string.IndexOf(what, copied)) {
        result += string.Substr(copied, found - copied);
        result += with;
        copied = found + what.Size();
    }
    result += string.Substr(copied, String::maxLen);
    return result;
}

template <class String, class Mapping>
String mapCharacters(String string, Mapping mapping) {
    std::transform(string.Data(), string.Data() + string.Size(), string.Data(), mapping);
    return string;
}

// Conversions use the locale. The program sets the locale; this library never does. If a character is one
// byte, each byte is one wide character and back. The "C" locale does this for ASCII everywhere and for all
// bytes on macOS, but glibc refuses the bytes above 127.

/// The result of a conversion that fails.
constexpr std::size_t refused = static_cast<std::size_t>(-1);

bool isLocaleMultibyte() {
    return MB_CUR_MAX > 1;
}

/// Like mbstowcs, for `length` bytes without a zero byte.
std::size_t widenEachByte(wchar_t* converted, const char* text, std::size_t length) {
    std::transform(text, text + length, converted,
                   [](char c) { return static_cast<wchar_t>(static_cast<unsigned char>(c)); });
    return length;
}

/// Like wcstombs. Writes at most `limit` bytes and returns their number.
std::size_t narrowToOneByteEach(char* converted, const wchar_t* text, std::size_t limit) {
    std::size_t length = 0;
    for (; length < limit && text[length] != L'\0'; ++length) {
        if (static_cast<unsigned long>(text[length]) > UCHAR_MAX) {
            return refused; // also for a negative character
        }
        converted[length] = static_cast<char>(text[length]);
    }
    return length;
}

/// The result of `convert` for `text`, in a block of `limit` characters.
template <class Target, class TargetChar, class SourceChar>
Target convertText(const SourceChar* text, std::size_t limit,
                   std::size_t (*convert)(TargetChar*, const SourceChar*, std::size_t)) {
    Target result;
    const auto converted = tryAllocate<TargetChar>(limit);
    if (!converted) {
        return result;
    }
    const std::size_t length = convert(converted.get(), text, limit);
    if (length != refused) {
        result.init(converted.get(), length);
    }
    return result;
}

/// At most `limit` characters, each of one byte or more.
VLUnicodeString widen(const char* text, unsigned long limit) {
    // A text has at most as many characters as bytes, so the block need not be longer.
    return convertText<VLUnicodeString>(text, strnlen(text, limit),
                                        isLocaleMultibyte() ? std::mbstowcs : widenEachByte);
}

/// At most `limit` bytes. A character that does not fit completely is left out.
VLString narrow(const wchar_t* text, unsigned long limit) {
    return convertText<VLString>(text, limit, isLocaleMultibyte() ? std::wcstombs : narrowToOneByteEach);
}

} // namespace

// VLString

VLString::VLString(const char* text, unsigned long length) {
    init(text, length == maxLen && text != nullptr ? lengthOf(text) : length);
}

VLString::VLString(const wchar_t* text, unsigned long length)
    : VLString(VLUnicodeString(text, length).ToUTF8()) {}

VLString::VLString(const VLString& other) {
    init(other.data, other.size);
}

VLString::VLString(VLString&& other) noexcept
    : size(std::exchange(other.size, 0)), data(std::exchange(other.data, nullptr)) {}

VLString::~VLString() {
    std::free(data);
}

VLString& VLString::operator=(const VLString& other) {
    if (this != &other) {
        init(other.data, other.size);
    }
    return *this;
}

VLString& VLString::operator=(VLString&& other) noexcept {
    std::swap(size, other.size);
    std::swap(data, other.data);
    return *this;
}

void VLString::init(const char* text, unsigned long length) {
    assign(data, size, text, length);
}

void VLString::Clear() {
    init(nullptr, 0);
}

bool VLString::Equals(const VLString& other) const {
    return areEqual(*this, other);
}

bool VLString::EqualsIgnoreCase(const VLString& other) const {
    return size == other.size && (size == 0 || strncasecmp(data, other.data, size) == 0);
}

bool VLString::operator<(const VLString& other) const {
    return isLess(*this, other);
}

bool VLString::EndsWith(const VLString& suffix) const {
    return HasOf(IndexOf(suffix, size - suffix.size));
}

unsigned long VLString::IndexOf(const VLString& needle, unsigned long start) const {
    return indexOf<Case::Matters>(*this, needle, start);
}

unsigned long VLString::IndexOfIgnoreCase(const VLString& needle, unsigned long start) const {
    return indexOf<Case::Ignored>(*this, needle, start);
}

unsigned long VLString::IndexLastOf(const VLString& needle) const {
    return indexLastOf<Case::Matters>(*this, needle);
}

unsigned long VLString::IndexLastOfIgnoreCase(const VLString& needle) const {
    return indexLastOf<Case::Ignored>(*this, needle);
}

VLString VLString::Substr(unsigned long start, unsigned long count) const {
    return substr(*this, start, count);
}

VLString& VLString::Append(const VLString& other) {
    append(data, size, other.data, other.size);
    return *this;
}

VLString VLString::operator+(const VLString& other) const {
    VLString result(*this);
    result.Append(other);
    return result;
}

VLString VLString::Replace(const VLString& what, const VLString& with) const {
    return replace(*this, what, with);
}

VLString VLString::ToUpper() const {
    return mapCharacters(*this, [](char c) { return upperCase(c); });
}

VLString VLString::ToLower() const {
    return mapCharacters(*this, [](char c) { return lowerCase(c); });
}

VLUnicodeString VLString::GetUnicode() const {
    return widen(ConstData(), size);
}

CFStringRef VLString::CreateCFString() const {
    return CFStringCreateWithCString(kCFAllocatorDefault, ConstData(), kCFStringEncodingUTF8);
}

VLString& VLString::FromCFString(CFStringRef cfString) {
    Clear();
    const CFIndex length = cfString == nullptr ? 0 : CFStringGetLength(cfString);
    if (length < 1 || (data = resize<char>(nullptr, static_cast<unsigned long>(length))) == nullptr) {
        return *this;
    }
    if (CFStringGetCString(cfString, data, length + 1, kCFStringEncodingUTF8) != 0) {
        size = static_cast<unsigned long>(length);
    }
    data[size] = '\0';
    return *this;
}

// The format is passed by value because va_start does not allow a reference.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
VLString& VLString::FromFormat(VLString format, ...) {
    std::array<char, longestFormatted + 1> buffer{};
    va_list arguments;
    va_start(arguments, format);
    (void)std::vsnprintf(buffer.data(), buffer.size(), format.ConstData(), arguments);
    va_end(arguments);
    // The old text is freed last, because an argument may be part of it.
    return *this = VLString(buffer.data());
}

VLString& VLString::FromInt(int value) {
    return FromFormat("%d", value);
}

VLString& VLString::FromDword(unsigned int value) {
    return FromFormat("%u", value);
}

VLString& VLString::FromDouble(double value) {
    return FromFormat("%f", value);
}

VLString& VLString::FromGUID(const _GUID& guid) {
    const std::uint8_t* bytes = guid.Data4;
    return FromFormat("%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", guid.Data1, guid.Data2, guid.Data3,
                      bytes[0], bytes[1], bytes[2], bytes[3], bytes[4], bytes[5], bytes[6], bytes[7]);
}

// Numbers are read with the scanf family. Intended: the platform's scanf decides what is a number, and what a
// number that is too long gives.
// NOLINTBEGIN(cert-err34-c)

int VLString::GetLong(int defaultValue) const {
    long value = 0;
    return IsSet() && std::sscanf(data, "%ld", &value) == 1 ? static_cast<int>(value) : defaultValue;
}

unsigned int VLString::GetULong(unsigned int defaultValue) const {
    unsigned int value = 0;
    return IsSet() && std::sscanf(data, "%u", &value) == 1 ? value : defaultValue;
}

double VLString::GetDouble(double defaultValue) const {
    double value = 0;
    return IsSet() && std::sscanf(data, "%lf", &value) == 1 ? value : defaultValue;
}

_GUID VLString::GetGUID(bool* ok) const {
    constexpr int fieldCount = 11;
    _GUID guid{};
    std::uint8_t* bytes = guid.Data4;
    const bool bComplete =
        std::sscanf(ConstData(), "%08x-%04hx-%04hx-%02hhx%02hhx-%02hhx%02hhx%02hhx%02hhx%02hhx%02hhx",
                    &guid.Data1, &guid.Data2, &guid.Data3, &bytes[0], &bytes[1], &bytes[2], &bytes[3],
                    &bytes[4], &bytes[5], &bytes[6], &bytes[7]) == fieldCount;
    if (ok != nullptr) {
        *ok = bComplete;
    }
    return bComplete ? guid : _GUID{};
}

// NOLINTEND(cert-err34-c)

// VLUnicodeString

VLUnicodeString::VLUnicodeString(const wchar_t* text, unsigned long length) {
    init(text, length == maxLen && text != nullptr ? lengthOf(text) : length);
}

VLUnicodeString::VLUnicodeString(const char* text, unsigned long length)
    : VLUnicodeString(VLString(text, length).GetUnicode()) {}

VLUnicodeString::VLUnicodeString(const VLUnicodeString& other) {
    init(other.data, other.size);
}

VLUnicodeString::VLUnicodeString(VLUnicodeString&& other) noexcept
    : size(std::exchange(other.size, 0)), data(std::exchange(other.data, nullptr)) {}

VLUnicodeString::~VLUnicodeString() {
    std::free(data);
}

VLUnicodeString& VLUnicodeString::operator=(const VLUnicodeString& other) {
    if (this != &other) {
        init(other.data, other.size);
    }
    return *this;
}

VLUnicodeString& VLUnicodeString::operator=(VLUnicodeString&& other) noexcept {
    std::swap(size, other.size);
    std::swap(data, other.data);
    return *this;
}

void VLUnicodeString::init(const wchar_t* text, unsigned long length) {
    assign(data, size, text, length);
}

void VLUnicodeString::Clear() {
    init(nullptr, 0);
}

bool VLUnicodeString::Equals(const VLUnicodeString& other) const {
    return areEqual(*this, other);
}

bool VLUnicodeString::EqualsIgnoreCase(const VLUnicodeString& other) const {
    return size == other.size && std::equal(data, data + size, other.data, [](wchar_t a, wchar_t b) {
               return lowerCase(a) == lowerCase(b);
           });
}

bool VLUnicodeString::operator<(const VLUnicodeString& other) const {
    return isLess(*this, other);
}

bool VLUnicodeString::EndsWith(const VLUnicodeString& suffix) const {
    return HasOf(IndexOf(suffix, size - suffix.size));
}

unsigned long VLUnicodeString::IndexOf(const VLUnicodeString& needle, unsigned long start) const {
    return indexOf<Case::Matters>(*this, needle, start);
}

unsigned long VLUnicodeString::IndexOfIgnoreCase(const VLUnicodeString& needle, unsigned long start) const {
    return indexOf<Case::Ignored>(*this, needle, start);
}

unsigned long VLUnicodeString::IndexLastOf(const VLUnicodeString& needle) const {
    return indexLastOf<Case::Matters>(*this, needle);
}

unsigned long VLUnicodeString::IndexLastOfIgnoreCase(const VLUnicodeString& needle) const {
    return indexLastOf<Case::Ignored>(*this, needle);
}

VLUnicodeString VLUnicodeString::Substr(unsigned long start, unsigned long count) const {
    return substr(*this, start, count);
}

VLUnicodeString& VLUnicodeString::Append(const VLUnicodeString& other) {
    append(data, size, other.data, other.size);
    return *this;
}

VLUnicodeString VLUnicodeString::operator+(const VLUnicodeString& other) const {
    VLUnicodeString result(*this);
    result.Append(other);
    return result;
}

VLUnicodeString VLUnicodeString::Replace(const VLUnicodeString& what, const VLUnicodeString& with) const {
    return replace(*this, what, with);
}

VLUnicodeString VLUnicodeString::ToUpper() const {
    return mapCharacters(*this, [](wchar_t c) { return upperCase(c); });
}

VLUnicodeString VLUnicodeString::ToLower() const {
    return mapCharacters(*this, [](wchar_t c) { return lowerCase(c); });
}

VLString VLUnicodeString::ToUTF8() const {
    constexpr unsigned long longestCharacter = 4; // in UTF-8
    return narrow(ConstData(), longestCharacter * size);
}

VLString VLUnicodeString::GetMultibyteString() const {
    return narrow(ConstData(), size);
}

VLUnicodeString& VLUnicodeString::FromUTF8(const char* text, unsigned long length) {
    if (length == maxLen && text != nullptr) {
        length = lengthOf(text);
    }
    const auto isPositive = [](unsigned long number) { return static_cast<std::int32_t>(number) > 0; };
    *this = text != nullptr && isPositive(length) ? widen(text, length) : VLUnicodeString();
    if (!isPositive(size)) {
        Clear();
    }
    return *this;
}

void VLUnicodeString::FromUTF16(void*, bool, unsigned long) {}

VLString VLUnicodeString::ToUTF16(bool) const {
    return VLString();
}

// By value for the same reason as in VLString::FromFormat.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
VLUnicodeString& VLUnicodeString::FromFormat(VLUnicodeString format, ...) {
    std::array<wchar_t, longestFormatted + 1> buffer{};
    va_list arguments;
    va_start(arguments, format);
    // An output that is too long is an error here, but the buffer contains its beginning.
    (void)std::vswprintf(buffer.data(), buffer.size(), format.ConstData(), arguments);
    va_end(arguments);
    return *this = VLUnicodeString(buffer.data());
}

VLUnicodeString& VLUnicodeString::FromInt(int value) {
    return FromFormat(L"%d", value);
}

VLUnicodeString& VLUnicodeString::FromDword(unsigned int value) {
    return FromFormat(L"%u", value);
}

VLUnicodeString& VLUnicodeString::FromDouble(double value) {
    std::array<wchar_t, longestWideDouble + 1> buffer{};
    (void)std::swprintf(buffer.data(), buffer.size(), L"%f", value);
    return *this = VLUnicodeString(buffer.data());
}

int VLUnicodeString::GetLong(int defaultValue) const {
    long value = 0;
    return IsSet() && std::swscanf(data, L"%ld", &value) == 1 ? static_cast<int>(value) : defaultValue;
}

unsigned int VLUnicodeString::GetULong(unsigned int defaultValue) const {
    unsigned int value = 0;
    return IsSet() && std::swscanf(data, L"%u", &value) == 1 ? value : defaultValue;
}

double VLUnicodeString::GetDouble(double defaultValue) const {
    double value = 0;
    return IsSet() && std::swscanf(data, L"%lf", &value) == 1 ? value : defaultValue;
}
