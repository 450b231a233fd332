// What differs from VLString; what both have in common is in VLStringTest.cpp.
#include "Foundation/VLString.h"
#include "Tests/Support/Texts.h"
#include "Tests/Support/UTF8Locale.h"
#include "Tests/Support/VLStringPrinter.h"

#include <gtest/gtest.h>

#include <ios>
#include <string>
#include <vector>

using namespace std::string_literals;

namespace {

std::wstring wideText(const VLUnicodeString& string) {
    return {string.ConstData(), string.Size()};
}

using VLUnicodeStringInUTF8Locale = UTF8Locale;

} // namespace

TEST(VLUnicodeString, WidensNarrowText) {
    EXPECT_EQ(VLUnicodeString("abc"), VLUnicodeString(L"abc"));
    EXPECT_EQ(VLUnicodeString("abc", 2), VLUnicodeString(L"ab"));
    EXPECT_EQ(wideText(VLUnicodeString("\xc3\xa9")), L"\u00c3\u00a9");
    EXPECT_EQ(VLUnicodeString("a\0b", 3), VLUnicodeString(L"a"));
    const char* null = nullptr;
    EXPECT_TRUE(VLUnicodeString(null).IsEmpty());
    EXPECT_TRUE(VLUnicodeString(null, 3).IsEmpty());
}

TEST(VLUnicodeString, HoldsAnyCharacter) {
    const VLUnicodeString string(L"\u4e2d\U0001f600", 2);
    EXPECT_EQ(string.Size(), 2UL);
    EXPECT_EQ(string[1], L'\U0001f600');
}

TEST(VLUnicodeString, IgnoresCaseBehindAZeroCharacterToo) {
    const VLUnicodeString string(L"xA\0C", 4);
    EXPECT_TRUE(VLUnicodeString(L"A\0C", 3).EqualsIgnoreCase(VLUnicodeString(L"a\0c", 3)));
    EXPECT_FALSE(VLUnicodeString(L"A\0C", 3).EqualsIgnoreCase(VLUnicodeString(L"a\0b", 3)));
    EXPECT_EQ(string.IndexOfIgnoreCase(VLUnicodeString(L"a\0c", 3), 0), 1UL);
    EXPECT_EQ(string.IndexOfIgnoreCase(VLUnicodeString(L"a\0b", 3), 0), VLUnicodeString::maxLen);
    EXPECT_EQ(string.IndexLastOfIgnoreCase(VLUnicodeString(L"a\0c", 3)), 1UL);
    EXPECT_EQ(string.IndexLastOfIgnoreCase(VLUnicodeString(L"a\0b", 3)), VLUnicodeString::maxLen);
}

TEST(VLUnicodeString, NarrowsCharacterByCharacter) {
    EXPECT_EQ(bytesOf(VLUnicodeString(L"a\u00ff").ToUTF8()), "a\xff");
    EXPECT_EQ(bytesOf(VLUnicodeString(L"ab\0c", 4).ToUTF8()), "ab");
    EXPECT_TRUE(VLUnicodeString().ToUTF8().IsEmpty());
}

TEST(VLUnicodeString, IsEmptyWhenACharacterCannotBeNarrowed) {
    EXPECT_TRUE(VLUnicodeString(L"ab\u0100").ToUTF8().IsEmpty());
    EXPECT_TRUE(VLUnicodeString(L"\U0001f600").ToUTF8().IsEmpty());
    EXPECT_TRUE(VLUnicodeString(L"ab\u0100").GetMultibyteString().IsEmpty());
    const wchar_t negative[] = {L'a', static_cast<wchar_t>(-1), 0};
    EXPECT_TRUE(VLUnicodeString(negative).ToUTF8().IsEmpty());
    EXPECT_EQ(VLUnicodeString(L"ab\0\u0100", 4).ToUTF8(), VLString("ab"));
}

TEST(VLUnicodeString, GivesMultibyteText) {
    EXPECT_EQ(bytesOf(VLUnicodeString(L"a\u00e9z").GetMultibyteString()), "a\xe9z");
    EXPECT_EQ(VLUnicodeString(L"ab\0c", 4).GetMultibyteString(), VLString("ab"));
    EXPECT_TRUE(VLUnicodeString().GetMultibyteString().IsEmpty());
}

TEST(VLUnicodeString, ReadsUTF8) {
    VLUnicodeString string(L"old");
    EXPECT_EQ(&string.FromUTF8("abc", VLUnicodeString::maxLen), &string);
    EXPECT_EQ(string, VLUnicodeString(L"abc"));
    EXPECT_EQ(string.FromUTF8("abc", 2), VLUnicodeString(L"ab"));
    EXPECT_EQ(string.FromUTF8("\xc3\xa9", VLUnicodeString::maxLen), VLUnicodeString(L"\u00c3\u00a9"));
}

