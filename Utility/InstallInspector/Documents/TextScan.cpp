#include "Utility/InstallInspector/Documents/TextScan.h"

#include <cctype>
#include <cstring>

namespace {

bool isNameCharacter(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 || std::isalnum(byte) != 0 || c == '_' || c == '-' || c == '.' || c == ':';
}

class Scanner {
public:
    explicit Scanner(const std::string& xml) : text(xml) {}

    TextScan run() {
        while (index < text.size()) {
            if (text[index] == '<') {
                markup();
            } else {
                character();
            }
        }
        if (!open.empty() && !scan.mismatch.has_value()) {
            scan.mismatch = TextScan::Mismatch{open.back().name, open.back().where, "", position};
        }
        scan.end = position;
        return scan;
    }

private:
    struct Tag {
        std::string name;
        TextPosition where;
    };

    const std::string& text;
    std::size_t index = 0;
    TextPosition position;
    std::vector<Tag> open;
    TextScan scan;

    void step() {
        const char c = text[index++];
        if (c == '\n') {
            ++position.line;
            position.column = 1;
        } else if ((static_cast<unsigned char>(c) & 0xC0U) != 0x80U) {
            ++position.column;
        }
    }

    void stepTo(std::size_t target) {
        while (index < target && index < text.size()) {
            step();
        }
    }

    bool startsWith(const char* word) const { return text.compare(index, std::strlen(word), word) == 0; }

    void through(const std::string& end, std::size_t from) {
        const std::size_t found = text.find(end, from);
        stepTo(found == std::string::npos ? text.size() : found + end.size());
    }

    void character() {
        if (text[index] == '&' && !isReference()) {
            scan.strayAmpersands.push_back(position);
        }
        step();
    }

    bool isReference() const {
        for (const char* known : {"&lt;", "&gt;", "&amp;", "&quot;", "&apos;", "&#"}) {
            if (startsWith(known)) {
                return true;
            }
        }
        return false;
    }

    void markup() {
        if (startsWith("<!--")) {
            through("-->", index + 4);
        } else if (startsWith("<![CDATA[")) {
            through("]]>", index);
        } else if (startsWith("<?") || startsWith("<!")) {
            through(">", index);
        } else {
            tag();
        }
    }

    void tag() {
        const TextPosition where = position;
        const bool bCloses = startsWith("</");
        stepTo(index + (bCloses ? 2 : 1));
        const std::size_t nameBegin = index;
        while (index < text.size() && isNameCharacter(text[index])) {
            step();
        }
        const std::string name = text.substr(nameBegin, index - nameBegin);
        const bool bEmpty = restOfTag();
        if (name.empty() || scan.mismatch.has_value()) {
            return;
        }
        if (!bCloses) {
            if (!bEmpty) {
                open.push_back({name, where});
            }
        } else if (!open.empty() && open.back().name == name) {
            open.pop_back();
        } else {
            const Tag last = open.empty() ? Tag{} : open.back();
            scan.mismatch = TextScan::Mismatch{last.name, last.where, name, where};
        }
    }

    /// Steps behind the tag's ">"; whether that stands behind a "/".
    bool restOfTag() {
        char quote = '\0';
        while (index < text.size()) {
            const char c = text[index];
            if (quote == '\0' && c == '>') {
                const bool bEmpty = text[index - 1] == '/';
                step();
                return bEmpty;
            }
            if (quote == '\0' && (c == '"' || c == '\'')) {
                quote = c;
            } else if (c == quote) {
                quote = '\0';
            }
            character();
        }
        return false;
    }
};

} // namespace

TextScan scanText(const std::string& text) {
    return Scanner(text).run();
}

TextPosition positionOf(const std::string& text, std::size_t offset) {
    TextPosition position;
    for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++position.line;
            position.column = 1;
        } else if ((static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80U) {
            ++position.column;
        }
    }
    return position;
}
