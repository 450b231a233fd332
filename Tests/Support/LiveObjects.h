#pragma once

#include <gtest/gtest.h>

#include <cstddef>

/// How many CoreFoundation objects exist; always 0 where the platform does not count them.
std::size_t liveObjects();

/// A test that fails unless as many CoreFoundation objects exist at its end as at its beginning.
class BalancedObjectsTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(liveObjects(), objectsBefore); }

private:
    const std::size_t objectsBefore = liveObjects();
};
