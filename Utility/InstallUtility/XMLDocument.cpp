#include "Utility/InstallUtility/XMLDocument.h"

#include "Foundation/Machine.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <memory>
#include <strings.h>

namespace {

bool startsWith(const char* text, const char* word) {
    return std::strncmp(text, word, std::strlen(word)) == 0;
}

bool startsWithIgnoreCase(const char* text, const char* word) {
    return strncasecmp(text, word, std::strlen(word)) == 0;
}

unsigned char byteOf(char c) {
    return static_cast<unsigned char>(c);
}

/// What TinyXML takes each byte for; it asks the C library, and so the locale, each time.
class ByteClasses {
public:
    ByteClasses() {
        constexpr unsigned int firstBeyondASCII = 127;
        for (unsigned int byte = 0; byte < classes.size(); ++byte) {
            const int c = static_cast<int>(byte);
            const bool bLetter = byte >= firstBeyondASCII || std::isalpha(c) != 0 || c == '_';
            const bool bInName = bLetter || std::isalnum(c) != 0 || c == '-' || c == '.' || c == ':';
            classes[byte] = static_cast<unsigned char>((std::isspace(c) != 0 ? space : 0) |
                                                       (bLetter ? nameStart : 0) | (bInName ? name : 0));
        }
    }

    bool isSpace(char c) const { return has(c, space); }
    bool isNameStart(char c) const { return has(c, nameStart); }
    bool isInName(char c) const { return has(c, name); }

private:
    enum Class : unsigned char { space = 1, nameStart = 2, name = 4 };

    bool has(char c, Class kind) const { return (classes[byteOf(c)] & kind) != 0; }

    std::array<unsigned char, 256> classes = {};
};

/// The one look at a text before TinyXML parses it: follows the text as the parser will, without building
/// anything, and finds what the parser must not be given:
///  - elements nested so deep that its recursion, and that of every later walk, would overflow the stack;
///  - so many attributes on one element that comparing each with all others would not end, or so many nodes
///    so deep down that climbing to the root from each would not;
///  - a character cut off by the end of the text, over which the parser would step into foreign memory;
///  - a declaration without an end, on which TinyXML 2.6.2 as released aborts (CVE-2023-34194).
///
/// It has to see the same tags as the parser, oddities included, or a document could hide its depth: in a
/// quoted value that a cut-off UTF-8 character leads out of, say. So it keeps TinyXML's own rules of what
/// ends what. Where the parser gives up, the look may end or go on; it never needs to tell.
class TextCheck {
public:
    explicit TextCheck(const char* text)
        : p(text),
          stepsLeft(std::max(XMLDocument::maxSteps, XMLDocument::maxStepsPerByte * std::strlen(text))) {}

    /// Whether the parser can be given the text.
    bool passes() {
        if (startsWith(p, "\xEF\xBB\xBF")) {
            encoding = Encoding::UTF8;
        }
        do {
            skipSpace();
        } while (*p != '\0' && next());
        return !bRefused;
    }

private:
    enum class Encoding { Unknown, UTF8, Other };

    const ByteClasses bytes;
    const char* p;           ///< the byte that the parser looks at next
    unsigned long stepsLeft; ///< that the parser may take
    Encoding encoding = Encoding::Unknown;
    unsigned long depth = 0;          ///< of open elements
    const char* valueBegin = nullptr; ///< the last attribute value, as it stands in the text
    const char* valueEnd = nullptr;
    bool bRefused = false;

    // Each of these steps over what stands at `p`. False: here the parser gives up, or the text is refused.

    bool refuse() {
        bRefused = true;
        return false;
    }

    bool spend(unsigned long steps) {
        if (steps > stepsLeft) {
            return refuse();
        }
        stepsLeft -= steps;
        return true;
    }

    bool next() {
        if (!spend(depth)) {
            return false;
        }
        if (*p != '<') {
            return depth > 0 && text();
        }
        if (depth > 0 && p[1] == '/') {
            return endTag();
        }
        if (startsWithIgnoreCase(p, "<?xml")) {
            return declaration();
        }
        if (startsWith(p, "<!--")) {
            p += 4;
            return through("-->");
        }
        if (startsWith(p, "<![CDATA[")) {
            p += 9;
            return through("]]>");
        }
        return bytes.isNameStart(p[1]) ? element() : through(">");
    }

    /// Byte order marks count as space, wherever they are.
    void skipSpace() {
        for (;;) {
            if (bytes.isSpace(*p)) {
                ++p;
            } else if (encoding == Encoding::UTF8 && isByteOrderMark()) {
                p += 3;
            } else {
                return;
            }
        }
    }

    bool isByteOrderMark() const {
        return *p == '\xEF' && (startsWith(p + 1, "\xBB\xBF") || startsWith(p + 1, "\xBF\xBE") ||
                                startsWith(p + 1, "\xBF\xBF"));
    }

    bool through(const char* end) {
        const char* found = std::strstr(p, end);
        p = found == nullptr ? p + std::strlen(p) : found + std::strlen(end);
        return found != nullptr;
    }

    bool text() {
        while (*p != '\0' && *p != '<') {
            if (!character()) {
                return false;
            }
        }
        return true;
    }

