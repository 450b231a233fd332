#include "Utility/InstallInspector/Documents/LocatedDocument.h"

#include "Foundation/FileLibrary.h"
#include "Foundation/Machine.h"
#include "Platform/Utf8.h"
#include "Utility/InstallInspector/Report/NearestName.h"
#include "Utility/InstallUtility/XMLDocument.h"
#include "Utility/InstallUtility/XMLTextCheck.h"

#include <cstring>
#include <utility>

namespace {

/// A bug of TinyXML 2.6.2: if the text ends inside a character, it reads beyond the end. This prevents it.
constexpr const char* behindText = "\n\n";

bool isUtf16(const std::string& text) {
    return text.compare(0, 2, "\xFF\xFE") == 0 || text.compare(0, 2, "\xFE\xFF") == 0;
}

/// The number of "<" in the text. There are at most as many elements.
std::size_t countTags(const std::string& text) {
    std::size_t count = 0;
    for (std::size_t tag = text.find('<'); tag != std::string::npos; tag = text.find('<', tag + 1)) {
        ++count;
    }
    return count;
}

std::string describe(const TextScan::Mismatch& mismatch) {
    const std::string line = std::to_string(mismatch.opened.line);
    if (mismatch.open.empty()) {
        return "</" + mismatch.closed + "> closes an element that is not open";
    }
    const std::string open = "<" + mismatch.open + "> of line " + line + " is not closed";
    return mismatch.closed.empty() ? open + " when the file ends"
                                   : open + " when </" + mismatch.closed + "> comes";
}

/// The advice for a wrong end tag. A tag that is similar to the right one is a misspelling. Any other may
/// close an outer element.
std::string adviseEndTag(const TextScan::Mismatch& mismatch) {
    const bool bSlip = nearestName(mismatch.closed, {mismatch.open}).has_value();
    return "Write </" + mismatch.open + (bSlip ? "> in its place." : "> before it.");
}

} // namespace

const TiXmlAttribute* findAttribute(const TiXmlElement& element, const char* name) {
    for (const TiXmlAttribute* attribute = element.FirstAttribute(); attribute != nullptr;
         attribute = attribute->Next()) {
        if (std::strcmp(attribute->Name(), name) == 0) {
            return attribute;
        }
    }
    return nullptr;
}

std::string lineOf(const TiXmlBase& node) {
    return "line " + std::to_string(node.Row());
}

bool comesBefore(const TiXmlBase& a, const TiXmlBase& b) {
    return a.Row() != b.Row() ? a.Row() < b.Row() : a.Column() < b.Column();
}

bool LocatedDocument::read(const std::string& filePath, Location::Document document, Kind root,
                           std::string& error) {
    file = filePath;
    documentKind = document;
    rootElementKind = root;
    const VLString name = toVLString(filePath);
    if (!FileLibrary::IsFileExists(name, false)) {
        error = FileLibrary::IsDirectoryExists(name) ? "is a folder" : "is not an existing file";
        return false;
    }
    const FileContent content = Machine::current().readFile(name);
    if (content.error != 0) {
        error = std::strerror(content.error);
        return false;
    }
    parse(textOf(content));
    return true;
}

bool LocatedDocument::readUsable(const std::string& filePath, Location::Document document, Kind root,
                                 std::string& error) {
    if (!read(filePath, document, root, error)) {
        error = filePath + " " + error;
        return false;
    }
    if (isReadable()) {
        return true;
    }
    const TextPosition where = parserFault.has_value() ? parserFault->where : TextPosition{};
    error = filePath + ":" + std::to_string(where.line) + ":" + std::to_string(where.column) + ": " +
            (parserFault.has_value() ? "not well-formed: " + parserFault->text
                                     : "no element <" + nameOf(root) + "> at the top of the document");
    return false;
}

std::string LocatedDocument::textOf(const FileContent& content) {
    std::string text;
    if (content.bytes != nullptr) {
        bCutByZeroByte = std::strlen(content.bytes.get()) < content.size;
        XMLDocument::NormaliseLineEnds(content.bytes.get());
        text.reserve(content.size + std::strlen(behindText));
        text = content.bytes.get();
    }
    bCutByZeroByte = bCutByZeroByte && !isUtf16(text);
    return text;
}

void LocatedDocument::parse(std::string text) {
    // TinyXML keeps places for documents with tabs alone, and the engine's reader has none. What the reader's
    // check lets pass can be parsed with them.
    const bool bRefused = !XMLTextCheck::passes(text.c_str());
    const std::size_t size = text.size();
    text += behindText;
    const char* end = nullptr;
    if (!bRefused) {
        parsed.SetTabSize(1);
        end = parsed.Parse(text.c_str(), nullptr, TIXML_ENCODING_UNKNOWN);
    }
    if (end != nullptr && *end != '\0') {
        rest = positionOf(text, static_cast<std::size_t>(end - text.c_str()));
    }
    text.resize(size);
    const bool bFault = bRefused || parsed.Error();
    if (bFault || bCutByZeroByte || text.find('&') != std::string::npos) {
        textScan = scanText(text);
    }
    if (bFault) {
        rest.reset();
        findFault(text, bRefused);
        parsed.Clear();
        return;
    }
    // Pointers to entries stay valid: there are at most as many as the text has "<".
    entryList.reserve(countTags(text));
    std::string().swap(text); // not in memory together with what follows
    collect(parsed, nullptr, {rootElementKind});
}

