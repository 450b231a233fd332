#pragma once

#include "Foundation/VLString.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

/// Prints these types in a failed assertion. Include this in tests that compare them.
inline void PrintTo(const VLString& string, std::ostream* out) {
    *out << testing::PrintToString(std::string(string.ConstData(), string.Size()));
}

inline void PrintTo(const VLUnicodeString& string, std::ostream* out) {
    *out << testing::PrintToString(std::wstring(string.ConstData(), string.Size()));
}
