#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The first element of an XML property list, reduced to bare tags and text: no comments, attributes,
/// declarations and processing instructions, and `<key></key>` for `<key/>`, which libplist does not read.
/// Nothing when the text is not well-formed UTF-8, holds a zero byte, does not close what it opens in the
/// right order, has anything but text inside a value, has an internal subset, or nests more than `deepest`
/// elements.
///
/// libplist is recursive where it frees and writes a list; it then sees exactly the elements counted here.
std::optional<std::string> reducePropertyListXml(std::string_view xml, std::size_t deepest);
