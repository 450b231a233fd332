#pragma once

/// Checks an XML text before TinyXML parses it. Refuses texts that would harm the parser:
///  - nesting so deep that recursion, in the parser or in a later walk, would overflow the stack;
///  - so many attributes on one element that comparing all of them would take minutes;
///  - so many nodes at such a depth that climbing to the root from each would take minutes;
///  - a character that the end of the text cuts off, after which the parser would read past the end;
///  - a declaration without an end, on which TinyXML 2.6.2 as released aborts (CVE-2023-34194).
///
/// Does not check whether the text is well-formed. The time is proportional to the text. Needs no memory.
namespace XMLTextCheck {

/// The largest number of nested elements. The parser and our own walks recurse for each level.
constexpr unsigned long maxDepth = 1000;
/// The largest number of attributes of an element. The parser compares each attribute with all others.
constexpr unsigned long maxAttributes = 1000;
/// The parser climbs from each node to the root and compares each attribute with those before it. Within the
/// two limits above, this could take minutes for a text of 100 MB. So a text is refused if these steps are
/// more than `maxSteps` and more than `maxStepsPerByte` for each byte.
constexpr unsigned long maxSteps = 200'000'000;
constexpr unsigned long maxStepsPerByte = 16;

/// Whether `text` is safe for TinyXML. `text` ends with a zero byte.
bool passes(const char* text);

} // namespace XMLTextCheck
