#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

// UTF-8 as the standard has it: overlong forms, encoded surrogates and values above U+10FFFF are none.

/// Length in bytes of the character at `index`, which is inside the text; 0 when the bytes there are none.
std::size_t utf8Length(std::string_view text, std::size_t index);
/// Bytes before the first that is no UTF-8.
std::size_t lengthOfUtf8(std::string_view text);
bool isUtf8(std::string_view text);
/// The number of UTF-16 units that `text` takes; nothing when it is not UTF-8.
std::optional<std::size_t> utf16Length(std::string_view text);
