#pragma once

#include <gtest/gtest.h>

#include <clocale>
#include <string>

/// Runs tests in a locale with characters of up to four bytes.
class UTF8Locale : public testing::Test {
protected:
    void SetUp() override {
        previous = std::setlocale(LC_CTYPE, nullptr);
        if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) {
            GTEST_SKIP() << "no locale C.UTF-8 on this machine";
        }
    }
    void TearDown() override { EXPECT_NE(std::setlocale(LC_CTYPE, previous.c_str()), nullptr); }

private:
    std::string previous;
};
