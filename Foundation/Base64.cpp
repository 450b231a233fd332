#include "Foundation/Base64.h"

#include <climits>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr int standardLineLength = 64;
constexpr unsigned long groupBytes = 3;
constexpr unsigned long groupCharacters = 4;
constexpr unsigned int characterBits = 6;

/// The position of each byte in the alphabet, or -1.
constexpr std::array<signed char, UCHAR_MAX + 1> makeValues() {
    std::array<signed char, UCHAR_MAX + 1> values{};
    for (signed char& value : values) {
        value = -1;
    }
    for (std::size_t i = 0; i < alphabet.size(); ++i) {
        values[static_cast<unsigned char>(alphabet[i])] = static_cast<signed char>(i);
    }
    return values;
}
constexpr auto values = makeValues();

/// A block that is filled from its beginning.
template <class Byte>
class Target {
public:
    Target(Byte* block, unsigned long blockSize) : data(block), capacity(blockSize) {}

    unsigned long written() const { return size; }
    bool hasRoom(unsigned long count) const { return capacity - size >= count; }
    /// False when there is no room.
    bool put(Byte byte) {
        if (!hasRoom(1)) {
            return false;
        }
        data[size++] = byte;
        return true;
    }

private:
    Byte* data;
    unsigned long capacity;
    unsigned long size = 0;
};

/// Writes the four characters of the first `count` bytes. `count` is 1 to 3.
bool putGroup(Target<char>& target, const unsigned char* bytes, unsigned long count) {
    unsigned int bits = 0;
    for (unsigned long i = 0; i < groupBytes; ++i) {
        bits = bits << CHAR_BIT | (i < count ? bytes[i] : 0U);
    }
    for (unsigned long i = 0; i < groupCharacters; ++i) {
        const auto shift = static_cast<unsigned int>(groupCharacters - 1 - i) * characterBits;
        if (!target.put(i <= count ? alphabet[bits >> shift & (alphabet.size() - 1)] : '=')) {
            return false;
        }
    }
    return true;
}

bool putLineEnd(Target<char>& target) {
    return target.hasRoom(2) && target.put('\r') && target.put('\n');
}

bool encode(const unsigned char* bytes, unsigned long size, Target<char>& target,
            unsigned long groupsPerLine) {
    unsigned long groupsInLine = 0;
    while (size > 0) {
        const unsigned long count = std::min(size, groupBytes);
        if (!putGroup(target, bytes, count)) {
            return false;
        }
        bytes += count;
        size -= count;
        if ((++groupsInLine == groupsPerLine || size == 0) && !putLineEnd(target)) {
            return false;
        }
        groupsInLine %= groupsPerLine;
    }
    return true;
}

bool decode(const unsigned char* characters, unsigned long size, Target<unsigned char>& target) {
    unsigned int bits = 0;
    unsigned int bitCount = 0;
    for (unsigned long i = 0; i < size; ++i) {
        const signed char value = values[characters[i]];
        if (value < 0) {
            continue;
        }
        bits = bits << characterBits | static_cast<unsigned char>(value);
        bitCount += characterBits;
        if (bitCount >= CHAR_BIT) {
            bitCount -= CHAR_BIT;
            if (!target.put(static_cast<unsigned char>(bits >> bitCount))) {
                return false;
            }
        }
    }
    return true;
}

unsigned long ceilingOfQuotient(unsigned long dividend, unsigned long divisor) {
    return dividend / divisor + (dividend % divisor != 0 ? 1 : 0);
}

} // namespace

bool Base64EncodeData(const void* source, unsigned long sourceSize, char* target, unsigned long* targetSize,
                      int lineLength) {
    const int shortestLine = static_cast<int>(groupCharacters);
    const int usedLength = lineLength < shortestLine ? standardLineLength : lineLength;
    Target<char> output(target, *targetSize);
    const bool bComplete = encode(static_cast<const unsigned char*>(source), sourceSize, output,
                                  static_cast<unsigned long>(usedLength / shortestLine));
    *targetSize = bComplete ? output.written() : 0;
    return bComplete;
}

bool Base64DecodeData(const void* source, unsigned long sourceSize, void* target, unsigned long* targetSize) {
    if (*targetSize > 0) {
        std::memset(target, '.', *targetSize);
    }
    Target<unsigned char> output(static_cast<unsigned char*>(target), *targetSize);
    const bool bComplete = decode(static_cast<const unsigned char*>(source), sourceSize, output);
    *targetSize = bComplete ? output.written() : 0;
    return bComplete;
}

unsigned long Base64EstimateEncodedDataSize(unsigned long sourceSize, int lineLength) {
    const unsigned long groups = ceilingOfQuotient(sourceSize, groupBytes);
    if (groups > ULONG_MAX / groupCharacters) {
        return ULONG_MAX;
    }
    const unsigned long characters = groups * groupCharacters;
    const int usedLength = lineLength < 1 ? standardLineLength : lineLength; // avoids a division by zero
    const unsigned long lines = ceilingOfQuotient(characters, static_cast<unsigned long>(usedLength));
    return lines > (ULONG_MAX - characters) / 2 ? ULONG_MAX : characters + 2 * lines;
}

unsigned long Base64EstimateDecodedDataSize(unsigned long sourceSize) {
    return groupBytes * ceilingOfQuotient(sourceSize, groupCharacters);
}
