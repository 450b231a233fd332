#include "Utility/InstallUtility/XMLDocument.h"

#include "Foundation/Machine.h"
#include "Utility/InstallUtility/XMLTextCheck.h"

#include <cstring>
#include <memory>

namespace {

bool parseText(const char* text, TiXmlDocument& document) {
    document.Clear();
    // With a tab size of 0, the parser does not count rows and columns. TinyXML 2.6.2 as released never
    // returns when it counts them in a text that ends with a single 0xEF (CVE-2021-42260).
    document.SetTabSize(0);
    if (!XMLTextCheck::passes(text)) {
        return false;
    }
    document.Parse(text, nullptr, TIXML_ENCODING_UNKNOWN);
    if (document.Error()) {
        document.Clear();
    }
    return !document.Error();
}

} // namespace

namespace XMLDocument {

bool Load(const VLString& path, TiXmlDocument& document) {
    const FileContent content = Machine::current().readFile(path);
    if (content.bytes == nullptr) {
        document.Clear();
        return false;
    }
    return ParseBytes(content.bytes.get(), document);
}

void NormaliseLineEnds(char* text) {
    char* to = std::strchr(text, '\r');
    if (to == nullptr) {
        return;
    }
    for (const char* from = to; *from != '\0'; ++from) {
        if (*from != '\r') {
            *to++ = *from;
        } else if (from[1] != '\n') {
            *to++ = '\n';
        }
    }
    *to = '\0';
}

bool ParseBytes(char* bytes, TiXmlDocument& document) {
    NormaliseLineEnds(bytes);
    return parseText(bytes, document);
}

bool Parse(const VLString& text, TiXmlDocument& document) {
    return parseText(text.ConstData(), document);
}

VLString Attribute(const TiXmlElement& element, const char* name) {
    return VLString(element.Attribute(name));
}

} // namespace XMLDocument
