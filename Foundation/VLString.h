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

/// Text of 8-bit characters with value semantics. The platform gets and gives UTF-8. A text may contain zero
/// bytes. Comparisons and searches stop after a zero byte in both texts, like the C functions.
///
/// No operation throws. If no memory is available, a new text is empty, and a text to be extended stays as it
/// was.
class VLString {
public:
    /// As an argument: the whole text, or to the end. As the result of a search: nothing found.
    static constexpr unsigned long maxLen = ~0UL;

    VLString() = default;
    VLString(std::nullptr_t, unsigned long = maxLen) {}
    /// Copies `length` bytes of `text` (`maxLen`: up to the terminator). A null `text` gives "".
    VLString(const char* text, unsigned long length = maxLen);
    /// Converts `length` characters of `text` (`maxLen`: up to the terminator), see VLUnicodeString::ToUTF8.
    VLString(const wchar_t* text, unsigned long length);
    VLString(const VLString& other);
    VLString(VLString&& other) noexcept;
    virtual ~VLString();

    VLString& operator=(const VLString& other);
    VLString& operator=(VLString&& other) noexcept;

    /// Replaces the text with `length` bytes of `text`. A null `text` or a zero `length` empties it.
    void init(const char* text, unsigned long length);
    void Clear();

    /// The number of bytes without the terminator.
    unsigned long Size() const { return size; }
    /// The zero-terminated bytes, owned by the string. Null if it is empty.
    char* Data() { return data; }
    const char* Data() const { return data; }
    /// Like Data(), but "" in place of null.
    const char* ConstData() const { return size == 0 ? "" : data; }
    bool IsEmpty() const { return size == 0; }
    bool IsSet() const { return size != 0; }
    /// Whether `index` is inside the text. For the result of a search: whether it found something.
    bool HasOf(unsigned long index) const { return index < size; }
    /// The byte at `index`. 0 past the end.
    char operator[](unsigned long index) const { return HasOf(index) ? data[index] : '\0'; }

    bool Equals(const VLString& other) const;
    bool EqualsIgnoreCase(const VLString& other) const;
    bool operator==(const VLString& other) const { return Equals(other); }
    bool operator!=(const VLString& other) const { return !Equals(other); }
    /// Longest first: a longer text comes before a shorter one. Texts of equal length are compared byte by
    /// byte. Intended: every walk over a map of names, and every file written from it, has this order.
    bool operator<(const VLString& other) const;
    /// False for an empty `suffix`.
    bool EndsWith(const VLString& suffix) const;

    /// The first position of `needle` at or after `start`, or `maxLen`. An empty `needle` is found at `start`
    /// if that is inside the text.
    unsigned long IndexOf(const VLString& needle, unsigned long start) const;
    unsigned long IndexOfIgnoreCase(const VLString& needle, unsigned long start) const;
    /// The last position of `needle`, or `maxLen`. An empty `needle` is found at Size().
    unsigned long IndexLastOf(const VLString& needle) const;
    unsigned long IndexLastOfIgnoreCase(const VLString& needle) const;

    /// At most `count` bytes from `start` (`maxLen`: to the end). "" if `start` is past the end.
    VLString Substr(unsigned long start, unsigned long count) const;
    VLString& Append(const VLString& other);
    VLString& operator+=(const VLString& other) { return Append(other); }
    VLString& operator+=(const char* text) { return Append(VLString(text)); }
    VLString operator+(const VLString& other) const;
    VLString operator+(const char* text) const { return *this + VLString(text); }
    /// A copy in which every `what` is replaced, from left to right. Inserted text is not searched again.
    /// With an empty `what`, the copy is unchanged.
    VLString Replace(const VLString& what, const VLString& with) const;
    VLString ToUpper() const;
    VLString ToLower() const;

    /// A copy, because the text is already UTF-8.
    VLString ToUTF8() const { return *this; }
    /// The text up to its first zero byte as wide characters, converted with the locale of the program. Empty
    /// if that locale cannot convert the whole text. If a character of the locale is one byte (also if the
    /// program has set no locale), each byte becomes one wide character. VLUnicodeString::ToUTF8 then gives
    /// the same text again, on every platform.
    VLUnicodeString GetUnicode() const;

    /// A new platform string with the text up to its first zero byte. The caller releases it. Null if the
    /// text is not UTF-8.
    CFStringRef CreateCFString() const;
    /// Replaces the text with that of `cfString`, which may be null. Intended: there is one byte for each
    /// UTF-16 unit, so a text with characters outside ASCII gives "".
    VLString& FromCFString(CFStringRef cfString);

