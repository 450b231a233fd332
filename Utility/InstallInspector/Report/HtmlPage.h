#pragma once

#include "Utility/InstallInspector/Report/HtmlWriter.h"
#include "Utility/InstallInspector/Report/Output.h"
#include "Utility/InstallInspector/Report/Verdict.h"

#include <string>
#include <utility>
#include <vector>

/// The common parts of the pages of all subcommands. From the top, a page has a title and the verdict, what
/// is wrong, a summary, the table, the tree, and what support needs.
class HtmlPage {
public:
    using Tag = HtmlWriter::Tag;
    using Name = HtmlWriter::Name;
    /// The colour of a text. The words must have the same meaning, because not everybody sees colours.
    enum class Mood { None, Good, Odd, Bad };
    /// A part of the page: its ID and its heading.
    using Part = std::pair<const char*, const char*>;

    explicit HtmlPage(const std::string& title) : html(title) {}

    HtmlWriter html;

    /// Writes the title of the page, what it is about, the verdict in a word and a sentence, and links to the
    /// parts.
    void head(const std::string& title, const std::string& about, Verdict verdict, const std::string& word,
              const std::string& sentence, const std::vector<Part>& parts);
    /// Opens a part with its heading. `part` must be one of the parts passed to `head`.
    HtmlWriter::Element part(const Part& part, const std::string& style = "card");

    /// A path or a name, unchanged.
    void code(std::string_view text);
    void label(Mood mood, std::string_view text);
    /// A row of a list of terms.
    void term(std::string_view name, std::string_view text);
    /// A folded list of paths, with a heading that counts them. Writes nothing if there are no paths.
    void paths(const std::string& heading, const std::vector<std::string>& paths);
    /// The same for the paths of a message. Writes nothing if the message names all of them.
    void pathsBeside(const std::string& message, const std::vector<std::string>& all);
    /// Opens a container that scrolls sideways in a narrow window. For a table.
    HtmlWriter::Element scrolled(const char* label);
    /// A heading for each column.
    void columns(std::initializer_list<std::string_view> names);
    void pathCell(std::string_view path);
    void reasonCell(std::string_view reason);
    /// The cell at the beginning of `rows` rows.
    void rowHeading(std::string_view text, std::size_t rows);
};

/// The name of the mood's style in Page.css.
const char* styleOf(HtmlPage::Mood mood);
HtmlPage::Mood moodOf(Verdict verdict);
/// The mood for what has this colour in a terminal.
HtmlPage::Mood moodOf(Colour colour);
