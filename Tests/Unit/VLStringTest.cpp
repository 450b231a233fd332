#include "Foundation/VLString.h"

#include "Tests/Support/Texts.h"
#include "Tests/Support/UTF8Locale.h"
#include "Tests/Support/VLStringPrinter.h"

#include <climits>
#include <gtest/gtest.h>

#include <clocale>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

/// A length for which no memory can be had.
constexpr unsigned long absurdLength = 1UL << 62U;
constexpr unsigned long maxLen = VLString::maxLen;

using VLStringInUTF8Locale = UTF8Locale;

} // namespace

// What both kinds of text have in common.

template <class Tested>
class BothStrings : public testing::Test {
public:
    using String = Tested;
    using Char = std::decay_t<decltype(std::declval<String>()[0])>;

    static std::basic_string<Char> characters(std::string_view text) { return {text.begin(), text.end()}; }
    static String text(std::string_view text) {
        const auto wanted = characters(text);
        return String(wanted.data(), wanted.size());
    }
    /// `count` times the character `c`.
    static String repeated(unsigned long count, char c) {
        const std::basic_string<Char> wanted(count, static_cast<Char>(c));
        return String(wanted.data(), wanted.size());
    }
};

/// With `String` and, for ASCII text, `text` at hand.
#define BOTH_STRINGS_TEST(name)                                                                              \
    template <class String>                                                                                  \
    class BothStrings##name : public BothStrings<String> {                                                   \
    public:                                                                                                  \
        using BothStrings<String>::text;                                                                     \
        using BothStrings<String>::repeated;                                                                 \
        using BothStrings<String>::characters;                                                               \
        static void run();                                                                                   \
    };                                                                                                       \
    TYPED_TEST(BothStrings, name) {                                                                          \
        BothStrings##name<TypeParam>::run();                                                                 \
    }                                                                                                        \
    template <class String>                                                                                  \
    void BothStrings##name<String>::run()

using StringTypes = testing::Types<VLString, VLUnicodeString>;
struct NamesOfStringTypes {
    template <class String>
    static std::string GetName(int /*number*/) {
        return sizeof(*String().ConstData()) == 1 ? "VLString" : "VLUnicodeString";
    }
};
TYPED_TEST_SUITE(BothStrings, StringTypes, NamesOfStringTypes);

BOTH_STRINGS_TEST(StartEmpty) {
    const String string;
    EXPECT_EQ(string.Size(), 0UL);
    EXPECT_EQ(string.Data(), nullptr);
    EXPECT_TRUE(string.IsEmpty());
    EXPECT_FALSE(string.IsSet());
    ASSERT_NE(string.ConstData(), nullptr);
    EXPECT_EQ(string.ConstData()[0], 0);
}

BOTH_STRINGS_TEST(AreEmptyWhenMadeFromNull) {
    using Char = typename BothStrings<String>::Char;
    const Char* null = nullptr;
    EXPECT_TRUE(String(nullptr).IsEmpty());
    EXPECT_TRUE(String(nullptr, 3).IsEmpty());
    EXPECT_TRUE(String(null).IsEmpty());
    EXPECT_TRUE(String(null, 3).IsEmpty());
    EXPECT_TRUE(String(null, maxLen).IsEmpty());
    EXPECT_EQ(String(null, 3).Data(), nullptr);
}

BOTH_STRINGS_TEST(MeasureTextUpToItsTerminator) {
    const auto abc = characters("abc\0def"sv);
    EXPECT_EQ(String(abc.c_str()), text("abc"));
    EXPECT_EQ(String(abc.c_str(), maxLen), text("abc"));
    EXPECT_EQ(String(abc.c_str()).Size(), 3UL);
}

BOTH_STRINGS_TEST(TakeAsManyCharactersAsAskedFor) {
    const auto abc = characters("abc");
    EXPECT_EQ(String(abc.c_str(), 2), text("ab"));
    EXPECT_TRUE(String(abc.c_str(), 0).IsEmpty());
    EXPECT_EQ(String(abc.c_str(), 0).Data(), nullptr);
}

BOTH_STRINGS_TEST(TakeWritableText) {
    auto abc = characters("abc");
    EXPECT_EQ(String(abc.data()), text("abc"));
    EXPECT_EQ(String(abc.data(), 1), text("a"));
}

BOTH_STRINGS_TEST(HoldZeroCharacters) {
    const auto zero = characters("a\0b"sv);
    const String string(zero.data(), 3);
    EXPECT_EQ(string.Size(), 3UL);
    EXPECT_EQ(string.Data()[1], 0);
    EXPECT_EQ(string.Data()[2], 'b');
    EXPECT_EQ(string.Data()[3], 0);
}

