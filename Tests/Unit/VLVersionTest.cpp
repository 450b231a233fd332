#include "Foundation/VLVersion.h"

#include "Tests/Support/Texts.h"

#include <climits>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace {

void expectFields(const VLVersion& version, int major_, int minor_, int revision, int build) {
    const std::array<int, 4> fields{version.major, version.minor, version.revision, version.build};
    const std::array<int, 4> expected{major_, minor_, revision, build};
    EXPECT_EQ(fields, expected);
}

} // namespace

TEST(VLVersion, IsZeroAndNotValidAtFirst) {
    expectFields(VLVersion(), 0, 0, 0, 0);
    EXPECT_FALSE(VLVersion().IsValid());
}

TEST(VLVersion, IsValidWithAnyNumber) {
    for (const VLVersion& version : {VLVersion(1, 0, 0, 0), VLVersion(0, 1, 0, 0), VLVersion(0, 0, 1, 0),
                                     VLVersion(0, 0, 0, 1), VLVersion(0, 0, 0, -1)}) {
        EXPECT_TRUE(version.IsValid()) << bytesOf(version.ToString(false));
    }
}

TEST(VLVersion, TakesFourNumbersInOrder) {
    expectFields(VLVersion(1, 2, 3, 4), 1, 2, 3, 4);
}

TEST(VLVersion, ProductVersionHasNoRevision) {
    const VLProductVersion product{5, 6, 7};
    expectFields(product, 5, 6, 0, 7);
    expectFields(VLProductVersion(), 0, 0, 0, 0);
}

TEST(VLVersion, ReadsFourNumbersFromText) {
    expectFields(VLVersion("1.2.3.4"), 1, 2, 3, 4);
    expectFields(VLVersion(" 1. 2.3.4 and more"), 1, 2, 3, 4);
    expectFields(VLVersion("-1.2.-3.4"), -1, 2, -3, 4);
    expectFields(VLVersion("1.2.3.4.5"), 1, 2, 3, 4);
}

TEST(VLVersion, MissingNumbersAreZero) {
    expectFields(VLVersion("3.1"), 3, 1, 0, 0);
    expectFields(VLVersion("3"), 3, 0, 0, 0);
    expectFields(VLVersion("3.x.5"), 3, 0, 0, 0);
    expectFields(VLVersion("v3"), 0, 0, 0, 0);
    expectFields(VLVersion(""), 0, 0, 0, 0);
    expectFields(VLVersion(VLString()), 0, 0, 0, 0);
    EXPECT_FALSE(VLVersion("").IsValid());
}

TEST(VLVersion, LargeRevisionWithoutBuildIsTheBuild) {
    expectFields(VLVersion("5.0.120101"), 5, 0, 0, 120101);
    expectFields(VLVersion("7.0.200000"), 7, 0, 0, 200000);
    expectFields(VLVersion("7.0.100001"), 7, 0, 0, 100001);
    expectFields(VLVersion("7.0.200000.0"), 7, 0, 0, 200000);
}

TEST(VLVersion, RevisionStaysUpToTheLimitOrBesideABuild) {
    expectFields(VLVersion("7.0.100000"), 7, 0, 100000, 0);
    expectFields(VLVersion("7.0.200000.1"), 7, 0, 200000, 1);
    expectFields(VLVersion(7, 0, 200000, 0), 7, 0, 200000, 0);
}

TEST(VLVersion, IsEqualWhenAllNumbersAre) {
    const VLVersion version(1, 2, 3, 4);
    EXPECT_TRUE(version == VLVersion(1, 2, 3, 4));
    for (const VLVersion& other :
         {VLVersion(9, 2, 3, 4), VLVersion(1, 9, 3, 4), VLVersion(1, 2, 9, 4), VLVersion(1, 2, 3, 9)}) {
        EXPECT_FALSE(version == other) << bytesOf(other.ToString(false));
    }
}

TEST(VLVersion, AnyLesserNumberMakesItLess) {
    const VLVersion version(5, 5, 5, 5);
    for (const VLVersion& other :
         {VLVersion(4, 5, 5, 5), VLVersion(5, 4, 5, 5), VLVersion(5, 5, 4, 5), VLVersion(5, 5, 5, 4)}) {
        SCOPED_TRACE(bytesOf(other.ToString(false)));
        EXPECT_TRUE(other < version);
        EXPECT_TRUE(other <= version);
        EXPECT_FALSE(other > version);
        EXPECT_FALSE(other >= version);
        EXPECT_FALSE(version < other);
        EXPECT_FALSE(version <= other);
        EXPECT_TRUE(version > other);
        EXPECT_TRUE(version >= other);
    }
}

TEST(VLVersion, EachOfTwoCanBeLessAndGreaterThanTheOther) {
    const VLVersion two(2, 0, 0, 0);
    const VLVersion oneFive(1, 5, 0, 0);
    EXPECT_TRUE(two < oneFive);
    EXPECT_TRUE(oneFive < two);
    EXPECT_TRUE(two > oneFive);
    EXPECT_TRUE(oneFive > two);
    EXPECT_TRUE(two <= oneFive);
    EXPECT_TRUE(oneFive <= two);
    EXPECT_TRUE(two >= oneFive);
    EXPECT_TRUE(oneFive >= two);
}

TEST(VLVersion, EqualOnesAreNeitherLessNorGreater) {
    const VLVersion version(1, 2, 3, 4);
    const VLVersion same(1, 2, 3, 4);
    EXPECT_FALSE(version < same);
    EXPECT_FALSE(version > same);
    EXPECT_TRUE(version <= same);
    EXPECT_TRUE(version >= same);
}

TEST(VLVersion, ShortFormLeavesOutTheRevision) {
    EXPECT_EQ(bytesOf(VLVersion("1.2.3.4").ToString(false)), "1.2.3.4");
    EXPECT_EQ(bytesOf(VLVersion("1.2.3.4").ToString(true)), "1.2.4");
    EXPECT_EQ(bytesOf(VLVersion().ToString(true)), "0.0.0");
    EXPECT_EQ(bytesOf(VLVersion(INT_MIN, INT_MAX, -1, 0).ToString(false)), "-2147483648.2147483647.-1.0");
}

TEST(VLVersion, NumberIsTheTextWithoutDots) {
    EXPECT_EQ(VLVersion(1, 2, 3, 4).ToUInt(false), 1234U);
    EXPECT_EQ(VLVersion(1, 2, 3, 4).ToUInt(true), 124U);
    EXPECT_EQ(VLVersion(1, 0, 0, 12).ToUInt(false), 10012U);
    EXPECT_EQ(VLVersion().ToUInt(false), 0U);
}
