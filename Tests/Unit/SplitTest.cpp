#include "Foundation/VLString.h"
#include "Tests/Support/VLStringPrinter.h"

#include <gtest/gtest.h>

namespace {

using Pieces = Vector<VLString>;

Pieces split(const char* text, const char* delimiter, bool skipEmpty) {
    return StringLibrary::Split<VLString>(text, delimiter, skipEmpty);
}

} // namespace

TEST(Split, CutsAtEachDelimiter) {
    EXPECT_EQ(split("a;b;c", ";", true), (Pieces{"a", "b", "c"}));
    EXPECT_EQ(split("a;b;c", ";", false), (Pieces{"a", "b", "c"}));
    EXPECT_EQ(split("a", ";", true), (Pieces{"a"}));
    EXPECT_EQ(split("a--bc", "--", false), (Pieces{"a", "bc"}));
}

TEST(Split, GivesNoEmptyLastPiece) {
    EXPECT_EQ(split("a;b;", ";", false), (Pieces{"a", "b"}));
    EXPECT_EQ(split("a;b;", ";", true), (Pieces{"a", "b"}));
    EXPECT_EQ(split(";", ";", false), (Pieces{""}));
}

TEST(Split, DropsALastPieceShorterThanTheDelimiter) {
    EXPECT_EQ(split("a::b", "::", false), (Pieces{"a"}));
    EXPECT_EQ(split("a::b", "::", true), (Pieces{"a"}));
    EXPECT_EQ(split("a::bc", "::", true), (Pieces{"a", "bc"}));
    EXPECT_EQ(split("a", "::", false), Pieces());
    EXPECT_EQ(split("ab", "::", false), (Pieces{"ab"}));
}

TEST(Split, SkipsEmptyPiecesWhenAsked) {
    EXPECT_EQ(split(";a;;b", ";", true), (Pieces{"a", "b"}));
    EXPECT_EQ(split(";a;;b", ";", false), (Pieces{"", "a", "", "b"}));
    EXPECT_EQ(split(";;", ";", true), Pieces());
    EXPECT_EQ(split(";;", ";", false), (Pieces{"", ""}));
}

TEST(Split, GivesNothingForNothing) {
    EXPECT_EQ(split("", ";", true), Pieces());
    EXPECT_EQ(split("", ";", false), Pieces());
    EXPECT_EQ(split("", "", false), Pieces());
}

TEST(Split, EndsWithAnEmptyDelimiter) {
    EXPECT_EQ(split("abc", "", false), (Pieces{"abc"}));
    EXPECT_EQ(split("abc", "", true), (Pieces{"abc"}));
}

TEST(Split, DoesNotOverlapDelimiters) {
    EXPECT_EQ(split("a:::bc", "::", false), (Pieces{"a", ":bc"}));
}

TEST(Split, CutsAtLineBreaks) {
    EXPECT_EQ(split("/a b\n/c\n", "\n", true), (Pieces{"/a b", "/c"}));
}

TEST(Split, CutsWideText) {
    EXPECT_EQ(StringLibrary::Split<VLUnicodeString>(L"a;;b", L";", true),
              (Vector<VLUnicodeString>{L"a", L"b"}));
}

TEST(Split, LeavesTypesToBeDeduced) {
    EXPECT_EQ(StringLibrary::Split(VLString("a/b"), "/", true), (Pieces{"a", "b"}));
}

TEST(Split, TakesTimeThatGrowsWithTheText) {
    constexpr unsigned long count = 300000;
    VLString text;
    for (unsigned long i = 0; i < count; ++i) {
        text += "ab;";
    }
    EXPECT_EQ(StringLibrary::Split<VLString>(text, ";", true).size(), count);
}
