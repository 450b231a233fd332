#include "Utility/InstallInspector/Author/EditableDefinition.h"

#include "Platform/Utf8.h"
#include "Utility/InstallInspector/Author/Characters.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace {

bool isSpace(char c) {
    return isBlank(c) || c == '\n' || c == '\r';
}

bool isNameEnd(char c) {
    return isSpace(c) || c == '>' || c == '/' || c == '=';
}

/// Finds the elements of a well-formed text.
class SpanScanner {
public:
    explicit SpanScanner(const std::string& xml) : text(xml) {}

    /// False when the text is not well-formed.
    bool run(std::vector<ElementSpan>& spans) {
        while ((index = text.find('<', index)) != std::string::npos) {
            if (startsWith("<!--")) {
                passBehind("-->", 4);
            } else if (startsWith("<![CDATA[")) {
                passBehind("]]>", 0);
            } else if (startsWith("<?") || startsWith("<!")) {
                passBehind(">", 0);
            } else if (!tag(spans)) {
                return false;
            }
        }
        return open.empty();
    }

private:
    const std::string& text;
    std::size_t index = 0;
    std::vector<std::size_t> open;

    bool startsWith(const char* word) const { return text.compare(index, std::strlen(word), word) == 0; }

    void passBehind(const std::string& end, std::size_t from) {
        const std::size_t found = text.find(end, index + from);
        index = found == std::string::npos ? text.size() : found + end.size();
    }

    bool tag(std::vector<ElementSpan>& spans) {
        const std::size_t begin = index;
        const bool bEnds = startsWith("</");
        const std::size_t nameBegin = begin + (bEnds ? 2 : 1);
        std::size_t nameEnd = nameBegin;
        while (nameEnd < text.size() && !isNameEnd(text[nameEnd])) {
            ++nameEnd;
        }
        const std::size_t tagEnd = endOfTag(nameEnd);
        if (tagEnd == std::string::npos) {
            return false;
        }
        index = tagEnd;
        const std::string name = text.substr(nameBegin, nameEnd - nameBegin);
        if (!bEnds) {
            const bool bEmptyTag = text[tagEnd - 2] == '/';
            spans.push_back({name, begin, nameEnd, tagEnd, tagEnd, tagEnd, bEmptyTag});
            if (!bEmptyTag) {
                open.push_back(spans.size() - 1);
            }
            return true;
        }
        if (open.empty() || spans[open.back()].name != name) {
            return false;
        }
        spans[open.back()].endBegin = begin;
        spans[open.back()].end = tagEnd;
        open.pop_back();
        return true;
    }

    std::size_t endOfTag(std::size_t from) const {
        char quote = '\0';
        for (std::size_t i = from; i < text.size(); ++i) {
            const char c = text[i];
            if (quote != '\0') {
                quote = c == quote ? '\0' : quote;
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '>') {
                return i + 1;
            }
        }
        return std::string::npos;
    }
};

/// The next element in the order of the text. Null after the last one.
const TiXmlElement* nextOf(const TiXmlElement& element) {
    if (const TiXmlElement* child = element.FirstChildElement()) {
        return child;
    }
    for (const TiXmlNode* node = &element; node != nullptr; node = node->Parent()) {
        if (const TiXmlElement* sibling = node->NextSiblingElement()) {
            return sibling;
        }
    }
    return nullptr;
}

} // namespace

bool EditableDefinition::read(const std::string& path, std::string& error) {
    const FileContent content = WholeFile::Read(path);
    if (content.error != 0) {
        error = std::string("cannot be read: ") + std::strerror(content.error);
        return false;
    }
    // Taken before the parser reads the file, so that a change in between is noticed when the file is
    // written.
    fileState = content.state;
    text.assign(content.bytes == nullptr ? "" : content.bytes.get(), content.size);
    if (!located.read(path, Location::Document::Definition, Kind::Product, error)) {
        return false;
    }
    if (!located.isReadable() || located.unreadRest().has_value() || located.bCutByZeroByte ||
        !located.hiddenElements().empty()) {
        error = "is not read whole by the engine (check says where), and stays as it is";
        return false;
    }
    if (!isUtf8(text)) {
        error = "is not UTF-8, and stays as it is";
        return false;
    }
    if (!locateElements()) {
        error = "is laid out in a way that cannot be edited, and stays as it is";
        return false;
    }
    findStyle();
    return true;
}

