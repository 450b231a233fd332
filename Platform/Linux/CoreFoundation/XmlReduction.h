#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Reduces the first element of an XML property list to tags and text. Comments, attributes, declarations and
/// processing instructions are removed. `<key/>` becomes `<key></key>`, because libplist does not read it.
///
/// No value if the text is not UTF-8, contains a zero byte, closes elements in the wrong order, has more than
/// text inside a value, has an internal subset, or has more than `deepest` nested elements.
///
/// The limit protects libplist, which frees and writes lists by recursion.
std::optional<std::string> reducePropertyListXml(std::string_view xml, std::size_t deepest);
