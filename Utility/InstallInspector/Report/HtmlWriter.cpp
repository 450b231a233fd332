#include "Utility/InstallInspector/Report/HtmlWriter.h"

#include "Platform/Utf8.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallInspector/Report/PageStyle.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace {

using Tag = HtmlWriter::Tag;
using Name = HtmlWriter::Name;

const char* nameOf(Tag tag) {
    switch (tag) {
    case Tag::A:
        return "a";
    case Tag::Caption:
        return "caption";
    case Tag::Code:
        return "code";
    case Tag::Dd:
        return "dd";
    case Tag::Details:
        return "details";
    case Tag::Div:
        return "div";
    case Tag::Dl:
        return "dl";
    case Tag::Dt:
        return "dt";
    case Tag::H1:
        return "h1";
    case Tag::H2:
        return "h2";
    case Tag::H3:
        return "h3";
    case Tag::Header:
        return "header";
    case Tag::Li:
        return "li";
    case Tag::Main:
        return "main";
    case Tag::Nav:
        return "nav";
    case Tag::P:
        return "p";
    case Tag::Pre:
        return "pre";
    case Tag::Section:
        return "section";
    case Tag::Span:
        return "span";
    case Tag::Strong:
        return "strong";
    case Tag::Summary:
        return "summary";
    case Tag::Table:
        return "table";
    case Tag::Tbody:
        return "tbody";
    case Tag::Td:
        return "td";
    case Tag::Th:
        return "th";
    case Tag::Thead:
        return "thead";
    case Tag::Tr:
        return "tr";
    case Tag::Ul:
        break;
    }
    return "ul";
}

const char* nameOf(Name name) {
    switch (name) {
    case Name::AriaLabel:
        return "aria-label";
    case Name::AriaLabelledBy:
        return "aria-labelledby";
    case Name::Class:
        return "class";
    case Name::Id:
        return "id";
    case Name::Open:
        return "open";
    case Name::Role:
        return "role";
    case Name::RowSpan:
        return "rowspan";
    case Name::Scope:
        return "scope";
    case Name::TabIndex:
        return "tabindex";
    case Name::Translate:
        break;
    }
    return "translate";
}

/// Whether a line of the source ends after the element. Without breaks, a page would be one line of
/// megabytes.
bool endsLine(Tag tag) {
    return tag != Tag::A && tag != Tag::Code && tag != Tag::Span && tag != Tag::Strong && tag != Tag::Pre;
}

bool needsNoEscape(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) {
        return c >= ' ' && c <= '~' && c != '<' && c != '>' && c != '&' && c != '"' && c != '\'';
    });
}

const char* entityOf(char c) {
    switch (c) {
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '&':
        return "&amp;";
    case '"':
        return "&quot;";
    case '\'':
        return "&#39;";
    default:
        return nullptr;
    }
}

/// Of a character of UTF-8.
char32_t codeOf(std::string_view character) {
    if (character.size() == 1) {
        return static_cast<unsigned char>(character.front());
    }
    char32_t code = static_cast<unsigned char>(character.front()) & (0xFFU >> (character.size() + 1));
    for (const char c : character.substr(1)) {
        code = (code << 6U) | (static_cast<unsigned char>(c) & 0x3FU);
    }
    return code;
}

struct Range {
    char32_t first;
    char32_t last;
};

/// Whether readers cannot see the character or take it for a blank: marks of direction, blanks, fillers, line
/// separators, tags, and codes that are not characters. Not the two joiners, which some scripts need in
/// words, and not the wide blank of East Asia.
constexpr Range unseen[] = {
    {0xA0, 0xA0},       {0xAD, 0xAD},       {0x34F, 0x34F},   {0x61C, 0x61C},   {0x115F, 0x1160},
    {0x1680, 0x1680},   {0x17B4, 0x17B5},   {0x180B, 0x180F}, {0x2000, 0x200B}, {0x200E, 0x200F},
    {0x2028, 0x202F},   {0x205F, 0x206F},   {0x2800, 0x2800}, {0x3164, 0x3164}, {0xFDD0, 0xFDEF},
    {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},   {0xFFF0, 0xFFFB}, {0xFFFE, 0xFFFF}, {0x1BCA0, 0x1BCA3},
    {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF},
};

bool isUnseen(char32_t character) {
    const bool bNoCharacter = (character & 0xFFFEU) == 0xFFFEU;
    return bNoCharacter || std::any_of(std::begin(unseen), std::end(unseen), [character](const Range& range) {
               return character >= range.first && character <= range.last;
           });
}

