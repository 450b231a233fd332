// What differs from VLString; what both have in common is in VLStringTest.cpp.
#include "Foundation/VLString.h"
#include "Tests/Support/VLStringPrinter.h"

#include <gtest/gtest.h>

#include <string>

using namespace std::string_literals;

namespace {

constexpr unsigned long maxLen = VLUnicodeString::maxLen;

std::wstring characters(const VLUnicodeString& string) {
    return {string.ConstData(), string.Size()};
}

std::string bytes(const VLString& string) {
    return {string.ConstData(), string.Size()};
}

} // namespace

TEST(VLUnicodeString, WidensNarrowText) {
    EXPECT_EQ(VLUnicodeString("abc"), VLUnicodeString(L"abc"));
    EXPECT_EQ(VLUnicodeString("abc", 2), VLUnicodeString(L"ab"));
    EXPECT_EQ(characters(VLUnicodeString("\xc3\xa9")), L"\u00c3\u00a9");
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
    EXPECT_EQ(string.IndexOfIgnoreCase(VLUnicodeString(L"a\0b", 3), 0), maxLen);
    EXPECT_EQ(string.IndexLastOfIgnoreCase(VLUnicodeString(L"a\0c", 3)), 1UL);
    EXPECT_EQ(string.IndexLastOfIgnoreCase(VLUnicodeString(L"a\0b", 3)), maxLen);
}

TEST(VLUnicodeString, NarrowsCharacterByCharacter) {
    EXPECT_EQ(bytes(VLUnicodeString(L"a\u00ff").ToUTF8()), "a\xff");
    EXPECT_EQ(bytes(VLUnicodeString(L"ab\0c", 4).ToUTF8()), "ab");
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
    EXPECT_EQ(bytes(VLUnicodeString(L"a\u00e9z").GetMultibyteString()), "a\xe9z");
    EXPECT_EQ(VLUnicodeString(L"ab\0c", 4).GetMultibyteString(), VLString("ab"));
    EXPECT_TRUE(VLUnicodeString().GetMultibyteString().IsEmpty());
}

TEST(VLUnicodeString, ReadsUTF8) {
    VLUnicodeString string(L"old");
    EXPECT_EQ(&string.FromUTF8("abc", maxLen), &string);
    EXPECT_EQ(string, VLUnicodeString(L"abc"));
    EXPECT_EQ(string.FromUTF8("abc", 2), VLUnicodeString(L"ab"));
    EXPECT_EQ(string.FromUTF8("\xc3\xa9", maxLen), VLUnicodeString(L"\u00c3\u00a9"));
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
    EXPECT_TRUE(isEmptyAfter(nullptr, maxLen));
    EXPECT_TRUE(isEmptyAfter(nullptr, 3));
    EXPECT_TRUE(isEmptyAfter("", maxLen));
    EXPECT_TRUE(isEmptyAfter("", 1));
    EXPECT_TRUE(isEmptyAfter("abc", 0));
}

TEST(VLUnicodeString, TakesTheLengthOfUTF8AsASigned32BitNumber) {
    VLUnicodeString string(L"old");
    EXPECT_TRUE(string.FromUTF8("abc", 0x80000000UL).IsEmpty());
    EXPECT_TRUE(string.FromUTF8("abc", 0xffffffffUL).IsEmpty());
    EXPECT_TRUE(string.FromUTF8("abc", 1UL << 62U).IsEmpty());
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
        EXPECT_EQ(characters(string), text.substr(0, 510)) << length;
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
