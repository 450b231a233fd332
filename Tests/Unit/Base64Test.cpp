#include "Foundation/Base64.h"

#include <climits>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

constexpr char guard = '~';

std::string encoded(const std::string& bytes, int lineLength = 64) {
    unsigned long size = bytes.size() * 8 + 8;
    std::string text(size, guard);
    EXPECT_TRUE(Base64EncodeData(bytes.data(), bytes.size(), text.data(), &size, lineLength));
    EXPECT_EQ(text.find_first_not_of(guard, size), std::string::npos) << "wrote behind its end";
    return text.substr(0, size);
}

std::string decoded(const std::string& text) {
    unsigned long size = Base64EstimateDecodedDataSize(text.size());
    std::string bytes(size, guard);
    EXPECT_TRUE(Base64DecodeData(text.data(), text.size(), bytes.data(), &size));
    return bytes.substr(0, size);
}

std::string randomBytes(unsigned long size) {
    std::mt19937 random(static_cast<unsigned int>(size)); // NOLINT(cert-msc32-c,cert-msc51-cpp): repeatable
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

} // namespace

TEST(Base64, EncodesWithTheStandardAlphabetAndPadding) {
    EXPECT_EQ(encoded("f"), "Zg==\r\n");
    EXPECT_EQ(encoded("fo"), "Zm8=\r\n");
    EXPECT_EQ(encoded("foo"), "Zm9v\r\n");
    EXPECT_EQ(encoded("foob"), "Zm9vYg==\r\n");
    EXPECT_EQ(encoded("fooba"), "Zm9vYmE=\r\n");
    EXPECT_EQ(encoded("foobar"), "Zm9vYmFy\r\n");
    EXPECT_EQ(encoded("Man"), "TWFu\r\n");
    EXPECT_EQ(encoded(std::string("\0\0", 2)), "AAA=\r\n");
    EXPECT_EQ(encoded("\xff\xff\xff\xfb\xf0"), "////+/A=\r\n");
}

TEST(Base64, EveryCharacterOfTheAlphabetHasItsPlace) {
    std::string bytes;
    for (int i = 0; i < 64; i += 4) {
        const int bits = i << 18 | (i + 1) << 12 | (i + 2) << 6 | (i + 3);
        bytes += {static_cast<char>(bits >> 16), static_cast<char>(bits >> 8), static_cast<char>(bits)};
    }
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    EXPECT_EQ(encoded(bytes), alphabet + "\r\n");
    EXPECT_EQ(decoded(alphabet), bytes);
}

TEST(Base64, NothingIsEncodedToNothing) {
    unsigned long size = 0;
    EXPECT_TRUE(Base64EncodeData(nullptr, 0, nullptr, &size, 64));
    EXPECT_EQ(size, 0UL);
    EXPECT_EQ(encoded(""), "");
}

TEST(Base64, EveryLineEndsWithItsOwnLineBreak) {
    EXPECT_EQ(encoded(std::string(48, '\0')), std::string(64, 'A') + "\r\n");
    EXPECT_EQ(encoded(std::string(49, '\0')), std::string(64, 'A') + "\r\nAA==\r\n");
    EXPECT_EQ(encoded(std::string(49, '\0')).size(), 72UL);
    EXPECT_EQ(encoded(std::string(96, '\0')), std::string(64, 'A') + "\r\n" + std::string(64, 'A') + "\r\n");
}

TEST(Base64, LineLengthIsRoundedDownToWholeGroups) {
    const std::string bytes(6, '\0');
    EXPECT_EQ(encoded(bytes, 4), "AAAA\r\nAAAA\r\n");
    EXPECT_EQ(encoded(bytes, 6), "AAAA\r\nAAAA\r\n");
    EXPECT_EQ(encoded(bytes, 7), "AAAA\r\nAAAA\r\n");
    EXPECT_EQ(encoded(bytes, 8), "AAAAAAAA\r\n");
    EXPECT_EQ(encoded(bytes, INT_MAX), "AAAAAAAA\r\n");
}

TEST(Base64, LineLengthBelowFourIsSixtyFour) {
    const std::string bytes(49, '\0');
    for (const int length : {3, 1, 0, -1, INT_MIN}) {
        EXPECT_EQ(encoded(bytes, length), encoded(bytes, 64)) << length;
    }
}

TEST(Base64, EncodingFailsWithOneByteTooFewAndWritesNothingBehindTheRoom) {
    for (const unsigned long sourceSize : {1UL, 3UL, 48UL, 49UL, 100UL}) {
        const std::string bytes = randomBytes(sourceSize);
        const std::string whole = encoded(bytes);
        for (unsigned long room = 0; room < whole.size(); ++room) {
            std::string text(whole.size(), guard);
            unsigned long size = room;
            EXPECT_FALSE(Base64EncodeData(bytes.data(), sourceSize, text.data(), &size, 64)) << room;
            EXPECT_EQ(size, 0UL);
            EXPECT_EQ(text.substr(room), std::string(whole.size() - room, guard)) << room;
        }
        std::string text(whole.size(), guard);
        unsigned long size = whole.size();
        EXPECT_TRUE(Base64EncodeData(bytes.data(), sourceSize, text.data(), &size, 64));
        EXPECT_EQ(text, whole);
    }
}

TEST(Base64, EncodingThatFailsLeavesWhatFitted) {
    std::string text(7, guard);
    unsigned long size = 3;
    EXPECT_FALSE(Base64EncodeData("Man", 3, text.data(), &size, 64));
    EXPECT_EQ(text, "TWF~~~~");

    // A line break is written whole or not at all.
    size = 5;
    EXPECT_FALSE(Base64EncodeData("Man", 3, text.data(), &size, 64));
    EXPECT_EQ(text, "TWFu~~~");
}

