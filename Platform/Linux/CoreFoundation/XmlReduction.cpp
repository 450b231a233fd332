#include "Platform/Linux/CoreFoundation/XmlReduction.h"

#include "Platform/Utf8.h"

#include <vector>

namespace {

constexpr std::string_view whiteSpace = " \t\r\n";
constexpr std::string_view cdataStart = "<![CDATA[";
constexpr std::string_view cdataEnd = "]]>";

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

bool isContainer(std::string_view element) {
    return element == "plist" || element == "dict" || element == "array";
}

class Reducer {
public:
    Reducer(std::string_view xml, std::size_t mostNesting) : rest(xml), deepest(mostNesting) {}

    std::optional<std::string> run() {
        while (!bDone) {
            if (!readText() || rest.empty() || !readMarkup()) {
                return std::nullopt;
            }
        }
        return std::move(reduced);
    }

private:
    bool isInValue() const { return !open.empty() && !isContainer(open.back()); }

    /// Removes the text up to and including `end` from the front.
    bool skipPast(std::string_view end) {
        const auto found = rest.find(end);
        if (found == std::string_view::npos) {
            return false;
        }
        rest.remove_prefix(found + end.size());
        return true;
    }

    bool readText() {
        const auto text = rest.substr(0, rest.find('<'));
        rest.remove_prefix(text.size());
        if (!isInValue()) {
            return text.find_first_not_of(whiteSpace) == std::string_view::npos;
        }
        appendText(text);
        return true;
    }

    /// For each entity, libplist moves the rest of the text up to the next section. An empty CDATA section
    /// ends that text, so the time for many entities is proportional to the length.
    void appendText(std::string_view text) {
        constexpr int mostEntities = 64;
        int entities = 0;
        for (auto end = text.find(';'); end != std::string_view::npos; end = text.find(';')) {
            reduced += text.substr(0, end + 1);
            text.remove_prefix(end + 1);
            if (++entities % mostEntities == 0) {
                (reduced += cdataStart) += cdataEnd;
            }
        }
        reduced += text;
    }

    bool readMarkup() {
        if (startsWith(rest, "</")) {
            return readEndTag();
        }
        if (isInValue()) {
            return startsWith(rest, cdataStart) && readCData();
        }
        if (startsWith(rest, "<?")) {
            return skipPast("?>");
        }
        if (startsWith(rest, "<!--")) {
            rest.remove_prefix(4);
            return skipPast("-->");
        }
        if (startsWith(rest, "<!DOCTYPE")) {
            const auto end = findUnquoted("[>");
            const bool bNoSubset = end != std::string_view::npos && rest[end] == '>';
            return bNoSubset && skipPast(rest.substr(0, end + 1));
        }
        return readStartTag();
    }

    bool readCData() {
        const auto end = rest.find(cdataEnd, cdataStart.size());
        if (end == std::string_view::npos) {
            return false;
        }
        reduced += rest.substr(0, end + cdataEnd.size());
        rest.remove_prefix(end + cdataEnd.size());
        return true;
    }

    /// The first position of one of `characters` outside of quotes.
    std::size_t findUnquoted(std::string_view characters) const {
        char quote = '\0';
        for (std::size_t i = 0; i < rest.size(); ++i) {
            const char c = rest[i];
            if (quote != '\0') {
                quote = c == quote ? '\0' : quote;
            } else if (characters.find(c) != std::string_view::npos) {
                return i;
            } else if (c == '"' || c == '\'') {
                quote = c;
            }
        }
        return std::string_view::npos;
    }

    bool readStartTag() {
        const auto end = findUnquoted(">");
        if (end == std::string_view::npos) {
            return false;
        }
        const auto tag = rest.substr(1, end - 1);
        const auto name = tag.substr(0, tag.find_first_of(" \t\r\n/"));
        rest.remove_prefix(end + 1);
        const bool bEmpty = !tag.empty() && tag.back() == '/';
        if (open.size() >= deepest) {
            return false;
        }
        open.push_back(name);
        if (bEmpty && name != "key") {
            ((reduced += '<') += name) += "/>";
            close();
        } else {
            ((reduced += '<') += name) += '>';
            if (bEmpty) {
                appendEndTag();
            }
        }
        return true;
    }

    bool readEndTag() {
        const auto end = rest.find('>');
        if (end == std::string_view::npos) {
            return false;
        }
        auto name = rest.substr(2, end - 2);
        name = name.substr(0, name.find_last_not_of(whiteSpace) + 1);
        rest.remove_prefix(end + 1);
        if (open.empty() || name != open.back()) {
            return false;
        }
        appendEndTag();
        return true;
    }

    void appendEndTag() {
        ((reduced += "</") += open.back()) += '>';
        close();
    }

    void close() {
        open.pop_back();
        // Like the framework, ignores what follows the first element.
        bDone = open.empty();
    }

    std::string_view rest;
    const std::size_t deepest;
    std::string reduced;
    std::vector<std::string_view> open;
    bool bDone = false;
};

} // namespace

std::optional<std::string> reducePropertyListXml(std::string_view xml, std::size_t deepest) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (startsWith(xml, byteOrderMark)) {
        xml.remove_prefix(byteOrderMark.size());
    }
    if (xml.find('\0') != std::string_view::npos || !isUtf8(xml)) {
        return std::nullopt;
    }
    return Reducer(xml, deepest).run();
}
