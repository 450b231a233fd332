#include "Platform/Utf8.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

using namespace std::string_view_literals;

namespace {

/// One character each: the first and the last of each length, and those next to the surrogates.
constexpr std::string_view characters[] = {
    "\0"sv,         "\x7F",         "\xC2\x80",     "\xDF\xBF",         "\xE0\xA0\x80",
    "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"};

/// None of these begins with a character.
constexpr std::string_view noCharacters[] = {
    "\x80",
    "\xBF",
    "\xFF", // never the first byte
    "\xC3",
    "\xE4\xB8",
    "\xF0\x9F\x98", // cut
    "\xC3(",
    "\xE4(\xAD",
    "\xE4\xB8(", // not continued
    "\xC0\x80",
    "\xC1\xBF",
    "\xE0\x9F\xBF",     // overlong
    "\xF0\x8F\xBF\xBF", //
    "\xED\xA0\x80",
    "\xED\xBF\xBF", // surrogates
    "\xF4\x90\x80\x80",
    "\xF5\x80\x80\x80",
    "\xF8\x88\x80\x80\x80", // above U+10FFFF
};

} // namespace

TEST(Utf8, KnowsTheLengthOfEachCharacter) {
    for (const std::string_view character : characters) {
        const std::string text = "a" + std::string(character) + "b";
        EXPECT_EQ(utf8Length(text, 1), character.size()) << testing::PrintToString(text);
        EXPECT_TRUE(isUtf8(text)) << testing::PrintToString(text);
        EXPECT_EQ(lengthOfUtf8(text), text.size()) << testing::PrintToString(text);
        EXPECT_EQ(utf16Length(text), character.size() == 4 ? 4U : 3U) << testing::PrintToString(text);
    }
}

TEST(Utf8, StopsAtWhatIsNone) {
    for (const std::string_view bytes : noCharacters) {
        for (const char* end : {"", "a", "\xC3\xA9"}) {
            const std::string text = "\xC3\xA9" + std::string(bytes) + end;
            EXPECT_EQ(utf8Length(text, 2), 0U) << testing::PrintToString(text);
            EXPECT_FALSE(isUtf8(text)) << testing::PrintToString(text);
            EXPECT_EQ(lengthOfUtf8(text), 2U) << testing::PrintToString(text);
            EXPECT_EQ(utf16Length(text), std::nullopt) << testing::PrintToString(text);
        }
    }
}

TEST(Utf8, EmptyTextIsUtf8) {
    EXPECT_TRUE(isUtf8(""));
    EXPECT_EQ(lengthOfUtf8(""), 0U);
    EXPECT_EQ(utf16Length(""), 0U);
}