BOTH_STRINGS_TEST(CopyDeeply) {
    String original = text("abc");
    const String copy(original);
    String assigned = text("something longer");
    assigned = original;
    original.Data()[0] = 'x';
    EXPECT_EQ(copy, text("abc"));
    EXPECT_EQ(assigned, text("abc"));
    EXPECT_EQ(original, text("xbc"));
}

BOTH_STRINGS_TEST(CopyZeroCharactersToo) {
    const String original = text("a\0b"sv);
    const String copy(original);
    EXPECT_EQ(copy.Size(), 3UL);
    EXPECT_EQ(copy.Data()[2], 'b');
}

BOTH_STRINGS_TEST(SurviveAssignmentToThemselves) {
    String string = text("abc");
    const String& same = string;
    string = same;
    EXPECT_EQ(string, text("abc"));
    string.init(string.Data() + 1, 2);
    EXPECT_EQ(string, text("bc"));
}

BOTH_STRINGS_TEST(Move) {
    String original = text("abc");
    const auto* data = original.Data();
    String moved(std::move(original));
    EXPECT_EQ(moved.Data(), data);
    String assigned = text("old");
    assigned = std::move(moved);
    EXPECT_EQ(assigned, text("abc"));
    EXPECT_EQ(assigned.Data(), data);
}

BOTH_STRINGS_TEST(ReleaseTheirBlockWhenEmptied) {
    String string = text("abc");
    string.Clear();
    EXPECT_TRUE(string.IsEmpty());
    EXPECT_EQ(string.Data(), nullptr);

    string = text("abc");
    string = String();
    EXPECT_EQ(string.Data(), nullptr);

    const auto abc = characters("abc");
    string.init(abc.data(), 2);
    EXPECT_EQ(string, text("ab"));
    string.init(abc.data(), 0);
    EXPECT_EQ(string.Data(), nullptr);
    string.init(abc.data(), 2);
    string.init(nullptr, 2);
    EXPECT_EQ(string.Data(), nullptr);
    EXPECT_EQ(string.Size(), 0UL);
}

BOTH_STRINGS_TEST(StayEmptyWithoutMemory) {
    const auto abc = characters("abc");
    EXPECT_TRUE(String(abc.data(), absurdLength).IsEmpty());
    EXPECT_TRUE(String(abc.data(), absurdLength / 8).IsEmpty());
    EXPECT_TRUE(String(abc.data(), maxLen - 1).IsEmpty());
    String string = text("old");
    string.init(abc.data(), absurdLength);
    EXPECT_TRUE(string.IsEmpty());
    EXPECT_EQ(string.Data(), nullptr);
}

BOTH_STRINGS_TEST(GiveTheirData) {
    const String string = text("abc");
    EXPECT_EQ(string.Data(), string.ConstData());
    EXPECT_EQ(string.Data()[3], 0);
    EXPECT_TRUE(string.IsSet());
    EXPECT_FALSE(string.IsEmpty());
}

BOTH_STRINGS_TEST(IndexInsideOnly) {
    const String string = text("abc");
    EXPECT_TRUE(string.HasOf(0));
    EXPECT_TRUE(string.HasOf(2));
    EXPECT_FALSE(string.HasOf(3));
    EXPECT_FALSE(string.HasOf(maxLen));
    EXPECT_FALSE(String().HasOf(0));
    EXPECT_EQ(string[0], 'a');
    EXPECT_EQ(string[2], 'c');
    EXPECT_EQ(string[3], 0);
    EXPECT_EQ(string[maxLen], 0);
    EXPECT_EQ(String()[0], 0);
}

BOTH_STRINGS_TEST(CompareExactly) {
    EXPECT_TRUE(text("Path").Equals(text("Path")));
    EXPECT_FALSE(text("Path").Equals(text("PATH")));
    EXPECT_FALSE(text("Path").Equals(text("Patha")));
    EXPECT_FALSE(text("Patha").Equals(text("Path")));
    EXPECT_TRUE(String().Equals(String()));
    EXPECT_FALSE(String().Equals(text("a")));
    EXPECT_TRUE(text("a") == text("a"));
    EXPECT_FALSE(text("a") == text("b"));
    EXPECT_TRUE(text("a") != text("b"));
    EXPECT_FALSE(text("a") != text("a"));
}