bool EditableDefinition::locateElements() {
    if (!SpanScanner(text).run(spans)) {
        return false;
    }
    std::size_t index = 0;
    for (const TiXmlElement* element = document().xml().RootElement(); element != nullptr;
         element = nextOf(*element)) {
        if (index == spans.size() || spans[index].name != element->ValueStr()) {
            return false;
        }
        indexOf[element] = index++;
    }
    for (const LocatedDocument::Entry& entry : located.entries()) {
        children[entry.parent].push_back(&entry);
    }
    return index == spans.size();
}

std::vector<const LocatedDocument::Entry*>
EditableDefinition::childrenOf(const LocatedDocument::Entry& parent,
                               std::initializer_list<Kind> kinds) const {
    std::vector<const LocatedDocument::Entry*> found;
    const auto all = children.find(&parent);
    if (all != children.end()) {
        for (const LocatedDocument::Entry* entry : all->second) {
            if (std::find(kinds.begin(), kinds.end(), entry->kind) != kinds.end()) {
                found.push_back(entry);
            }
        }
    }
    return found;
}

bool EditableDefinition::hasManifest() const {
    const auto& entries = located.entries();
    return std::any_of(entries.begin(), entries.end(), [](const LocatedDocument::Entry& entry) {
        return (entry.kind == Kind::File || entry.kind == Kind::Directory) && Manifest::isIn(*entry.element);
    });
}

bool EditableDefinition::hasForeignEncoding() const {
    const TiXmlNode* first = document().xml().FirstChild();
    const TiXmlDeclaration* declaration = first == nullptr ? nullptr : first->ToDeclaration();
    const VLString encoding(declaration == nullptr ? "" : declaration->Encoding());
    return encoding.IsSet() && !encoding.EqualsIgnoreCase("UTF-8") && !encoding.EqualsIgnoreCase("UTF8");
}

/// Finds the style of the file from its first line end, and from the indentation of `sku` or a branch.
void EditableDefinition::findStyle() {
    const std::size_t end = text.find_first_of("\r\n");
    if (end != std::string::npos) {
        layout.lineEnd = text.compare(end, 2, "\r\n") == 0 ? "\r\n" : text.substr(end, 1);
    }
    for (const LocatedDocument::Entry& entry : located.entries()) {
        if (entry.parent == nullptr) {
            continue;
        }
        const std::string outer = indentationOf(*entry.parent->element);
        const std::string inner = indentationOf(*entry.element);
        if (inner.size() > outer.size() && inner.compare(0, outer.size(), outer) == 0) {
            layout.indentation = inner.substr(outer.size());
            return;
        }
    }
}

bool EditableDefinition::isLineEnd(std::size_t position) const {
    return position == text.size() || text[position] == '\n' || text[position] == '\r';
}

std::size_t EditableDefinition::lineBegin(std::size_t position) const {
    while (position > 0 && text[position - 1] != '\n' && text[position - 1] != '\r') {
        --position;
    }
    return position;
}

std::size_t EditableDefinition::behindBlanks(std::size_t position) const {
    while (position < text.size() && isBlank(text[position])) {
        ++position;
    }
    return position;
}

std::size_t EditableDefinition::behindLineEnd(std::size_t position) const {
    if (position == text.size()) {
        return position;
    }
    return position + (text.compare(position, 2, "\r\n") == 0 ? 2 : 1);
}

/// The end of the line, if there are only blanks and whole comments before it. Otherwise the position itself.
std::size_t EditableDefinition::behindLine(std::size_t position) const {
    std::size_t end = behindBlanks(position);
    while (text.compare(end, 4, "<!--") == 0) {
        const std::size_t close = text.find("-->", end + 4);
        if (close == std::string::npos || text.find_first_of("\r\n", end) < close) {
            return position;
        }
        end = behindBlanks(close + 3);
    }
    return isLineEnd(end) ? end : position;
}

std::string EditableDefinition::indentationOf(const TiXmlElement& element) const {
    const std::size_t begin = lineBegin(spanOf(element).begin);
    return text.substr(begin, behindBlanks(begin) - begin);
}

std::string EditableDefinition::indentationInside(const TiXmlElement& parent) const {
    const std::string outer = indentationOf(parent);
    if (const TiXmlElement* child = parent.FirstChildElement()) {
        const std::size_t begin = spanOf(*child).begin;
        std::string inner = indentationOf(*child);
        if (lineBegin(begin) + inner.size() == begin) {
            return inner;
        }
    }
    return outer + layout.indentation;
}

