#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdio>
#include <string>
#include <vector>

/// What the subcommands share: exit statuses, colours, JSON, and texts.
enum ExitStatus { Clean = 0, HasFindings = 1, CannotRun = 2 };

enum class Colour { Bold, Red, Yellow, Green, Dim };

/// Gives text colours, or leaves it as it is.
class Painter {
public:
    explicit Painter(bool bWithColours) : bColours(bWithColours) {}
    /// With colours when `file` is a terminal and NO_COLOR is not set, or empty.
    static Painter forFile(FILE* file);

    std::string paint(Colour colour, const std::string& text) const;

private:
    bool bColours;
};

/// The document with two blanks of indentation and a line feed. Bytes that are no UTF-8 become U+FFFD.
std::string printed(const nlohmann::ordered_json& document);

/// "1 error", "2 errors".
std::string counted(std::size_t count, const char* one, const char* more);

std::string joined(const std::vector<std::string>& texts, const char* between);

/// How many characters a terminal shows, for text of UTF-8.
std::size_t widthOf(const std::string& text);

/// With blanks behind it, up to that width.
std::string padded(const std::string& text, std::size_t width);

/// Writes all of `text` to standard output. False, and a message on standard error, when that fails.
bool writeOutput(const std::string& text);

/// Prints "InstallInspector: " and the message on standard error. Always CannotRun.
int cannotRun(const std::string& message);
