#pragma once

#include "Foundation/VLString.h"

#include <tinyxml.h>

/// The one way in which XML comes in. What it says is data from elsewhere: no text, however malformed, deep
/// or large, crashes a reader or makes it hang. Reading costs time and memory in proportion to the text.
///
/// A text counts as malformed when XMLTextCheck or the parser refuses it. The document then has no children.
/// Text after a zero byte is not looked at. Nodes do not know their rows and columns.
namespace XMLDocument {

/// Reads the file at `path` into `document`, which is emptied first. Line ends of other systems (CR LF, CR)
/// are read as line feeds. On failure (the file cannot be read, is empty or is malformed) gives false.
bool Load(const VLString& path, TiXmlDocument& document);
/// The same for the bytes of a file that has been read already; they end with a zero byte, and are changed.
bool ParseBytes(char* bytes, TiXmlDocument& document);

/// Parses `text` as it stands into `document`, which is emptied first. False when it is empty or malformed.
bool Parse(const VLString& text, TiXmlDocument& document);

/// The attribute `name` of `element`. An absent one counts as empty.
VLString Attribute(const TiXmlElement& element, const char* name);

/// The first child of that name. When it is not an element, gives null. Whatever is not an element has its
/// text for a name here, as everywhere in TinyXML.
inline TiXmlElement* FirstChild(TiXmlNode& parent, const char* name) {
    TiXmlNode* child = parent.FirstChild(name);
    return child == nullptr ? nullptr : child->ToElement();
}

/// Calls `visit` with a reference to each child element of that name, in document order. `visit` may remove
/// the element from its parent. `parent` may be null.
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