BOTH_STRINGS_TEST(CompareUpToAZeroCharacter) {
    EXPECT_TRUE(text("a\0b"sv).Equals(text("a\0c"sv)));
    EXPECT_FALSE(text("a\0b"sv).Equals(text("a\0bc"sv)));
    EXPECT_FALSE(text("a\0b"sv).Equals(text("b\0b"sv)));
    EXPECT_FALSE(text("a\0b"sv) < text("a\0c"sv));
}

BOTH_STRINGS_TEST(CompareIgnoringCase) {
    EXPECT_TRUE(text("Path").EqualsIgnoreCase(text("PATH")));
    EXPECT_TRUE(text("path_[1]").EqualsIgnoreCase(text("PATH_[1]")));
    EXPECT_FALSE(text("Path").EqualsIgnoreCase(text("PATHS")));
    EXPECT_FALSE(text("PATHS").EqualsIgnoreCase(text("Path")));
    EXPECT_FALSE(text("Path").EqualsIgnoreCase(text("Bath")));
    EXPECT_FALSE(text("[").EqualsIgnoreCase(text("{")));
    EXPECT_TRUE(String().EqualsIgnoreCase(String()));
    EXPECT_FALSE(String().EqualsIgnoreCase(text("a")));
}

BOTH_STRINGS_TEST(SortLongestFirst) {
    EXPECT_FALSE(text("b") < text("zz"));
    EXPECT_TRUE(text("zz") < text("b"));
    EXPECT_TRUE(text("a") < String());
    EXPECT_FALSE(String() < text("a"));
    EXPECT_FALSE(String() < String());
    EXPECT_TRUE(text("abc") < text("abd"));
    EXPECT_FALSE(text("abd") < text("abc"));
    EXPECT_FALSE(text("abc") < text("abc"));
    EXPECT_TRUE(text("B") < text("a"));
}

BOTH_STRINGS_TEST(WalkMapsLongestFirst) {
    std::map<String, int> map{{text("b"), 0}, {text("zz"), 0}, {text("abc"), 0}, {text("aa"), 0}};
    std::vector<String> walked;
    for (const auto& entry : map) {
        walked.push_back(entry.first);
    }
    EXPECT_EQ(walked, (std::vector<String>{text("abc"), text("aa"), text("zz"), text("b")}));
}

BOTH_STRINGS_TEST(TellTheirEnd) {
    EXPECT_TRUE(text("file.xml").EndsWith(text(".xml")));
    EXPECT_TRUE(text(".xml").EndsWith(text(".xml")));
    EXPECT_FALSE(text("file.xml").EndsWith(text(".XML")));
    EXPECT_FALSE(text("file.xml ").EndsWith(text(".xml")));
    EXPECT_TRUE(text(".xml.xml").EndsWith(text(".xml")));
    EXPECT_FALSE(text("abc").EndsWith(String()));
    EXPECT_FALSE(String().EndsWith(String()));
    EXPECT_FALSE(text("xml").EndsWith(text(".xml")));
    EXPECT_FALSE(String().EndsWith(text("a")));
}

BOTH_STRINGS_TEST(FindForwards) {
    EXPECT_EQ(text("abcabc").IndexOf(text("bc"), 0), 1UL);
    EXPECT_EQ(text("abcabc").IndexOf(text("bc"), 1), 1UL);
    EXPECT_EQ(text("abcabc").IndexOf(text("bc"), 2), 4UL);
    EXPECT_EQ(text("abcabc").IndexOf(text("bc"), 5), maxLen);
    EXPECT_EQ(text("abcabc").IndexOf(text("BC"), 0), maxLen);
    EXPECT_EQ(text("abc").IndexOf(text("abc"), 0), 0UL);
    EXPECT_EQ(text("abc").IndexOf(text("abcd"), 0), maxLen);
    EXPECT_EQ(text("abc").IndexOf(text("c"), 2), 2UL);
    EXPECT_EQ(text("abc").IndexOf(text("c"), 3), maxLen);
    EXPECT_EQ(text("abc").IndexOf(text("c"), maxLen), maxLen);
    EXPECT_EQ(text("aaabaaaab").IndexOf(text("aaaab"), 0), 4UL);
    EXPECT_EQ(text("abababac").IndexOf(text("ababac"), 0), 2UL);
    EXPECT_EQ(String().IndexOf(text("a"), 0), maxLen);
}

