#include "Foundation/VLString.h"
#include "Tests/Support/VLStringPrinter.h"

#include <gtest/gtest.h>

TEST(Vector, RemovesByIndex) {
    Vector<int> vector{1, 2, 3};
    vector.remove(1);
    EXPECT_EQ(vector, (Vector<int>{1, 3}));
    vector.remove(1);
    vector.remove(0);
    EXPECT_TRUE(vector.empty());
}

TEST(Vector, IgnoresAnIndexPastTheEnd) {
    Vector<int> vector{1, 2};
    vector.remove(vector.size());
    vector.remove(VLString::maxLen);
    EXPECT_EQ(vector, (Vector<int>{1, 2}));
    Vector<int> empty;
    empty.remove(0);
    EXPECT_TRUE(empty.empty());
}

TEST(Vector, IsAStandardVector) {
    Vector<VLString> vector(2, VLString("a"));
    vector.push_back("b");
    const std::vector<VLString>& standard = vector;
    EXPECT_EQ(standard, (std::vector<VLString>{"a", "a", "b"}));
}
