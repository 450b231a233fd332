#pragma once

#include <gtest/gtest.h>

#include <cstddef>

/// The number of existing CoreFoundation objects. Always 0 on platforms that do not count them.
std::size_t liveObjects();

/// A test that fails if the number of CoreFoundation objects changes.
class BalancedObjectsTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(liveObjects(), objectsBefore); }

private:
    const std::size_t objectsBefore = liveObjects();
};
