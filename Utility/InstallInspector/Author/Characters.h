#pragma once

#include <algorithm>
#include <string>

/// A blank within a line of a definition.
inline bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

/// Whether the text has a control character of ASCII.
inline bool hasControlCharacter(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; });
}
