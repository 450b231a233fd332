#pragma once

#include "Utility/InstallInspector/Report/HtmlWriter.h"
#include "Utility/InstallInspector/Report/Verdict.h"

#include <string>
#include <utility>
#include <vector>

/// What the pages of the subcommands have in common. All of them read from the top: what it is and the
/// verdict, what is wrong, the answer in short, the table, the tree, what support needs.
class HtmlPage {
public:
    using Tag = HtmlWriter::Tag;
    using Name = HtmlWriter::Name;
    /// The colour of a text. Words say the same: not everybody sees colours.
    enum class Mood { None, Good, Odd, Bad };
    /// A part of the page: its ID and its heading.
    using Part = std::pair<const char*, const char*>;

    explicit HtmlPage(const std::string& title) : html(title) {}

    HtmlWriter html;

    /// The title of the page, what it is about, the verdict in a word and a sentence, and links to the parts.
    void head(const std::string& title, const std::string& about, Verdict verdict, const std::string& word,
              const std::string& sentence, const std::vector<Part>& parts);
    /// Opens a part with its heading. It is one of those that `head` has named.
    HtmlWriter::Element part(const Part& part, const std::string& style = "card");

    /// A path or a name, as it is.
    void code(std::string_view text);
    void label(Mood mood, std::string_view text);
    /// A row of a list of terms.
    void term(std::string_view name, std::string_view text);
    /// A folded list of paths, with a heading that counts them. Nothing when there are none.
    void paths(const std::string& heading, const std::vector<std::string>& paths);
    /// The same for all that a message is about, unless it names each of them.
    void pathsBeside(const std::string& message, const std::vector<std::string>& all);
    /// Opens what can be moved sideways when the window is narrow: around a table.
    HtmlWriter::Element scrolled(const char* label);
    /// A heading for each column.
    void columns(std::initializer_list<std::string_view> names);
    void pathCell(std::string_view path);
    void reasonCell(std::string_view reason);
    /// The cell at the beginning of a row or, with `rows` above 1, of several.
    void rowHeading(std::string_view text, std::size_t rows);
};

/// The name of a style.
const char* styleOf(HtmlPage::Mood mood);
HtmlPage::Mood moodOf(Verdict verdict);
