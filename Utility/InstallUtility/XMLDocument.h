#pragma once

#include "Foundation/VLString.h"

#include <tinyxml.h>

/// Reads XML with TinyXML, for the whole program. No text crashes a reader or makes it hang, however
/// malformed, deep or large it is. Time and memory are proportional to the text.
///
/// A text counts as malformed if XMLTextCheck or the parser refuses it. The document then has no children.
/// Text after a zero byte is ignored. Nodes have no rows and columns.
namespace XMLDocument {

/// Empties `document` and reads the file at `path` into it. CR LF and CR are read as LF. Returns false if the
/// file cannot be read, is empty or is malformed.
bool Load(const VLString& path, TiXmlDocument& document);
/// The same for the bytes of a file, which end with a zero byte. Changes `bytes`.
bool ParseBytes(char* bytes, TiXmlDocument& document);

/// Turns CR LF, and CR alone, into LF, in a text that ends with a zero byte.
void NormaliseLineEnds(char* text);

/// Parses `text` as it stands into `document`, which is emptied first. False when it is empty or malformed.
bool Parse(const VLString& text, TiXmlDocument& document);

/// The attribute `name` of `element`. "" if it is missing.
VLString Attribute(const TiXmlElement& element, const char* name);

/// The first child with this name. Null if it is not an element. In TinyXML, the name of a comment or text is
/// its text.
inline TiXmlElement* FirstChild(TiXmlNode& parent, const char* name) {
    TiXmlNode* child = parent.FirstChild(name);
    return child == nullptr ? nullptr : child->ToElement();
}

/// Calls `visit` with each child element that has this name, in document order. `visit` may remove the
/// element from its parent. `parent` may be null.
template <class Visitor>
void ForEachChild(TiXmlNode* parent, const char* name, Visitor visit) {
    if (parent == nullptr) {
        return;
    }
    TiXmlNode* next = nullptr;
    for (TiXmlNode* child = parent->FirstChild(name); child != nullptr; child = next) {
        next = child->NextSibling(name);
        if (TiXmlElement* element = child->ToElement()) {
            visit(*element);
        }
    }
}

} // namespace XMLDocument