BOTH_STRINGS_TEST(FindNothingWhereTextIsNotEmpty) {
    EXPECT_EQ(text("abc").IndexOf(String(), 0), 0UL);
    EXPECT_EQ(text("abc").IndexOf(String(), 2), 2UL);
    EXPECT_EQ(text("abc").IndexOf(String(), 3), maxLen);
    EXPECT_EQ(String().IndexOf(String(), 0), maxLen);
    EXPECT_EQ(text("abc").IndexOfIgnoreCase(String(), 1), 1UL);
    EXPECT_EQ(text("abc").IndexOfIgnoreCase(String(), 3), maxLen);
}

BOTH_STRINGS_TEST(FindForwardsIgnoringCase) {
    EXPECT_EQ(text("abCaBc").IndexOfIgnoreCase(text("Bc"), 0), 1UL);
    EXPECT_EQ(text("abCaBc").IndexOfIgnoreCase(text("bC"), 2), 4UL);
    EXPECT_EQ(text("abCaBc").IndexOfIgnoreCase(text("x"), 0), maxLen);
    EXPECT_EQ(text("abc").IndexOfIgnoreCase(text("ABCD"), 0), maxLen);
    EXPECT_EQ(text("abc").IndexOfIgnoreCase(text("C"), 3), maxLen);
    EXPECT_EQ(text("a{").IndexOfIgnoreCase(text("["), 0), maxLen);
}

BOTH_STRINGS_TEST(FindBackwards) {
    EXPECT_EQ(text("/a/b").IndexLastOf(text("/")), 2UL);
    EXPECT_EQ(text("ab").IndexLastOf(text("/")), maxLen);
    EXPECT_EQ(text("abcabc").IndexLastOf(text("bc")), 4UL);
    EXPECT_EQ(text("abcab").IndexLastOf(text("abc")), 0UL);
    EXPECT_EQ(text("abcabc").IndexLastOf(text("BC")), maxLen);
    EXPECT_EQ(text("ab").IndexLastOf(text("abc")), maxLen);
    EXPECT_EQ(text("baaaabaaa").IndexLastOf(text("baaaa")), 0UL);
    EXPECT_EQ(String().IndexLastOf(text("a")), maxLen);
}

BOTH_STRINGS_TEST(FindBackwardsIgnoringCase) {
    EXPECT_EQ(text("abCaBc").IndexLastOfIgnoreCase(text("bC")), 4UL);
    EXPECT_EQ(text("BCabX").IndexLastOfIgnoreCase(text("bc")), 0UL);
    EXPECT_EQ(text("abc").IndexLastOfIgnoreCase(text("d")), maxLen);
    EXPECT_EQ(text("ab").IndexLastOfIgnoreCase(text("ABC")), maxLen);
}

BOTH_STRINGS_TEST(FindNothingAtTheirEndBackwards) {
    EXPECT_EQ(text("abc").IndexLastOf(String()), 3UL);
    EXPECT_EQ(text("abc").IndexLastOfIgnoreCase(String()), 3UL);
    EXPECT_EQ(String().IndexLastOf(String()), 0UL);
}

BOTH_STRINGS_TEST(FindUpToAZeroCharacterInBoth) {
    EXPECT_EQ(text("xa\0c"sv).IndexOf(text("a\0b"sv), 0), 1UL);
    EXPECT_EQ(text("xa\0c"sv).IndexOf(text("a\0"sv), 0), 1UL);
    EXPECT_EQ(text("xab"sv).IndexOf(text("a\0"sv), 0), maxLen);
    EXPECT_EQ(text("xa\0"sv).IndexOf(text("a\0b"sv), 0), maxLen);
    EXPECT_EQ(text("abcd").IndexOf(text("d\0yz"sv), 3), maxLen);
    EXPECT_EQ(text("xa\0cd\0e"sv).IndexOf(text("d"), 0), 4UL);
    EXPECT_EQ(text("a\0ca\0"sv).IndexLastOf(text("a\0b"sv)), 0UL);
    EXPECT_EQ(text("a\0ca\0d"sv).IndexLastOf(text("a\0b"sv)), 3UL);
    EXPECT_EQ(text("a\0x"sv).IndexOf(text("\0"sv), 0), 1UL);
}

BOTH_STRINGS_TEST(CutSubstrings) {
    const String string = text("abcd");
    EXPECT_EQ(string.Substr(2, maxLen), text("cd"));
    EXPECT_EQ(string.Substr(0, maxLen), string);
    EXPECT_EQ(string.Substr(1, 2), text("bc"));
    EXPECT_EQ(string.Substr(3, 5), text("d"));
    EXPECT_TRUE(string.Substr(1, 0).IsEmpty());
    EXPECT_TRUE(string.Substr(4, 1).IsEmpty());
    EXPECT_TRUE(string.Substr(maxLen, maxLen).IsEmpty());
    EXPECT_TRUE(String().Substr(0, maxLen).IsEmpty());
}