void LocatedDocument::forgetContent() {
    // The lists of a large document are large, too. Clearing them would not free their memory.
    entryList = std::vector<Entry>();
    unknown = std::vector<Unread>();
    repeated = std::vector<Unread>();
    hidden = std::vector<Unread>();
    textNodes = std::vector<const TiXmlText*>();
}

void LocatedDocument::findFault(const std::string& text, bool bRefused) {
    parserFault.emplace();
    parserFault->advice = "Mend the XML there.";
    if (text.empty()) {
        parserFault->text = "the file is empty";
        parserFault->advice = "Write the document <" + nameOf(rootElementKind) + ">.";
    } else if (isUtf16(text)) {
        parserFault->text = "the file is UTF-16, which the parser cannot read";
        parserFault->advice = "Save the file as UTF-8.";
    } else if (bRefused) {
        parserFault->text = "the document is too deep or too large for the parser, or breaks off";
        parserFault->advice = "Nest no more than " + std::to_string(XMLTextCheck::maxDepth) +
                              " elements, give none more than " +
                              std::to_string(XMLTextCheck::maxAttributes) +
                              " attributes, and end every declaration with \"?>\".";
    } else if (!isUtf8(text)) {
        parserFault->text = "a character that is not UTF-8";
        parserFault->where = positionOf(text, lengthOfUtf8(text));
        parserFault->advice = "Save the file as UTF-8.";
    } else if (textScan.mismatch.has_value()) {
        parserFault->text = describe(*textScan.mismatch);
        parserFault->where = textScan.mismatch->where;
        parserFault->advice = textScan.mismatch->open.empty()
                                  ? "Remove the end tag, or open the element before it."
                                  : adviseEndTag(*textScan.mismatch);
    } else {
        parserFault->text = std::string("the parser says: ") + parsed.ErrorDesc();
        while (!parserFault->text.empty() && parserFault->text.back() == '.') {
            parserFault->text.pop_back();
        }
        parserFault->where =
            parsed.ErrorRow() > 0 ? TextPosition{parsed.ErrorRow(), parsed.ErrorCol()} : textScan.end;
        parserFault->advice = "Write each attribute once and its value between quotes, and close every tag "
                              "with \">\".";
    }
}

/// What is known while the children of one node are gone through.
struct LocatedDocument::Level {
    const Entry* place;
    const TiXmlElement* parent;
    const std::vector<Kind>& kinds;
    /// By index in `kinds`: the first node of any type whose value is the name of the kind.
    std::vector<const TiXmlNode*> first;
};

void LocatedDocument::collect(TiXmlNode& parent, const Entry* place, const std::vector<Kind>& kinds) {
    Level level = {place, parent.ToElement(), kinds, std::vector<const TiXmlNode*>(kinds.size())};
    for (TiXmlNode* child = parent.FirstChild(); child != nullptr; child = child->NextSibling()) {
        for (std::size_t i = 0; i < kinds.size(); ++i) {
            if (level.first[i] == nullptr && child->ValueStr() == formatOf(kinds[i]).name) {
                level.first[i] = child;
            }
        }
        if (TiXmlElement* element = child->ToElement()) {
            sortInto(*element, level);
        } else if (const TiXmlText* words = child->ToText()) {
            textNodes.push_back(words);
        }
    }
}

void LocatedDocument::sortInto(TiXmlElement& element, Level& level) {
    for (std::size_t i = 0; i < level.kinds.size(); ++i) {
        const Kind kind = level.kinds[i];
        // After the first operand of a condition, every element is an operand, even with another name.
        const bool bOperand = kind == Kind::Operand && level.first[i] != nullptr;
        if (!bOperand && element.ValueStr() != formatOf(kind).name) {
            continue;
        }
        const TiXmlNode* first = level.first[i];
        if (formatOf(kind).bFirstOnly && first != &element) {
            auto& list = first->ToElement() != nullptr ? repeated : hidden;
            list.push_back({&element, level.parent, level.place, first});
            return;
        }
        entryList.push_back({&element, kind, level.place});
        const Entry* entry = &entryList.back();
        collect(element, entry, formatOf(kind).children);
        return;
    }
    unknown.push_back({&element, level.parent, level.place, nullptr});
}

const LocatedDocument::Entry* LocatedDocument::find(Kind kind) const {
    for (const Entry& entry : entryList) {
        if (entry.kind == kind) {
            return &entry;
        }
    }
    return nullptr;
}

Location LocatedDocument::at(const TextPosition& position) const {
    return {documentKind, file, position.line, position.column};
}

Location LocatedDocument::at(const TiXmlBase& node) const {
    return {documentKind, file, node.Row(), node.Column()};
}

Location LocatedDocument::at(const TiXmlElement& element, const char* attribute) const {
    const TiXmlAttribute* found = findAttribute(element, attribute);
    return found == nullptr ? at(static_cast<const TiXmlBase&>(element)) : at(*found);
}