void EditableDefinition::insert(const TiXmlElement& parent, const TiXmlElement* sibling, std::string lines) {
    const ElementSpan& outer = spanOf(parent);
    // The line end comes before the lines in place of behind them.
    lines = layout.lineEnd + lines.substr(0, lines.size() - layout.lineEnd.size());
    if (outer.bEmptyTag) {
        const std::size_t end = lastAttributeEnd(outer);
        edits.push_back(
            {end, outer.end, ">" + lines + layout.lineEnd + indentationOf(parent) + "</" + outer.name + ">"});
        return;
    }
    const std::size_t from = sibling != nullptr ? spanOf(*sibling).end : outer.tagEnd;
    const std::size_t position = behindLine(from);
    if (behindBlanks(position) == outer.endBegin) {
        lines += layout.lineEnd + indentationOf(parent);
    }
    edits.push_back({position, position, std::move(lines)});
}

void EditableDefinition::remove(const TiXmlElement& element) {
    const ElementSpan& span = spanOf(element);
    const std::size_t begin = lineBegin(span.begin);
    const std::size_t end = behindBlanks(span.end);
    if (behindBlanks(begin) == span.begin && isLineEnd(end)) {
        edits.push_back({begin, behindLineEnd(end), ""});
    } else {
        edits.push_back({span.begin, span.end, ""});
    }
}

void EditableDefinition::replaceByEmpty(const TiXmlElement& element, const std::string& name) {
    const ElementSpan& span = spanOf(element);
    edits.push_back({span.begin + 1, span.nameEnd, name});
    if (!span.bEmptyTag) {
        edits.push_back({span.tagEnd - 1, span.end, "/>"});
    }
}

std::optional<EditableDefinition::AttributeSpan>
EditableDefinition::find(const ElementSpan& span, const std::string& attribute) const {
    std::size_t i = span.nameEnd;
    while (true) {
        while (i < span.tagEnd && isSpace(text[i])) {
            ++i;
        }
        const std::size_t begin = i;
        while (i < span.tagEnd && !isNameEnd(text[i])) {
            ++i;
        }
        if (i == begin) {
            return std::nullopt; // the end of the tag
        }
        const std::string name = text.substr(begin, i - begin);
        while (isSpace(text[i]) || text[i] == '=') {
            ++i;
        }
        const char quote = text[i];
        const bool bQuoted = quote == '"' || quote == '\'';
        const std::size_t valueBegin = bQuoted ? i + 1 : i;
        const std::size_t valueEnd =
            bQuoted ? text.find(quote, valueBegin) : text.find_first_of(" \t\r\n/>", valueBegin);
        i = bQuoted ? valueEnd + 1 : valueEnd;
        if (name == attribute) {
            return AttributeSpan{begin, valueBegin, valueEnd, i};
        }
    }
}

std::size_t EditableDefinition::lastAttributeEnd(const ElementSpan& span) const {
    std::size_t end = span.tagEnd - (span.bEmptyTag ? 2 : 1);
    while (end > span.nameEnd && isSpace(text[end - 1])) {
        --end;
    }
    return end;
}

void EditableDefinition::setAttribute(const TiXmlElement& element, const std::string& name,
                                      const std::string& value) {
    const ElementSpan& span = spanOf(element);
    if (const auto found = find(span, name)) {
        const bool bQuoted = found->end > found->valueEnd;
        // Replaces the quotes, too, because the value may contain the kind of quote that the file has.
        edits.push_back({found->valueBegin - (bQuoted ? 1 : 0), found->end, asAttribute(value)});
    } else {
        const std::size_t end = lastAttributeEnd(span);
        edits.push_back({end, end, " " + name + "=" + asAttribute(value)});
    }
}

void EditableDefinition::removeAttribute(const TiXmlElement& element, const std::string& name) {
    if (const auto found = find(spanOf(element), name)) {
        std::size_t begin = found->begin;
        while (isSpace(text[begin - 1])) {
            --begin;
        }
        edits.push_back({begin, found->end, ""});
    }
}

std::string EditableDefinition::inserted() const {
    std::string all;
    for (const Edit& edit : edits) {
        all += edit.text;
    }
    return all;
}

std::string EditableDefinition::editedText() const {
    std::vector<Edit> sorted = edits;
    std::stable_sort(sorted.begin(), sorted.end(), [](const Edit& a, const Edit& b) {
        return a.begin != b.begin ? a.begin < b.begin : a.end < b.end;
    });
    std::string result;
    result.reserve(text.size());
    std::size_t done = 0;
    for (const Edit& edit : sorted) {
        if (edit.begin < done) {
            continue; // inside of what has gone
        }
        result.append(text, done, edit.begin - done);
        result += edit.text;
        done = edit.end;
    }
    return result.append(text, done, std::string::npos);
}