BOTH_STRINGS_TEST(Append) {
    const auto cd = characters("cd");
    String string = text("ab");
    EXPECT_EQ(&string.Append(text("c")), &string);
    EXPECT_EQ(string, text("abc"));
    string += text("d");
    string += cd.c_str();
    EXPECT_EQ(string, text("abcdcd"));
    EXPECT_EQ(string.Data()[6], 0);

    String fromNothing;
    fromNothing += text("x");
    EXPECT_EQ(fromNothing, text("x"));
}

BOTH_STRINGS_TEST(ChangeNothingWhenNothingIsAppended) {
    String string = text("ab");
    const auto* data = string.Data();
    string.Append(String());
    EXPECT_EQ(string.Data(), data);
    EXPECT_EQ(string, text("ab"));
    String empty;
    empty += String();
    EXPECT_EQ(empty.Data(), nullptr);
}

BOTH_STRINGS_TEST(AppendThemselvesAtEverySize) {
    for (unsigned long size = 1; size < 300; ++size) {
        String string = repeated(size - 1, 'x') + text("y");
        string += string;
        ASSERT_EQ(string, repeated(size - 1, 'x') + text("y") + repeated(size - 1, 'x') + text("y"));
        string += string.ConstData();
        ASSERT_EQ(string.Size(), 4 * size);
        ASSERT_EQ(string.Data()[4 * size], 0);
    }
}

BOTH_STRINGS_TEST(AppendZeroCharacters) {
    String string = text("a\0"sv);
    string += text("\0b"sv);
    EXPECT_EQ(string.Size(), 4UL);
    EXPECT_EQ(string.Data()[3], 'b');
}

BOTH_STRINGS_TEST(AddWithoutChangingTheirself) {
    const auto cd = characters("cd");
    const String string = text("ab");
    EXPECT_EQ(string + text("cd"), text("abcd"));
    EXPECT_EQ(string + cd.c_str(), text("abcd"));
    EXPECT_EQ(String() + text("cd"), text("cd"));
    EXPECT_EQ(string + String(), text("ab"));
    EXPECT_EQ(string, text("ab"));
}

BOTH_STRINGS_TEST(FindNeedlesOfAnyLength) {
    for (unsigned long length = 1; length < 100; ++length) {
        const String needle = repeated(length, 'a') + text("b");
        const String before = repeated(3, 'a');
        EXPECT_EQ((before + needle + text("c") + needle).IndexOf(needle, 0), 3UL) << length;
        EXPECT_EQ((before + needle + text("c") + needle).IndexLastOf(needle), length + 5) << length;
        EXPECT_EQ((before + needle).IndexOf(needle + text("b"), 0), maxLen) << length;
    }
}

BOTH_STRINGS_TEST(Replace) {
    EXPECT_EQ(text("%USER%/x/%USER%").Replace(text("%USER%"), text("bob")), text("bob/x/bob"));
    EXPECT_EQ(text("aa").Replace(text("a"), text("aa")), text("aaaa"));
    EXPECT_EQ(text("aaa").Replace(text("aa"), text("b")), text("ba"));
    EXPECT_EQ(text("aab").Replace(text("ab"), text("b")), text("ab"));
    EXPECT_EQ(text("1.2.3").Replace(text("."), String()), text("123"));
    EXPECT_EQ(text("abc").Replace(text("x"), text("y")), text("abc"));
    EXPECT_EQ(text("ABC").Replace(text("b"), text("y")), text("ABC"));
    EXPECT_EQ(text("aaa").Replace(text("a"), String()), String());
    EXPECT_EQ(String().Replace(text("a"), text("b")), String());
    EXPECT_EQ(text("abc").Replace(String(), text("x")), text("abc"));
}

BOTH_STRINGS_TEST(LeaveTheReceiverOfReplaceAsItWas) {
    const String string = text("aXa");
    EXPECT_EQ(string.Replace(text("X"), string), text("aaXaa"));
    EXPECT_EQ(string, text("aXa"));
}

