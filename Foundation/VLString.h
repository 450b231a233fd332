#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

class VLUnicodeString;

// The platform's string object, as <CoreFoundation/CoreFoundation.h> declares it.
using CFStringRef =
    const struct __CFString*; // NOLINT(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

/// A globally unique identifier, in the field order of its text form.
struct _GUID { // NOLINT(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the name other programs of
               // the family use
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};

/// Text of 8-bit characters with value semantics, UTF-8 where it meets the platform. Every operation takes
/// the bytes as they are and may meet zero bytes among them; comparisons and searches, like the C functions
/// they follow, look no further than a zero byte in both texts.
///
/// No operation throws. Where memory cannot be had, what is being built stays empty and what is being
/// extended stays as it was.
class VLString {
public:
    /// "The whole text", "to the end", and what a search returns when it finds nothing.
    static constexpr unsigned long maxLen = ~0UL;

    VLString() = default;
    VLString(std::nullptr_t, unsigned long = maxLen) {}
    /// Copies `length` bytes of `text`, or all up to its terminator for `maxLen`. A null `text` gives "".
    VLString(const char* text, unsigned long length = maxLen);
    /// Narrows `length` characters of `text` (`maxLen`: up to the terminator), see VLUnicodeString::ToUTF8.
    VLString(const wchar_t* text, unsigned long length);
    VLString(const VLString& other);
    VLString(VLString&& other) noexcept;
    virtual ~VLString();

    VLString& operator=(const VLString& other);
    VLString& operator=(VLString&& other) noexcept;

    /// Replaces the text by `length` bytes of `text`; a null `text` or a zero `length` empties it.
    void init(const char* text, unsigned long length);
    void Clear();

    /// Number of bytes, the terminator not counted.
    unsigned long Size() const { return size; }
    /// The zero-terminated bytes, owned by the string; null when it is empty.
    char* Data() { return data; }
    const char* Data() const { return data; }
    /// As Data(), but never null.
    const char* ConstData() const { return size == 0 ? "" : data; }
    bool IsEmpty() const { return size == 0; }
    bool IsSet() const { return size != 0; }
    /// Whether `index` lies inside the text; tells whether a search found something.
    bool HasOf(unsigned long index) const { return index < size; }
    /// The byte at `index`, 0 past the end.
    char operator[](unsigned long index) const { return HasOf(index) ? data[index] : '\0'; }

    bool Equals(const VLString& other) const;
    bool EqualsIgnoreCase(const VLString& other) const;
    bool operator==(const VLString& other) const { return Equals(other); }
    bool operator!=(const VLString& other) const { return !Equals(other); }
    /// Longest first: a longer text sorts before a shorter one, and only texts of one length are compared
    /// byte by byte. Intended: every walk over a map of names, and every file written from one, has this
    /// order.
    bool operator<(const VLString& other) const;
    /// False for an empty `suffix`.
    bool EndsWith(const VLString& suffix) const;

    /// The first position from `start` on at which `needle` occurs, or `maxLen`. An empty `needle` is found
    /// at `start`, if that is inside the text.
    unsigned long IndexOf(const VLString& needle, unsigned long start) const;
    unsigned long IndexOfIgnoreCase(const VLString& needle, unsigned long start) const;
    /// The last position at which `needle` occurs, or `maxLen`. An empty `needle` is found at Size().
    unsigned long IndexLastOf(const VLString& needle) const;
    unsigned long IndexLastOfIgnoreCase(const VLString& needle) const;

    /// At most `count` bytes from `start` (`maxLen`: all to the end); empty when `start` is past the end.
    VLString Substr(unsigned long start, unsigned long count) const;
    VLString& Append(const VLString& other);
    VLString& operator+=(const VLString& other) { return Append(other); }
    VLString& operator+=(const char* text) { return Append(VLString(text)); }
    VLString operator+(const VLString& other) const;
    VLString operator+(const char* text) const { return *this + VLString(text); }
    /// A copy with every occurrence of `what` replaced, left to right; inserted text is not searched again.
    /// An empty `what` gives a plain copy.
    VLString Replace(const VLString& what, const VLString& with) const;
    VLString ToUpper() const;
    VLString ToLower() const;

