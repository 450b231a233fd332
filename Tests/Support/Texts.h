#pragma once

#include "Foundation/VLString.h"

#include <string>

/// All bytes of the text, also zero bytes.
inline std::string bytesOf(const VLString& text) {
    return {text.ConstData(), text.Size()};
}

/// A text of all those bytes, also zero bytes.
inline VLString textOf(const std::string& bytes) {
    return VLString(bytes.data(), bytes.size());
}
