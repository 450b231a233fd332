#pragma once

/// The look at an XML text before TinyXML parses it. It finds what the parser must not be given:
///  - elements nested so deep that the parser's recursion, and that of every later walk, would overflow the
///    stack;
///  - so many attributes on one element that comparing each with all others would not end;
///  - so many nodes so deep down that climbing to the root from each would not end;
///  - a character cut off by the end of the text, over which the parser would step into foreign memory;
///  - a declaration without an end, on which TinyXML 2.6.2 as released aborts (CVE-2023-34194).
///
/// What is well-formed is left to the parser. The look costs time in proportion to the text, and no memory.
namespace XMLTextCheck {

/// The most elements nested in each other. The parser recurses for each level, as our own walks do.
constexpr unsigned long maxDepth = 1000;
/// The most attributes of one element. The parser compares each with all others.
constexpr unsigned long maxAttributes = 1000;
/// The parser climbs from each node to the root, and it compares each attribute with those before it. Within
/// the two limits above, 100 MB of text could make it do that for minutes. So a text is refused when these
/// steps are more than `maxSteps` and more than `maxStepsPerByte` for each of its bytes.
constexpr unsigned long maxSteps = 200'000'000;
constexpr unsigned long maxStepsPerByte = 16;

/// Whether TinyXML can be given `text`, which ends with a zero byte.
bool passes(const char* text);

} // namespace XMLTextCheck