TEST(Base64, EstimateIsTheRoomThatEncodingNeeds) {
    for (unsigned long sourceSize = 0; sourceSize < 200; ++sourceSize) {
        const std::string bytes = randomBytes(sourceSize);
        for (const int lineLength : {4, 8, 64, 76}) {
            EXPECT_EQ(Base64EstimateEncodedDataSize(sourceSize, lineLength),
                      encoded(bytes, lineLength).size())
                << sourceSize << " bytes in lines of " << lineLength;
        }
    }
}

TEST(Base64, EncodedEstimateCountsALineBreakForEachLineLength) {
    EXPECT_EQ(Base64EstimateEncodedDataSize(0, 64), 0UL);
    EXPECT_EQ(Base64EstimateEncodedDataSize(1, 64), 6UL);
    EXPECT_EQ(Base64EstimateEncodedDataSize(49, 64), 72UL);
    EXPECT_EQ(Base64EstimateEncodedDataSize(6, 6), 12UL);
    EXPECT_EQ(Base64EstimateEncodedDataSize(9, 6), 16UL);
    EXPECT_EQ(Base64EstimateEncodedDataSize(3, 1), 12UL);
    EXPECT_EQ(Base64EstimateEncodedDataSize(3, INT_MAX), 6UL);
}

TEST(Base64, LineLengthThatIsNotPositiveDividesNothing) {
    EXPECT_EQ(Base64EstimateEncodedDataSize(49, 0), 72UL);
    EXPECT_EQ(Base64EstimateEncodedDataSize(49, -1), 72UL);
    EXPECT_EQ(Base64EstimateEncodedDataSize(49, INT_MIN), 72UL);
}

TEST(Base64, EstimatesOfHugeSizesDoNotWrapAround) {
    EXPECT_EQ(Base64EstimateEncodedDataSize(ULONG_MAX, 64), ULONG_MAX);
    EXPECT_EQ(Base64EstimateEncodedDataSize(ULONG_MAX / 4 * 3, 64), ULONG_MAX);
    EXPECT_EQ(Base64EstimateEncodedDataSize(ULONG_MAX / 4, 1), ULONG_MAX - 3); // the largest that fits
    EXPECT_EQ(Base64EstimateEncodedDataSize(ULONG_MAX / 2, 1), ULONG_MAX);
    EXPECT_EQ(Base64EstimateDecodedDataSize(ULONG_MAX), 3 * (ULONG_MAX / 4 + 1));
}

TEST(Base64, DecodedEstimateIsThreeBytesForEachGroupBegun) {
    EXPECT_EQ(Base64EstimateDecodedDataSize(0), 0UL);
    EXPECT_EQ(Base64EstimateDecodedDataSize(1), 3UL);
    EXPECT_EQ(Base64EstimateDecodedDataSize(4), 3UL);
    EXPECT_EQ(Base64EstimateDecodedDataSize(5), 6UL);
    EXPECT_EQ(Base64EstimateDecodedDataSize(66), 51UL);
}

TEST(Base64, DecodesWhatWasEncoded) {
    for (unsigned long size = 0; size < 300; ++size) {
        const std::string bytes = randomBytes(size);
        EXPECT_EQ(decoded(encoded(bytes)), bytes);
    }
}

TEST(Base64, DecodesMegabytesInOneWalk) {
    const std::string bytes = randomBytes(8UL << 20);
    EXPECT_TRUE(decoded(encoded(bytes)) == bytes);
}

TEST(Base64, DecodingSkipsAllThatIsNotInTheAlphabet) {
    EXPECT_EQ(decoded("TW\r\nFu"), "Man");
    EXPECT_EQ(decoded(" T=W\tF-_\xff\x80u."), "Man");
    EXPECT_EQ(decoded(std::string("T\0WFu", 5)), "Man");
    EXPECT_EQ(decoded("=TWFu"), "Man");
    EXPECT_EQ(decoded("TWE=TWFu"), std::string("Ma\x13\x58\x5b", 5)); // "=" does not end a group
    EXPECT_EQ(decoded("\r\n"), "");
}

TEST(Base64, OfACutGroupTheWholeBytesAreDecoded) {
    EXPECT_EQ(decoded("TWFuT"), "Man");
    EXPECT_EQ(decoded("TWFuTQ"), "ManM");
    EXPECT_EQ(decoded("TWFuTWE"), "ManMa");
    EXPECT_EQ(decoded("T"), "");
}

TEST(Base64, RoomThatDecodingDoesNotFillHoldsDots) {
    std::string bytes(6, guard);
    unsigned long size = 5;
    EXPECT_TRUE(Base64DecodeData("TWFu", 4, bytes.data(), &size));
    EXPECT_EQ(size, 3UL);
    EXPECT_EQ(bytes, "Man..~");
}

TEST(Base64, DecodingFailsWhenBytesDoNotFit) {
    std::string bytes(4, guard);
    unsigned long size = 2;
    EXPECT_FALSE(Base64DecodeData("TWFuTWFu", 8, bytes.data(), &size));
    EXPECT_EQ(size, 0UL);
    EXPECT_EQ(bytes, "Ma~~");

    size = 0;
    EXPECT_FALSE(Base64DecodeData("TWFu", 4, nullptr, &size));
    EXPECT_EQ(size, 0UL);
}

TEST(Base64, NothingIsDecodedFromNothing) {
    unsigned long size = 0;
    EXPECT_TRUE(Base64DecodeData(nullptr, 0, nullptr, &size));
    EXPECT_EQ(size, 0UL);

    std::string bytes(3, guard);
    size = 2;
    EXPECT_TRUE(Base64DecodeData("T", 1, bytes.data(), &size));
    EXPECT_EQ(size, 0UL);
    EXPECT_EQ(bytes, "..~");
}
