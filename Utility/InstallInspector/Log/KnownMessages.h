#pragma once

#include "Utility/InstallInspector/Log/LogLine.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Docs/troubleshooting.md, as it was when this program was built.
extern const char* const troubleshootingPage;

/// A message of the engine or of the launcher that opening an uninstaller starts.
struct KnownMessage {
    std::string text; ///< "%s" stands for a name
    std::vector<LogLine::Level> levels;
    std::string cause;
    std::string advice;              ///< what to do; may be empty
    std::vector<std::string> pieces; ///< of the text, between its names
};

/// The messages of a page such as Docs/troubleshooting.md: the rows of its tables of four columns, up to the
/// messages of this program itself.
class KnownMessages {
public:
    struct Match {
        const KnownMessage* message;
        std::vector<std::string_view> names; ///< the text in place of each "%s"
        bool bWhole;                         ///< false if the quote after the last name is missing
    };

    explicit KnownMessages(std::string_view page);
    /// Those of `troubleshootingPage`.
    static const KnownMessages& ofThisVersion();

    const std::vector<KnownMessage>& all() const { return messages; }
    /// The message with this text in the page. Null if there is none.
    const KnownMessage* withText(std::string_view text) const;
    std::optional<Match> find(const LogLine& line) const;
    /// Whether the line may be the beginning of a message, or of the text before one.
    bool mayBegin(const LogLine& line) const;

private:
    void addRow(std::string_view row);

    std::vector<KnownMessage> messages;
};
