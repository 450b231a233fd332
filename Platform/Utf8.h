#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

// UTF-8 as in RFC 3629. Overlong forms, encoded surrogates and values above U+10FFFF are not UTF-8.

/// The length in bytes of the character at `index`, which must be inside the text. 0 if there is no
/// character.
std::size_t utf8Length(std::string_view text, std::size_t index);
/// The number of bytes before the first byte that is not UTF-8.
std::size_t lengthOfUtf8(std::string_view text);
bool isUtf8(std::string_view text);
/// The length of `text` in UTF-16 units. No value if it is not UTF-8.
std::optional<std::size_t> utf16Length(std::string_view text);