BOTH_STRINGS_TEST(MapCase) {
    const String string = text("aBz_09[Z");
    EXPECT_EQ(string.ToUpper(), text("ABZ_09[Z"));
    EXPECT_EQ(string.ToLower(), text("abz_09[z"));
    EXPECT_EQ(string, text("aBz_09[Z"));
    EXPECT_EQ(String().ToUpper(), String());
    EXPECT_EQ(text("a\0b"sv).ToUpper().Data()[2], 'B');
}

BOTH_STRINGS_TEST(PrintNumbers) {
    String string = text("old");
    EXPECT_EQ(&string.FromInt(-3), &string);
    EXPECT_EQ(string, text("-3"));
    EXPECT_EQ(string.FromInt(INT_MIN), text("-2147483648"));
    EXPECT_EQ(string.FromDword(UINT_MAX), text("4294967295"));
    EXPECT_EQ(string.FromDword(0), text("0"));
    EXPECT_EQ(string.FromDouble(2.5), text("2.500000"));
    EXPECT_EQ(string.FromDouble(-0.0000004), text("-0.000000"));
}

BOTH_STRINGS_TEST(ReadWholeNumbers) {
    EXPECT_EQ(String().GetLong(7), 7);
    EXPECT_EQ(text("x").GetLong(7), 7);
    EXPECT_EQ(text("42").GetLong(7), 42);
    EXPECT_EQ(text("-42").GetLong(7), -42);
    EXPECT_EQ(text(" \t\n12abc").GetLong(7), 12);
    EXPECT_EQ(text("abc12").GetLong(7), 7);
    EXPECT_EQ(text(" ").GetLong(7), 7);
    EXPECT_EQ(text("4294967298").GetLong(7), 2);
    EXPECT_EQ(text("0x10").GetLong(7), 0);
}

BOTH_STRINGS_TEST(ReadUnsignedNumbers) {
    EXPECT_EQ(String().GetULong(5), 5U);
    EXPECT_EQ(text("x").GetULong(5), 5U);
    EXPECT_EQ(text("42").GetULong(5), 42U);
    EXPECT_EQ(text(" 42d").GetULong(5), 42U);
    EXPECT_EQ(text("-1").GetULong(5), 4294967295U);
    EXPECT_EQ(text("4294967295").GetULong(5), 4294967295U);
}

BOTH_STRINGS_TEST(ReadFractions) {
    EXPECT_EQ(String().GetDouble(1.5), 1.5);
    EXPECT_EQ(text("x").GetDouble(1.5), 1.5);
    EXPECT_EQ(text("2.25").GetDouble(1.5), 2.25);
    EXPECT_EQ(text(" -2.5e1x").GetDouble(1.5), -25.0);
}

// Cost. Each of these takes milliseconds, and minutes or hours where time grows with the product of two
// lengths.

BOTH_STRINGS_TEST(SearchInTimeThatGrowsWithTheText) {
    constexpr unsigned long half = 1000000;
    const String long1 = repeated(2 * half, 'a');
    const String needle = repeated(half, 'a') + text("b");
    const String reversed = text("b") + repeated(half, 'a');
    EXPECT_EQ(long1.IndexOf(needle, 0), maxLen);
    EXPECT_EQ(long1.IndexOfIgnoreCase(needle, 0), maxLen);
    EXPECT_EQ(long1.IndexLastOf(reversed), maxLen);
    EXPECT_EQ(long1.IndexLastOfIgnoreCase(reversed), maxLen);
    EXPECT_EQ((long1 + text("b")).IndexOf(needle, 0), half);
}

BOTH_STRINGS_TEST(ReplaceInTimeThatGrowsWithTheText) {
    constexpr unsigned long count = 1000000;
    EXPECT_EQ(repeated(count, 'a').Replace(text("a"), text("bc")).Size(), 2 * count);
    const String needle = repeated(count, 'a') + text("b");
    EXPECT_EQ(repeated(2 * count, 'a').Replace(needle, String()).Size(), 2 * count);
}

BOTH_STRINGS_TEST(AppendInTimeThatGrowsWithTheText) {
    constexpr unsigned long count = 4000000;
    const String one = text("x");
    String string;
    for (unsigned long i = 0; i < count; ++i) {
        string += one;
    }
    EXPECT_EQ(string.Size(), count);
}

// What only VLString has.

TEST(VLString, HasALargestLength) {
    EXPECT_EQ(VLString::maxLen, 18446744073709551615UL);
    EXPECT_EQ(VLUnicodeString::maxLen, VLString::maxLen);
}

TEST(VLString, CanBeABase) {
    EXPECT_TRUE(std::has_virtual_destructor_v<VLString>);
    EXPECT_TRUE(std::has_virtual_destructor_v<VLUnicodeString>);
}