TEST(VLUnicodeString, ReadsUTF8UpToItsTerminatorWhateverTheLength) {
    VLUnicodeString string;
    EXPECT_EQ(string.FromUTF8("ab\0c", 4), VLUnicodeString(L"ab"));
    EXPECT_EQ(string.FromUTF8("abc", 100), VLUnicodeString(L"abc"));
    EXPECT_EQ(string.FromUTF8("abc", 0x7fffffff), VLUnicodeString(L"abc"));
}

TEST(VLUnicodeString, IsEmptyWithoutUTF8ToRead) {
    const auto isEmptyAfter = [](const char* text, unsigned long length) {
        return VLUnicodeString(L"old").FromUTF8(text, length).IsEmpty();
    };
    EXPECT_TRUE(isEmptyAfter(nullptr, VLUnicodeString::maxLen));
    EXPECT_TRUE(isEmptyAfter(nullptr, 3));
    EXPECT_TRUE(isEmptyAfter("", VLUnicodeString::maxLen));
    EXPECT_TRUE(isEmptyAfter("", 1));
    EXPECT_TRUE(isEmptyAfter("abc", 0));
}

TEST(VLUnicodeString, TakesTheLengthOfUTF8AsASigned32BitNumber) {
    VLUnicodeString string(L"old");
    EXPECT_TRUE(string.FromUTF8("abc", 0x80000000UL).IsEmpty());
    EXPECT_TRUE(string.FromUTF8("abc", 0xffffffffUL).IsEmpty());
    EXPECT_TRUE(string.FromUTF8("abc", 1UL << 62U).IsEmpty());
}

TEST_F(VLUnicodeStringInUTF8Locale, HasRoomForFourBytesACharacter) {
    const std::wstring wide(100, L'\U0001f600');
    std::string narrow;
    for (int i = 0; i < 100; ++i) {
        narrow += "\xf0\x9f\x98\x80";
    }
    EXPECT_EQ(bytesOf(VLUnicodeString(wide.c_str()).ToUTF8()), narrow);
    EXPECT_EQ(wideText(VLUnicodeString().FromUTF8(narrow.c_str(), VLUnicodeString::maxLen)), wide);
}

TEST_F(VLUnicodeStringInUTF8Locale, NarrowsUpToAZeroCharacter) {
    EXPECT_EQ(bytesOf(VLUnicodeString(L"\u00e9\0\u00e9", 3).ToUTF8()), "\xc3\xa9");
    EXPECT_TRUE(VLUnicodeString(L"\0\u00e9", 2).ToUTF8().IsEmpty());
    EXPECT_TRUE(VLUnicodeString().ToUTF8().IsEmpty());
    EXPECT_TRUE(VLUnicodeString().GetMultibyteString().IsEmpty());
}

TEST_F(VLUnicodeStringInUTF8Locale, CutsMultibyteTextAtItsNumberOfCharacters) {
    const auto multibyte = [](const VLUnicodeString& text) { return bytesOf(text.GetMultibyteString()); };
    EXPECT_EQ(multibyte(L"abc"), "abc");
    EXPECT_EQ(multibyte(L"\u00e9\u00e9"), "\xc3\xa9");
    EXPECT_EQ(multibyte(L"a\u00e9\u00e9"), "a\xc3\xa9");
    EXPECT_EQ(multibyte(L"\u00e9"), "");
    EXPECT_EQ(multibyte(L"\u00e9\u4e2d\u4e2d"), "\xc3\xa9");
    EXPECT_EQ(multibyte(L"a\U0001f600bc"), "a");
    // What lies behind a zero character counts too.
    EXPECT_EQ(multibyte(VLUnicodeString(L"\u00e9\0a", 3)), "\xc3\xa9");
}

TEST_F(VLUnicodeStringInUTF8Locale, IsEmptyWhenTheLocaleRefusesACharacter) {
    for (const unsigned int refused : {0xd800U, 0xdfffU, 0x80000000U, 0xffffffffU}) {
        const wchar_t text[] = {L'a', static_cast<wchar_t>(refused), L'b', 0};
        EXPECT_EQ(bytesOf(VLUnicodeString(text).ToUTF8()), "") << std::hex << refused;
        EXPECT_EQ(VLUnicodeString(text).ToUTF8().Data(), nullptr);
        EXPECT_EQ(bytesOf(VLUnicodeString(text).GetMultibyteString()), "") << std::hex << refused;
    }
}