    /// A plain copy: the text is UTF-8 already.
    VLString ToUTF8() const { return *this; }
    /// The wide form of the text up to its first zero byte, in the locale that the program has set. Empty
    /// when that locale cannot convert all of the text. In a locale of one byte a character, as in a program
    /// that has set none, each byte is one wide character: any text then comes back unchanged from
    /// VLUnicodeString::ToUTF8, on every platform.
    VLUnicodeString GetUnicode() const;

    /// A new platform string with this text, up to its first zero byte. The caller releases it. Null when the
    /// text is not UTF-8.
    CFStringRef CreateCFString() const;
    /// Replaces the text by that of `cfString`, which may be null. Intended: there is room for one byte for
    /// each of its UTF-16 units, so that any text that is not all ASCII comes out empty.
    VLString& FromCFString(CFStringRef cfString);

    /// Replaces the text by printf-formatted output, of which the first 510 bytes are kept.
    VLString& FromFormat(VLString format, ...);
    VLString& FromInt(int value);
    VLString& FromDword(unsigned int value);
    /// With six decimals.
    VLString& FromDouble(double value);
    /// 36 characters: lower-case hexadecimal digits in groups of 8, 4, 4, 4 and 12, without braces.
    VLString& FromGUID(const _GUID& guid);

    /// The number that the text begins with, after white space; `defaultValue` when there is none.
    int GetLong(int defaultValue) const;
    /// As GetLong; a negative number wraps around.
    unsigned int GetULong(unsigned int defaultValue) const;
    double GetDouble(double defaultValue) const;
    /// Reads what FromGUID writes. All zeros and `*ok` false when that fails; `ok` may be null.
    _GUID GetGUID(bool* ok) const;

private:
    unsigned long size = 0;
    char* data = nullptr;
};

/// Text of wide characters, with the operations and the rules of VLString. Comparisons and searches that
/// ignore case see zero characters as any other.
class VLUnicodeString {
public:
    static constexpr unsigned long maxLen = VLString::maxLen;

    VLUnicodeString() = default;
    VLUnicodeString(std::nullptr_t, unsigned long = maxLen) {}
    VLUnicodeString(const wchar_t* text, unsigned long length = maxLen);
    /// Widens the text, see VLString::GetUnicode.
    VLUnicodeString(const char* text, unsigned long length = maxLen);
    VLUnicodeString(const VLUnicodeString& other);
    VLUnicodeString(VLUnicodeString&& other) noexcept;
    virtual ~VLUnicodeString();

    VLUnicodeString& operator=(const VLUnicodeString& other);
    VLUnicodeString& operator=(VLUnicodeString&& other) noexcept;

    void init(const wchar_t* text, unsigned long length);
    void Clear();

    /// Number of characters, the terminator not counted.
    unsigned long Size() const { return size; }
    wchar_t* Data() { return data; }
    const wchar_t* Data() const { return data; }
    const wchar_t* ConstData() const { return size == 0 ? L"" : data; }
    bool IsEmpty() const { return size == 0; }
    bool IsSet() const { return size != 0; }
    bool HasOf(unsigned long index) const { return index < size; }
    wchar_t operator[](unsigned long index) const { return HasOf(index) ? data[index] : L'\0'; }

    bool Equals(const VLUnicodeString& other) const;
    bool EqualsIgnoreCase(const VLUnicodeString& other) const;
    bool operator==(const VLUnicodeString& other) const { return Equals(other); }
    bool operator!=(const VLUnicodeString& other) const { return !Equals(other); }
    bool operator<(const VLUnicodeString& other) const;
    bool EndsWith(const VLUnicodeString& suffix) const;

    unsigned long IndexOf(const VLUnicodeString& needle, unsigned long start) const;
    unsigned long IndexOfIgnoreCase(const VLUnicodeString& needle, unsigned long start) const;
    unsigned long IndexLastOf(const VLUnicodeString& needle) const;
    unsigned long IndexLastOfIgnoreCase(const VLUnicodeString& needle) const;

