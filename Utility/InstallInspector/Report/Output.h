#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdio>
#include <string>
#include <vector>

/// The exit statuses of all subcommands.
enum ExitStatus { Clean = 0, HasFindings = 1, CannotRun = 2 };

enum class Colour { Bold, Red, Yellow, Green, Dim };

/// Adds colours to text, or leaves it unchanged.
class Painter {
public:
    explicit Painter(bool bWithColours) : bColours(bWithColours) {}
    /// Uses colours if `file` is a terminal and NO_COLOR is not set or empty.
    static Painter forFile(FILE* file);

    std::string paint(Colour colour, const std::string& text) const;

private:
    bool bColours;
};

/// The document as text, indented by two blanks, with a line feed at the end. Bytes that are not UTF-8 become
/// U+FFFD.
std::string printed(const nlohmann::ordered_json& document);

/// "1 error", "2 errors".
std::string counted(std::size_t count, const char* one, const char* more);

std::string joined(const std::vector<std::string>& texts, const char* between);

/// The number of characters of a UTF-8 text.
std::size_t widthOf(const std::string& text);

/// `text` with blanks after it, up to this width.
std::string padded(const std::string& text, std::size_t width);

/// Writes `text` to standard output. On failure, prints a message on standard error and returns false.
bool writeOutput(const std::string& text);

/// Prints "InstallInspector: " and the message on standard error. Returns CannotRun.
int cannotRun(const std::string& message);