/// Empty for a character that can be seen.
std::string codeOfUnseen(char32_t character) {
    if (!isUnseen(character)) {
        return "";
    }
    char text[16] = {};
    static_cast<void>(std::snprintf(text, sizeof text, "[U+%04X]", static_cast<unsigned int>(character)));
    return text;
}

} // namespace

HtmlWriter::HtmlWriter(const std::string& title) {
    // The icon keeps browsers from asking a server for one.
    page = "<!DOCTYPE html>\n"
           "<html lang=\"en\" dir=\"ltr\">\n<head>\n<meta charset=\"utf-8\"/>\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
           "'unsafe-inline'; img-src data:; base-uri 'none'; form-action 'none'\"/>\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n"
           "<meta name=\"color-scheme\" content=\"light dark\"/>\n"
           "<meta name=\"referrer\" content=\"no-referrer\"/>\n"
           "<link rel=\"icon\" href=\"data:,\"/>\n<title>";
    escape(title, false);
    page += "</title>\n<style>\n";
    page += pageStyle;
    page += "</style>\n</head>\n<body>\n";
}

std::string HtmlWriter::finish() {
    page += "</body>\n</html>\n";
    return std::move(page);
}

HtmlWriter::Element HtmlWriter::in(Tag tag, Attributes attributes) {
    open(tag, attributes);
    return Element(*this);
}

void HtmlWriter::put(Tag tag, std::string_view content, Attributes attributes) {
    open(tag, attributes);
    text(content);
    close();
}

void HtmlWriter::text(std::string_view content) {
    escape(content, true);
}

void HtmlWriter::breakable(std::string_view content) {
    while (!content.empty()) {
        const std::size_t end = std::min(content.find('/'), content.size() - 1) + 1;
        text(content.substr(0, end));
        content.remove_prefix(end);
        page += content.empty() ? "" : "<wbr/>";
    }
}

void HtmlWriter::link(std::string_view id, std::string_view content) {
    page += "<a";
    writeAttribute("href", "#" + std::string(id));
    page += ">";
    opened.push_back(Tag::A);
    text(content);
    close();
}

void HtmlWriter::lines(std::string_view content) {
    open(Tag::Pre, {{Name::TabIndex, "0"}, {Name::Translate, "no"}});
    page += "\n"; // HTML leaves out a first line feed, and takes what follows as it is
    while (!content.empty()) {
        const std::size_t end = std::min(content.find('\n'), content.size());
        text(content.substr(0, end));
        page += "\n";
        content.remove_prefix(std::min(end + 1, content.size()));
    }
    close();
    page += "\n";
}

void HtmlWriter::open(Tag tag, Attributes attributes) {
    page += "<";
    page += nameOf(tag);
    for (const Attribute& attribute : attributes) {
        writeAttribute(nameOf(attribute.name), attribute.value);
    }
    page += ">";
    opened.push_back(tag);
}

void HtmlWriter::close() {
    const Tag tag = opened.back();
    opened.pop_back();
    page += "</";
    page += nameOf(tag);
    page += endsLine(tag) ? ">\n" : ">";
}

void HtmlWriter::writeAttribute(const char* name, std::string_view value) {
    page += " ";
    page += name;
    page += "=\"";
    escape(value, false);
    page += "\"";
}

void HtmlWriter::escape(std::string_view content, bool bMarked) {
    if (needsNoEscape(content)) {
        page += content;
        return;
    }
    for (std::size_t at = 0; at < content.size();) {
        const std::size_t length = std::max<std::size_t>(utf8Length(content, at), 1);
        const std::string_view character = content.substr(at, length);
        const char32_t code = codeOf(character);
        const std::string asText = printable(std::string(character));
        const std::string unseenCode = asText == character ? codeOfUnseen(code) : "";
        if (const char* entity = length == 1 ? entityOf(character.front()) : nullptr) {
            page += entity;
        } else if (asText != character) {
            writeCode(asText, bMarked);
        } else if (!unseenCode.empty()) {
            writeCode(unseenCode, bMarked);
        } else {
            page += character;
        }
        at += length;
    }
}

void HtmlWriter::writeCode(std::string_view code, bool bMarked) {
    page += bMarked ? "<span class=\"unseen\">" : "";
    page += code; // of ASCII, without anything that HTML reads
    page += bMarked ? "</span>" : "";
}