    VLUnicodeString Substr(unsigned long start, unsigned long count) const;
    VLUnicodeString& Append(const VLUnicodeString& other);
    VLUnicodeString& operator+=(const VLUnicodeString& other) { return Append(other); }
    VLUnicodeString& operator+=(const wchar_t* text) { return Append(VLUnicodeString(text)); }
    VLUnicodeString operator+(const VLUnicodeString& other) const;
    VLUnicodeString operator+(const wchar_t* text) const { return *this + VLUnicodeString(text); }
    VLUnicodeString Replace(const VLUnicodeString& what, const VLUnicodeString& with) const;
    VLUnicodeString ToUpper() const;
    VLUnicodeString ToLower() const;

    /// The narrow form of the text up to its first zero character, in the locale that the program has set.
    /// Empty when that locale cannot convert all of the text. At most four bytes for each character. In a
    /// locale of one byte a character, as in a program that has set none, a character up to 255 is the byte
    /// of that value, and no other can be converted.
    VLString ToUTF8() const;
    /// As ToUTF8, but of at most Size() bytes, whole characters only. Intended: text with characters of
    /// several bytes comes out cut.
    VLString GetMultibyteString() const;
    /// Replaces the text by the wide form (see VLString::GetUnicode) of the first `length` characters of
    /// `text` (`maxLen`: up to the terminator). They may be more bytes than `length`: `text` holds that many
    /// characters, or a terminator. A null `text` gives "", and so does a length, or a number of characters
    /// converted, that is not positive as a 32-bit signed number.
    VLUnicodeString& FromUTF8(const char* text, unsigned long length);
    /// Text of 16-bit units is not supported on these platforms: does nothing, and gives nothing.
    void FromUTF16(void* text, bool bigEndian, unsigned long length);
    VLString ToUTF16(bool bigEndian) const;

    /// Replaces the text by wprintf-formatted output, of which the first 510 characters are kept. The
    /// platform's rules for wide formats hold: %ls takes wide text, %s narrow text.
    VLUnicodeString& FromFormat(VLUnicodeString format, ...);
    VLUnicodeString& FromInt(int value);
    VLUnicodeString& FromDword(unsigned int value);
    /// With six decimals, of which the first 29 characters are kept.
    VLUnicodeString& FromDouble(double value);

    int GetLong(int defaultValue) const;
    unsigned int GetULong(unsigned int defaultValue) const;
    double GetDouble(double defaultValue) const;

private:
    unsigned long size = 0;
    wchar_t* data = nullptr;
};

/// A standard vector that can remove an element by its index.
template <class T>
struct Vector : std::vector<T> {
    using std::vector<T>::vector;

    /// Removes the element at `index`; does nothing past the end.
    void remove(unsigned long index) {
        if (index < this->size()) {
            this->erase(this->begin() + static_cast<std::ptrdiff_t>(index));
        }
    }
};

namespace StringLibrary {

/// The pieces of `text` between the delimiters, without the empty ones when `skipEmpty` is set. Intended: the
/// last piece counts only when it is at least as long as the delimiter. An empty delimiter splits nothing.
template <class String>
Vector<String> Split(String text, std::common_type_t<String> delimiter, bool skipEmpty) {
    Vector<String> pieces;
    const auto add = [&](String piece) {
        if (!skipEmpty || piece.IsSet()) {
            pieces.push_back(std::move(piece));
        }
    };

    unsigned long from = 0;
    for (auto found = delimiter.IsSet() ? text.IndexOf(delimiter, 0) : String::maxLen; text.HasOf(found);
         found = text.IndexOf(delimiter, from)) {
        add(text.Substr(from, found - from));
        from = found + delimiter.Size();
    }
    if (text.IsSet() && delimiter.Size() <= text.Size() && text.Size() - delimiter.Size() >= from) {
        add(text.Substr(from, String::maxLen));
    }
    return pieces;
}

} // namespace StringLibrary
