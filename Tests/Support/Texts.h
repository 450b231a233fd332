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

/// `piece` so many times.
inline std::string repeat(const std::string& piece, unsigned long times) {
    std::string text;
    text.reserve(piece.size() * times);
    for (unsigned long i = 0; i < times; ++i) {
        text += piece;
    }
    return text;
}