TEST(VLString, NarrowsWideText) {
    EXPECT_EQ(VLString(L"abc", maxLen), VLString("abc"));
    EXPECT_EQ(VLString(L"abc", 2), VLString("ab"));
    EXPECT_EQ(VLString(L"\u00e9", maxLen), VLString("\xe9"));
    const wchar_t* null = nullptr;
    EXPECT_TRUE(VLString(null, 3).IsEmpty());
    EXPECT_TRUE(VLString(null, maxLen).IsEmpty());
}

TEST(VLString, SortsBytesAsUnsigned) {
    EXPECT_LT(VLString("a"), VLString("\xff"));
}

TEST(VLString, LeavesBytesAbove127Alone) {
    const VLString e("\xc3\xa9\xe9\xc9");
    EXPECT_EQ(e.ToUpper(), e);
    EXPECT_EQ(e.ToLower(), e);
    EXPECT_FALSE(VLString("\xe9").EqualsIgnoreCase("\xc9"));
    EXPECT_EQ(VLString("x\xe9").IndexOfIgnoreCase("\xc9", 0), maxLen);
}

TEST(VLString, IgnoresCaseUpToAZeroByteInBoth) {
    EXPECT_TRUE(VLString("A\0b", 3).EqualsIgnoreCase(VLString("a\0c", 3)));
    EXPECT_EQ(VLString("xA\0c", 4).IndexOfIgnoreCase(VLString("a\0b", 3), 0), 1UL);
    EXPECT_EQ(VLString("A\0cx", 4).IndexLastOfIgnoreCase(VLString("a\0b", 3)), 0UL);
}

TEST(VLString, IsUTF8Already) {
    EXPECT_EQ(bytesOf(VLString("a\0\xc3\xa9", 4).ToUTF8()), "a\0\xc3\xa9"s);
}

TEST(VLString, WidensByteByByteAndComesBack) {
    std::string all;
    for (int c = 1; c < 256; ++c) {
        all += static_cast<char>(c);
    }
    const VLUnicodeString wide = VLString(all.data(), all.size()).GetUnicode();
    ASSERT_EQ(wide.Size(), 255UL);
    for (unsigned long i = 0; i < wide.Size(); ++i) {
        ASSERT_EQ(wide[i], static_cast<wchar_t>(i + 1));
    }
    EXPECT_EQ(bytesOf(wide.ToUTF8()), all);
}

TEST(VLString, WidensUpToAZeroByte) {
    EXPECT_EQ(VLString("ab\0c", 4).GetUnicode(), VLUnicodeString(L"ab"));
    EXPECT_TRUE(VLString("\0c", 2).GetUnicode().IsEmpty());
    EXPECT_TRUE(VLString().GetUnicode().IsEmpty());
}

TEST_F(VLStringInUTF8Locale, WidensCharacterByCharacterAndComesBack) {
    const std::pair<const char*, const wchar_t*> texts[] = {
        {"a", L"a"},
        {"\xc3\xa9", L"\u00e9"},
        {"\xe4\xb8\xad", L"\u4e2d"},
        {"\xf0\x9f\x98\x80", L"\U0001f600"},
        {"a\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80z", L"a\u00e9\u4e2d\U0001f600z"},
    };
    for (const auto& [narrow, wide] : texts) {
        EXPECT_EQ(VLString(narrow).GetUnicode(), VLUnicodeString(wide));
        EXPECT_EQ(VLUnicodeString(narrow), VLUnicodeString(wide));
        EXPECT_EQ(VLUnicodeString(wide).ToUTF8(), VLString(narrow));
        EXPECT_EQ(VLString(wide, maxLen), VLString(narrow));
    }
}

TEST_F(VLStringInUTF8Locale, WidensUpToAZeroByte) {
    EXPECT_EQ(VLString("\xc3\xa9\0\xc3\xa9", 5).GetUnicode(), VLUnicodeString(L"\u00e9"));
    EXPECT_EQ(VLString("\xc3\xa9\0\xff", 4).GetUnicode(), VLUnicodeString(L"\u00e9"));
    EXPECT_TRUE(VLString("\0\xc3\xa9", 3).GetUnicode().IsEmpty());
    EXPECT_TRUE(VLString().GetUnicode().IsEmpty());
}

