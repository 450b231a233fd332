#pragma once

#include "Foundation/VLString.h"

#include <gtest/gtest.h>

#include <ostream>

/// Lets a failed assertion show the text.
inline void PrintTo(const VLString& text, std::ostream* out) {
    *out << testing::PrintToString(text.ConstData());
}