TEST_F(VLUnicodeStringInUTF8Locale, ReadsAsManyCharactersOfUTF8AsAskedFor) {
    const char* text = "\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80";
    VLUnicodeString string(L"old");
    EXPECT_EQ(&string.FromUTF8(text, VLUnicodeString::maxLen), &string);
    EXPECT_EQ(string, VLUnicodeString(L"\u00e9\u4e2d\U0001f600"));
    EXPECT_EQ(string.FromUTF8(text, 1), VLUnicodeString(L"\u00e9"));
    EXPECT_EQ(string.FromUTF8(text, 2), VLUnicodeString(L"\u00e9\u4e2d"));
    EXPECT_EQ(string.FromUTF8(text, 3), VLUnicodeString(L"\u00e9\u4e2d\U0001f600"));
    EXPECT_EQ(string.FromUTF8(text, 4), VLUnicodeString(L"\u00e9\u4e2d\U0001f600"));
    EXPECT_EQ(string.FromUTF8(text, 0x7fffffff), VLUnicodeString(L"\u00e9\u4e2d\U0001f600"));
    EXPECT_EQ(string.FromUTF8("\xc3\xa9\0\xff", 4), VLUnicodeString(L"\u00e9"));
    EXPECT_TRUE(string.FromUTF8(text, 0).IsEmpty());
    EXPECT_TRUE(string.FromUTF8(text, 0x80000000UL).IsEmpty());
    EXPECT_TRUE(string.FromUTF8("", VLUnicodeString::maxLen).IsEmpty());
    EXPECT_TRUE(string.FromUTF8(nullptr, 2).IsEmpty());
}

TEST_F(VLUnicodeStringInUTF8Locale, LooksNoFurtherThanTheCharactersAskedFor) {
    EXPECT_EQ(VLUnicodeString().FromUTF8("ab\xff", 2), VLUnicodeString(L"ab"));
    EXPECT_EQ(VLUnicodeString().FromUTF8("\xc3\xa9\xc3\xa9\xff", 2), VLUnicodeString(L"\u00e9\u00e9"));
    const std::vector<char> unterminated{'a', '\xc3', '\xa9'};
    EXPECT_EQ(VLUnicodeString().FromUTF8(unterminated.data(), 2), VLUnicodeString(L"a\u00e9"));
}

TEST_F(VLUnicodeStringInUTF8Locale, IsEmptyAfterUTF8ThatTheLocaleRefuses) {
    for (const char* text : {"\xff", "a\xff", "\xc3", "\xed\xa0\x80"}) {
        VLUnicodeString string(L"old");
        EXPECT_EQ(string.FromUTF8(text, VLUnicodeString::maxLen), VLUnicodeString())
            << testing::PrintToString(text);
        EXPECT_EQ(string.Data(), nullptr);
    }
}

TEST(VLUnicodeString, KnowsNoUTF16) {
    VLUnicodeString string(L"old");
    char16_t text[] = u"new";
    string.FromUTF16(text, false, 3);
    string.FromUTF16(nullptr, true, 0);
    EXPECT_EQ(string, VLUnicodeString(L"old"));
    EXPECT_TRUE(string.ToUTF16(false).IsEmpty());
    EXPECT_TRUE(string.ToUTF16(true).IsEmpty());
}

TEST(VLUnicodeString, Formats) {
    VLUnicodeString string(L"old");
    EXPECT_EQ(&string.FromFormat(L"%ls-%s-%d%%", L"a", "b", 7), &string);
    EXPECT_EQ(string, VLUnicodeString(L"a-b-7%"));
    EXPECT_TRUE(string.FromFormat(L"").IsEmpty());
    EXPECT_EQ(string.Data(), nullptr);
    string = L"old";
    EXPECT_TRUE(string.FromFormat(VLUnicodeString()).IsEmpty());
}

TEST(VLUnicodeString, KeepsTheFirst510FormattedCharacters) {
    for (const unsigned long length : {509UL, 510UL, 511UL, 512UL, 600UL, 100000UL}) {
        const std::wstring text(length, L'x');
        VLUnicodeString string;
        string.FromFormat(L"%ls", text.c_str());
        EXPECT_EQ(wideText(string), text.substr(0, 510)) << length;
    }
}

TEST(VLUnicodeString, FormatsItsOwnText) {
    VLUnicodeString string(L"a");
    string.FromFormat(L"%ls/%ls", string.ConstData(), L"b");
    EXPECT_EQ(string, VLUnicodeString(L"a/b"));
}

TEST(VLUnicodeString, KeepsTheFirst29CharactersOfAFraction) {
    EXPECT_EQ(VLUnicodeString().FromDouble(1e21), VLUnicodeString(L"1000000000000000000000.000000"));
    EXPECT_EQ(VLUnicodeString().FromDouble(1e22), VLUnicodeString(L"10000000000000000000000.00000"));
    EXPECT_EQ(VLUnicodeString().FromDouble(1e300).Size(), 29UL);
}
