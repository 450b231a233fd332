#include "Utility/InstallInspector/Report/HtmlPage.h"

#include <algorithm>

const char* styleOf(HtmlPage::Mood mood) {
    switch (mood) {
    case HtmlPage::Mood::Good:
        return "good";
    case HtmlPage::Mood::Odd:
        return "odd";
    case HtmlPage::Mood::Bad:
        return "bad";
    case HtmlPage::Mood::None:
        break;
    }
    return "plain";
}

HtmlPage::Mood moodOf(Verdict verdict) {
    return verdict == Verdict::Safe   ? HtmlPage::Mood::Good
           : verdict == Verdict::Harm ? HtmlPage::Mood::Bad
                                      : HtmlPage::Mood::Odd;
}

HtmlPage::Mood moodOf(Colour colour) {
    switch (colour) {
    case Colour::Green:
        return HtmlPage::Mood::Good;
    case Colour::Yellow:
        return HtmlPage::Mood::Odd;
    case Colour::Red:
        return HtmlPage::Mood::Bad;
    case Colour::Bold:
    case Colour::Dim:
        break;
    }
    return HtmlPage::Mood::None;
}

void HtmlPage::head(const std::string& title, const std::string& about, Verdict verdict,
                    const std::string& word, const std::string& sentence, const std::vector<Part>& parts) {
    const auto header = html.in(Tag::Header);
    html.put(Tag::H1, title);
    html.put(Tag::P, about, {{Name::Class, "soft"}});
    {
        const auto banner =
            html.in(Tag::P, {{Name::Class, std::string("verdict ") + styleOf(moodOf(verdict))}});
        html.put(Tag::Strong, word);
        html.text(" " + sentence);
    }
    const auto links = html.in(Tag::Nav, {{Name::AriaLabel, "Parts of this page"}});
    for (const auto& [id, heading] : parts) {
        html.link(id, heading);
        html.text(" ");
    }
}

HtmlWriter::Element HtmlPage::part(const Part& part, const std::string& style) {
    const auto& [id, heading] = part;
    const std::string headingID = std::string(id) + "-heading";
    auto section =
        html.in(Tag::Section, {{Name::Id, id}, {Name::Class, style}, {Name::AriaLabelledBy, headingID}});
    html.put(Tag::H2, heading, {{Name::Id, headingID}});
    return section;
}

void HtmlPage::code(std::string_view text) {
    html.put(Tag::Code, text, {{Name::Translate, "no"}});
}

void HtmlPage::label(Mood mood, std::string_view text) {
    html.put(Tag::Span, text, {{Name::Class, std::string("label ") + styleOf(mood)}});
}

void HtmlPage::term(std::string_view name, std::string_view text) {
    html.put(Tag::Dt, name);
    html.put(Tag::Dd, text);
}

void HtmlPage::paths(const std::string& heading, const std::vector<std::string>& paths) {
    if (paths.empty()) {
        return;
    }
    const auto details = html.in(Tag::Details);
    html.put(Tag::Summary, heading);
    const auto list = html.in(Tag::Ul, {{Name::Class, "plain"}});
    for (const std::string& path : paths) {
        const auto item = html.in(Tag::Li);
        code(path);
    }
}

void HtmlPage::pathsBeside(const std::string& message, const std::vector<std::string>& all) {
    const bool bNamed = std::all_of(all.begin(), all.end(), [&message](const std::string& path) {
        return message.find(path) != std::string::npos;
    });
    if (!bNamed) {
        paths(counted(all.size(), "path", "paths"), all);
    }
}

HtmlWriter::Element HtmlPage::scrolled(const char* label) {
    return html.in(
        Tag::Div,
        {{Name::Class, "wide"}, {Name::Role, "region"}, {Name::TabIndex, "0"}, {Name::AriaLabel, label}});
}

void HtmlPage::columns(std::initializer_list<std::string_view> names) {
    const auto head = html.in(Tag::Thead);
    const auto row = html.in(Tag::Tr);
    for (const std::string_view name : names) {
        html.put(Tag::Th, name, {{Name::Scope, "col"}});
    }
}

void HtmlPage::pathCell(std::string_view path) {
    const auto cell = html.in(Tag::Td, {{Name::Class, "path"}});
    const auto code = html.in(Tag::Code, {{Name::Translate, "no"}});
    html.breakable(path);
}

void HtmlPage::reasonCell(std::string_view reason) {
    const auto cell = html.in(Tag::Td, {{Name::Class, "because"}});
    html.breakable(reason);
}

void HtmlPage::rowHeading(std::string_view text, std::size_t rows) {
    if (rows > 1) {
        html.put(Tag::Th, text, {{Name::Scope, "rowgroup"}, {Name::RowSpan, std::to_string(rows)}});
    } else {
        html.put(Tag::Th, text, {{Name::Scope, "row"}});
    }
}
