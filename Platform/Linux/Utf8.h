#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

/// The number of UTF-16 units that `text` takes; nothing when it is not well-formed UTF-8 (overlong forms,
/// encoded surrogates and values above U+10FFFF are not).
std::optional<std::size_t> utf16Length(std::string_view text);
