#include "Utility/InstallInspector/Log/KnownMessages.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace {

using Level = LogLine::Level;

/// Calls `take` with each line, without its end.
template <class Take>
void forEachLine(std::string_view text, const Take& take) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        if (!take(text.substr(0, end))) {
            return;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(' ');
    return begin == std::string_view::npos ? std::string_view()
                                           : text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

/// Whole words of the column: "error; warning with `ignoreinstallerrors`" names two.
std::vector<Level> levelsOf(std::string_view column) {
    std::vector<Level> levels;
    for (const auto& [word, level] :
         {std::pair("error", Level::Error), std::pair("warning", Level::Warning),
          std::pair("debug", Level::Debug), std::pair("text", Level::Text), std::pair("info", Level::Text)}) {
        const std::size_t at = column.find(word);
        if (at == 0 || (at != std::string_view::npos && column[at - 1] == ' ')) {
            levels.push_back(level);
        }
    }
    return levels;
}

/// Text of the page for a terminal. Emphasis is removed, back-quotes become quotes, and the text of a link is
/// followed by the path of its document.
std::string withoutMarkup(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t link = text.find("](");
        if (text.front() == '[' && link != std::string_view::npos) {
            const std::size_t end = std::min(text.find(')', link), text.size() - 1);
            const std::string_view target = text.substr(link + 2, end - link - 2);
            result.append(withoutMarkup(text.substr(1, link - 1))).append(" (Docs/");
            result.append(target.substr(0, target.find('#'))).append(")");
            text.remove_prefix(end + 1);
            continue;
        }
        if (text.substr(0, 2) == "**") {
            text.remove_prefix(2);
            continue;
        }
        result += text.front() == '`' ? '"' : text.front();
        text.remove_prefix(1);
    }
    return result;
}

/// Splits the text at "%s" and, in a shell's message, at "$name".
std::vector<std::string> piecesOf(std::string_view text) {
    std::vector<std::string> pieces(1);
    while (!text.empty()) {
        std::size_t length = text.substr(0, 2) == "%s" ? 2 : 0;
        if (text.size() > 1 && text[0] == '$' && std::isalpha(static_cast<unsigned char>(text[1])) != 0) {
            length = 2;
            while (length < text.size() && std::isalpha(static_cast<unsigned char>(text[length])) != 0) {
                ++length;
            }
        }
        if (length > 0) {
            pieces.emplace_back();
        } else {
            pieces.back() += text.front();
            length = 1;
        }
        text.remove_prefix(length);
    }
    return pieces;
}

/// The texts between the pieces. No value unless all pieces are there, the first at the beginning and the
/// last at the end. A quote at the end may be missing, because the engine cuts long messages.
std::optional<std::vector<std::string_view>> namesIn(std::string_view text,
                                                     const std::vector<std::string>& pieces) {
    if (text.substr(0, pieces.front().size()) != pieces.front()) {
        return std::nullopt;
    }
    text.remove_prefix(pieces.front().size());
    std::vector<std::string_view> names;
    for (std::size_t i = 1; i < pieces.size(); ++i) {
        const std::string& piece = pieces[i];
        const bool bLast = i + 1 == pieces.size();
        std::size_t at = text.find(piece);
        if (bLast) {
            const bool bThere =
                text.size() >= piece.size() && text.substr(text.size() - piece.size()) == piece;
            at = bThere ? text.size() - piece.size() : piece == "'" ? text.size() : std::string_view::npos;
        }
        if (at == std::string_view::npos) {
            return std::nullopt;
        }
        names.push_back(text.substr(0, at));
        text.remove_prefix(std::min(text.size(), at + piece.size()));
    }
    return text.empty() ? std::optional(names) : std::nullopt;
}

} // namespace

KnownMessages::KnownMessages(std::string_view page) {
    forEachLine(page, [this](std::string_view line) {
        if (line.substr(0, 3) == "| `") {
            addRow(line);
        }
        return line != "## InstallInspector";
    });
}

void KnownMessages::addRow(std::string_view row) {
    row.remove_prefix(2);
    const std::string quote(row.substr(0, row.find_first_not_of('`')));
    row.remove_prefix(quote.size());
    const std::size_t end = row.find(quote + " |");
    if (end == std::string_view::npos) {
        return;
    }
    KnownMessage message;
    message.text = trimmed(row.substr(0, end));
    row.remove_prefix(end + quote.size() + 2);
    std::vector<std::string_view> cells;
    for (std::size_t bar = row.find('|'); bar != std::string_view::npos; bar = row.find('|')) {
        cells.push_back(trimmed(row.substr(0, bar)));
        row.remove_prefix(bar + 1);
    }
    if (cells.size() != 3) {
        return;
    }
    const auto cell = [&](std::size_t index, std::string KnownMessage::*member) {
        const bool bAsAbove = cells[index] == "as above" && !messages.empty();
        return bAsAbove ? messages.back().*member : withoutMarkup(cells[index]);
    };
    message.levels = levelsOf(cells[0]);
    message.cause = cell(1, &KnownMessage::cause);
    message.advice = cell(2, &KnownMessage::advice);
    message.pieces = piecesOf(message.text);
    messages.push_back(std::move(message));
}

const KnownMessages& KnownMessages::ofThisVersion() {
    static const KnownMessages known(troubleshootingPage);
    return known;
}

const KnownMessage* KnownMessages::withText(std::string_view text) const {
    const auto found = std::find_if(messages.begin(), messages.end(),
                                    [text](const KnownMessage& message) { return message.text == text; });
    return found == messages.end() ? nullptr : &*found;
}

std::optional<KnownMessages::Match> KnownMessages::find(const LogLine& line) const {
    for (const KnownMessage& message : messages) {
        const auto& levels = message.levels;
        if (std::find(levels.begin(), levels.end(), line.level) == levels.end()) {
            continue;
        }
        if (auto names = namesIn(line.text, message.pieces)) {
            const bool bWhole = message.pieces.size() == 1 || message.pieces.back().empty() ||
                                (!line.text.empty() && line.text.back() == message.pieces.back().back());
            return Match{&message, std::move(*names), bWhole};
        }
    }
    return std::nullopt;
}

bool KnownMessages::mayBegin(const LogLine& line) const {
    const auto begins = [&](std::string_view text) {
        return !line.text.empty() && text.substr(0, line.text.size()) == line.text;
    };
    return line.level != Level::Text || begins("Error: ") || begins("Warning: ") || begins("DEBUG: ") ||
           std::any_of(messages.begin(), messages.end(), [&](const KnownMessage& message) {
               const auto& levels = message.levels;
               return std::find(levels.begin(), levels.end(), line.level) != levels.end() &&
                      begins(message.text);
           });
}