TEST_F(VLStringInUTF8Locale, IsEmptyWhenTheLocaleRefusesAByte) {
    for (const char* text : {"\xff", "a\xff", "\xc3", "\xc3\xa9\xc3", "\xed\xa0\x80"}) {
        const VLUnicodeString wide = VLString(text).GetUnicode();
        EXPECT_EQ(wide, VLUnicodeString()) << testing::PrintToString(text);
        EXPECT_EQ(wide.Data(), nullptr);
    }
}

TEST_F(VLStringInUTF8Locale, FollowsTheLocaleOfTheMoment) {
    const VLString e("\xc3\xa9");
    EXPECT_EQ(e.GetUnicode(), VLUnicodeString(L"\u00e9"));
    EXPECT_EQ(VLUnicodeString(L"\u00e9").ToUTF8(), e);
    ASSERT_NE(std::setlocale(LC_CTYPE, "C"), nullptr);
    EXPECT_EQ(e.GetUnicode(), VLUnicodeString(L"\u00c3\u00a9"));
    EXPECT_EQ(VLUnicodeString(L"\u00e9").ToUTF8(), VLString("\xe9"));
}

TEST(VLString, Formats) {
    VLString string("old");
    EXPECT_EQ(&string.FromFormat("%s-%d", "a", 7), &string);
    EXPECT_EQ(string, VLString("a-7"));
    EXPECT_EQ(string.FromFormat("100%%"), VLString("100%"));
    EXPECT_EQ(string.FromFormat("%s", "\xc3\xa9"), VLString("\xc3\xa9"));
}

TEST(VLString, IsEmptyAfterAnEmptyFormat) {
    VLString string("old");
    EXPECT_TRUE(string.FromFormat("").IsEmpty());
    EXPECT_EQ(string.Data(), nullptr);
    string = "old";
    EXPECT_TRUE(string.FromFormat(VLString()).IsEmpty());
}

TEST(VLString, KeepsTheFirst510FormattedBytes) {
    for (const unsigned long length : {509UL, 510UL, 511UL, 512UL, 600UL, 100000UL}) {
        const std::string text(length, 'x');
        VLString string;
        string.FromFormat("%s", text.c_str());
        EXPECT_EQ(bytesOf(string), text.substr(0, 510)) << length;
    }
}

TEST(VLString, FormatsItsOwnText) {
    VLString string("a");
    string.FromFormat("%s/%s", string.ConstData(), "b");
    EXPECT_EQ(string, VLString("a/b"));
    string = "%d";
    EXPECT_EQ(string.FromFormat(string, 4), VLString("4"));
}

TEST(VLString, PrintsLargeFractionsInFull) {
    EXPECT_EQ(VLString().FromDouble(1e300).Size(), 308UL);
}

TEST(VLString, PrintsGUIDs) {
    const _GUID guid{0x0123ABCD, 0x4567, 0x00EF, {0, 1, 2, 0xA3, 0xB4, 0xC5, 0xD6, 0xFF}};
    VLString string("old");
    EXPECT_EQ(&string.FromGUID(guid), &string);
    EXPECT_EQ(string, VLString("0123abcd-4567-00ef-0001-02a3b4c5d6ff"));
    EXPECT_EQ(VLString().FromGUID(_GUID{}), VLString("00000000-0000-0000-0000-000000000000"));
}

TEST(VLString, ReadsGUIDs) {
    const VLString text("0123ABCD-4567-00ef-0001-02a3b4c5d6ff");
    bool bOk = false;
    const _GUID guid = text.GetGUID(&bOk);
    EXPECT_TRUE(bOk);
    EXPECT_EQ(VLString().FromGUID(guid), text.ToLower());
    EXPECT_EQ(VLString().FromGUID(text.GetGUID(nullptr)), text.ToLower());

    bOk = false;
    VLString("00000000-0000-0000-0000-000000000000").GetGUID(&bOk);
    EXPECT_TRUE(bOk);
}

TEST(VLString, GivesAnAllZeroGUIDForOtherText) {
    for (const char* text : {"", "xyz", "0123abcd-4567-00ef-0001-02a3b4c5d6", "0123abcd", "{0123abcd-4567"}) {
        bool bOk = true;
        const _GUID guid = VLString(text).GetGUID(&bOk);
        EXPECT_FALSE(bOk) << text;
        EXPECT_EQ(VLString().FromGUID(guid), VLString().FromGUID(_GUID{})) << text;
        VLString(text).GetGUID(nullptr);
    }
}

TEST(VLString, SaturatesBeforeItTruncates) {
    EXPECT_EQ(VLString("99999999999999999999").GetLong(7), static_cast<int>(LONG_MAX));
}
