#include "Foundation/VLString.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

const _GUID sample{0x01234567, 0x89ab, 0xcdef, {0xfe, 0xdc, 0xba, 0x98, 0x76, 0x54, 0x32, 0x10}};
constexpr const char* sampleText = "01234567-89ab-cdef-fedc-ba9876543210";

void expectEqual(const _GUID& guid, const _GUID& expected) {
    EXPECT_EQ(guid.Data1, expected.Data1);
    EXPECT_EQ(guid.Data2, expected.Data2);
    EXPECT_EQ(guid.Data3, expected.Data3);
    EXPECT_EQ(std::memcmp(guid.Data4, expected.Data4, sizeof guid.Data4), 0);
}

} // namespace

TEST(GUID, TextIsLowerCaseGroupsWithoutBraces) {
    VLString text("old text");
    EXPECT_STREQ(text.FromGUID(sample).ConstData(), sampleText);
    EXPECT_EQ(text.Size(), 36UL);
}

TEST(GUID, SmallFieldsKeepTheirLeadingZeros) {
    VLString text;
    EXPECT_STREQ(text.FromGUID({1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}}).ConstData(),
                 "00000001-0002-0003-0405-060708090a0b");
    EXPECT_STREQ(text.FromGUID({}).ConstData(), "00000000-0000-0000-0000-000000000000");
    EXPECT_STREQ(
        text.FromGUID({0xffffffff, 0xffff, 0xffff, {255, 255, 255, 255, 255, 255, 255, 255}}).ConstData(),
        "ffffffff-ffff-ffff-ffff-ffffffffffff");
}

TEST(GUID, TextIsReadBack) {
    bool ok = false;
    expectEqual(VLString(sampleText).GetGUID(&ok), sample);
    EXPECT_TRUE(ok);
}

TEST(GUID, CapitalsAndTextBehindAreAccepted) {
    bool ok = false;
    expectEqual(VLString("01234567-89AB-CDEF-FEDC-BA9876543210 and more").GetGUID(&ok), sample);
    EXPECT_TRUE(ok);
}

TEST(GUID, AllZerosAreReadAsAValidText) {
    bool ok = false;
    expectEqual(VLString("00000000-0000-0000-0000-000000000000").GetGUID(&ok), {});
    EXPECT_TRUE(ok);
}

TEST(GUID, IncompleteTextGivesZerosAndFails) {
    for (const char* text :
         {"", "xyz", "01234567", "01234567-89ab-cdef-fedc", "0123456789abcdeffedcba9876543210",
          "{01234567-89ab-cdef-fedc-ba9876543210}", "01234567-89ab-cdef-fedc-ba98765432",
          "01234567-89ab-cdef-fedc-ba98765432xx", "01234567-89ab-cdef-fedcba9876543210"}) {
        SCOPED_TRACE(text);
        bool ok = true;
        expectEqual(VLString(text).GetGUID(&ok), {});
        EXPECT_FALSE(ok);
    }
}

TEST(GUID, ResultOfReadingNeedNotBeAskedFor) {
    expectEqual(VLString(sampleText).GetGUID(nullptr), sample);
    expectEqual(VLString("xyz").GetGUID(nullptr), {});
}