    bool character() {
        if (*p == '&') {
            return reference();
        }
        // The bytes that follow the first are not looked at: a quote or a "<" among them is text.
        for (unsigned long left = characterSize(); left > 0; --left, ++p) {
            if (*p == '\0') {
                return refuse();
            }
        }
        return true;
    }

    unsigned long characterSize() const {
        const unsigned char first = byteOf(*p);
        if (encoding != Encoding::UTF8 || first < 0xC2 || first > 0xF4) {
            return 1;
        }
        return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    }

    /// The parser takes a number's end to be the next ";" wherever that is, past quotes and tags, and reads
    /// the digits backwards from there.
    bool reference() {
        if (p[1] != '#') {
            ++p;
            return true;
        }
        const bool bHexadecimal = p[2] == 'x';
        const char* mark = p + (bHexadecimal ? 2 : 1);
        const char* end = std::strchr(mark, ';');
        if (end == nullptr) {
            return false;
        }
        for (const char* digit = end - 1; *digit != *mark; --digit) {
            if ((bHexadecimal ? std::isxdigit(byteOf(*digit)) : std::isdigit(byteOf(*digit))) == 0) {
                return false;
            }
        }
        p = end + 1;
        return true;
    }

    bool name() {
        if (!bytes.isNameStart(*p)) {
            return false;
        }
        skipName();
        return true;
    }

    void skipName() {
        while (bytes.isInName(*p)) {
            ++p;
        }
    }

    bool element() {
        if (depth == XMLDocument::maxDepth) {
            return refuse();
        }
        ++p;
        skipSpace();
        if (!name()) {
            return false;
        }
        for (unsigned long attributes = 0;; ++attributes) {
            skipSpace();
            if (*p == '>') {
                ++p;
                ++depth;
                return true;
            }
            if (*p == '/') {
                p += p[1] == '>' ? 2 : 1;
                return p[-1] == '>';
            }
            if (attributes == XMLDocument::maxAttributes) {
                return refuse();
            }
            if (!spend(attributes) || !attribute()) {
                return false;
            }
        }
    }

    bool endTag() {
        p += 2;
        skipName();
        skipSpace();
        if (*p != '>') {
            return false;
        }
        ++p;
        --depth;
        return true;
    }

    bool attribute() {
        if (!name()) {
            return false;
        }
        skipSpace();
        if (*p != '=') {
            return false;
        }
        ++p;
        skipSpace();
        return *p == '"' || *p == '\'' ? quotedValue() : bareValue();
    }

    bool quotedValue() {
        const char quote = *p++;
        valueBegin = p;
        while (*p != quote) {
            if (*p == '\0' || !character()) {
                return false;
            }
        }
        valueEnd = p++;
        return true;
    }

    bool bareValue() {
        valueBegin = p;
        while (*p != '\0' && !bytes.isSpace(*p) && *p != '/' && *p != '>') {
            if (*p == '"' || *p == '\'') {
                return false;
            }
            ++p;
        }
        valueEnd = p;
        return true;
    }

    bool declaration() {
        p += 5;
        Encoding declared = Encoding::UTF8;
        while (skipSpace(), *p != '>') {
            const bool bEncoding = startsWithIgnoreCase(p, "encoding");
            if (bEncoding || startsWithIgnoreCase(p, "version") || startsWithIgnoreCase(p, "standalone")) {
                if (!attribute()) {
                    return refuse();
                }
                // No encoding has a reference in its name; the parser would resolve it.
                if (bEncoding && std::find(valueBegin, valueEnd, '&') != valueEnd) {
                    return refuse();
                }
                declared = bEncoding ? declaredEncoding() : declared;
            } else if (!word()) {
                return refuse();
            }
        }
        ++p;
        if (depth == 0 && encoding == Encoding::Unknown) {
            encoding = declared;
        }
        return true;
    }

    Encoding declaredEncoding() const {
        const bool bUTF8 = valueBegin == valueEnd || startsWithIgnoreCase(valueBegin, "UTF-8") ||
                           startsWithIgnoreCase(valueBegin, "UTF8");
        return bUTF8 ? Encoding::UTF8 : Encoding::Other;
    }

    bool word() {
        while (*p != '\0' && *p != '>' && !bytes.isSpace(*p)) {
            ++p;
        }
        return *p != '\0';
    }
};

bool parseText(const char* text, TiXmlDocument& document) {
    document.Clear();
    // Without tabs the parser does not keep track of rows and columns, which TinyXML 2.6.2 as released cannot
    // do for a text that ends in a lone 0xEF (CVE-2021-42260: it never returns).
    document.SetTabSize(0);
    if (!TextCheck(text).passes()) {
        return false;
    }
    document.Parse(text, nullptr, TIXML_ENCODING_UNKNOWN);
    if (document.Error()) {
        document.Clear();
    }
    return !document.Error();
}

/// Turns CR LF, and CR alone, into LF.
void normaliseLineEnds(char* text) {
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

bool ParseBytes(char* bytes, TiXmlDocument& document) {
    normaliseLineEnds(bytes);
    return parseText(bytes, document);
}

bool Parse(const VLString& text, TiXmlDocument& document) {
    return parseText(text.ConstData(), document);
}

VLString Attribute(const TiXmlElement& element, const char* name) {
    return VLString(element.Attribute(name));
}

} // namespace XMLDocument
