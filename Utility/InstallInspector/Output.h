#pragma once

#include <nlohmann/json.hpp>

#include <cstdio>
#include <string>

/// What the subcommands share: exit statuses, colours, JSON, and trees.
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

/// Writes all of `text` to standard output. False, and a message on standard error, when that fails.
bool writeOutput(const std::string& text);

/// Prints "InstallInspector: " and the message on standard error. Always CannotRun.
int cannotRun(const std::string& message);
