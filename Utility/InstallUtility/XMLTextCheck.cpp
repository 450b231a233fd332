#include "Utility/InstallUtility/XMLTextCheck.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
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

/// The classes of bytes as TinyXML sees them. It uses the C library, so they depend on the locale.
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

/// Reads the text like the parser, but builds nothing.
///
/// It must see the same tags as the parser, including the parser's strange cases. Otherwise a document could
/// hide its depth, for example after an incomplete UTF-8 character that hides the end of a quoted value. So
/// it follows TinyXML's own rules. Where the parser stops with an error, this check may stop or go on.
class TextCheck {
public:
    explicit TextCheck(const char* text)
        : p(text),
          stepsLeft(std::max(XMLTextCheck::maxSteps, XMLTextCheck::maxStepsPerByte * std::strlen(text))) {}

    /// Whether the text is safe for the parser.
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
    const char* p;           ///< the next byte that the parser reads
    unsigned long stepsLeft; ///< how many more steps the parser may need
    Encoding encoding = Encoding::Unknown;
    unsigned long depth = 0;          ///< of open elements
    const char* valueBegin = nullptr; ///< the last attribute value, as it stands in the text
    const char* valueEnd = nullptr;
    bool bRefused = false;

    // Each of these functions skips one part at `p`. False: the parser stops here with an error, or the text
    // is refused.

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
        if (bytes.isNameStart(p[1])) {
            return element();
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
        return through(">");
    }

    /// Byte order marks count as space everywhere.
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
        // The parser does not check the bytes after the first. A quote or a "<" among them is text.
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

    /// To the parser, a number ends at the next ";", even after quotes and tags. It reads the digits
    /// backwards from there.
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
        if (depth == XMLTextCheck::maxDepth) {
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
            if (attributes == XMLTextCheck::maxAttributes) {
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
                // The parser would resolve a reference here. No name of an encoding contains one.
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

} // namespace

bool XMLTextCheck::passes(const char* text) {
    return TextCheck(text).passes();
}