    /// Replaces the text with printf-formatted output, cut after 510 bytes.
    VLString& FromFormat(VLString format, ...);
    VLString& FromInt(int value);
    VLString& FromDword(unsigned int value);
    /// Six decimals.
    VLString& FromDouble(double value);
    /// 36 characters: lower-case hexadecimal digits in groups of 8, 4, 4, 4 and 12, without braces.
    VLString& FromGUID(const _GUID& guid);

    /// The number at the beginning of the text, after white space. `defaultValue` if there is none.
    int GetLong(int defaultValue) const;
    /// Like GetLong. A negative number wraps around.
    unsigned int GetULong(unsigned int defaultValue) const;
    double GetDouble(double defaultValue) const;
    /// Reads the format of FromGUID. On failure, returns zeros and sets `*ok` to false. `ok` may be null.
    _GUID GetGUID(bool* ok) const;

private:
    unsigned long size = 0;
    char* data = nullptr;
};

/// Text of wide characters. Operations are those of VLString. One difference: comparisons and searches that
/// ignore case treat a zero character like any other.
class VLUnicodeString {
public:
    static constexpr unsigned long maxLen = VLString::maxLen;

    VLUnicodeString() = default;
    VLUnicodeString(std::nullptr_t, unsigned long = maxLen) {}
    VLUnicodeString(const wchar_t* text, unsigned long length = maxLen);
    /// Converts the text, see VLString::GetUnicode.
    VLUnicodeString(const char* text, unsigned long length = maxLen);
    VLUnicodeString(const VLUnicodeString& other);
    VLUnicodeString(VLUnicodeString&& other) noexcept;
    virtual ~VLUnicodeString();

    VLUnicodeString& operator=(const VLUnicodeString& other);
    VLUnicodeString& operator=(VLUnicodeString&& other) noexcept;

    void init(const wchar_t* text, unsigned long length);
    void Clear();

    /// The number of characters without the terminator.
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

    /// The text up to its first zero character as bytes, converted with the locale of the program. Empty if
    /// that locale cannot convert the whole text. At most four bytes for each character. If a character of
    /// the locale is one byte (also if the program has set no locale), a character up to 255 becomes the byte
    /// with that value, and other characters cannot be converted.
    VLString ToUTF8() const;
    /// Like ToUTF8, but at most Size() bytes, and only complete characters. Intended: a text with characters
    /// of several bytes is cut.
    VLString GetMultibyteString() const;
    /// Replaces the text with the first `length` characters of `text` (`maxLen`: up to the terminator),
    /// converted as in VLString::GetUnicode. `text` must contain that many characters or a terminator;
    /// `length` characters can be more than `length` bytes. The result is "" if `text` is null, or if
    /// `length` or the number of converted characters is not positive as a 32-bit signed number.
    VLUnicodeString& FromUTF8(const char* text, unsigned long length);
    /// Does nothing. Text of 16-bit units is not supported on these platforms.
    void FromUTF16(void* text, bool bigEndian, unsigned long length);
    VLString ToUTF16(bool bigEndian) const;

    /// Replaces the text with wprintf-formatted output, cut after 510 characters. %ls is for wide text, %s
    /// for narrow text.
    VLUnicodeString& FromFormat(VLUnicodeString format, ...);
    VLUnicodeString& FromInt(int value);
    VLUnicodeString& FromDword(unsigned int value);
    /// Six decimals, cut after 29 characters.
    VLUnicodeString& FromDouble(double value);

    int GetLong(int defaultValue) const;
    unsigned int GetULong(unsigned int defaultValue) const;
    double GetDouble(double defaultValue) const;

private:
    unsigned long size = 0;
    wchar_t* data = nullptr;
};

/// A std::vector that can remove an element by its index.
template <class T>
struct Vector : std::vector<T> {
    using std::vector<T>::vector;

    /// Removes the element at `index`. Does nothing past the end.
    void remove(unsigned long index) {
        if (index < this->size()) {
            this->erase(this->begin() + static_cast<std::ptrdiff_t>(index));
        }
    }
};

namespace StringLibrary {

/// The pieces of `text` between the delimiters. If `skipEmpty` is set, empty pieces are left out. Intended: a
/// last piece that is shorter than the delimiter is left out. An empty delimiter gives the whole text.
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
