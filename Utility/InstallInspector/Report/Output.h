#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

// Shared by all subcommands: exit statuses, colours, and texts.

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

/// Writes a text piece by piece, so that it is never in memory as a whole.
class Output {
public:
    explicit Output(FILE* toWriteTo = stdout) : file(toWriteTo) {}

    void write(std::string_view text);
    /// Call it after the last piece. If a piece could not be written, prints a message on standard error and
    /// returns false.
    bool finish();

private:
    void passOn();

    FILE* file;
    std::string held; ///< small pieces that are not written yet; one write for all of them is faster
    int error = 0;    ///< the errno value of the first failure
};

/// "1 error", "2 errors".
std::string counted(std::size_t count, const char* one, const char* more);

std::string joined(const std::vector<std::string>& texts, const char* between);

/// The first three texts, and the number of the others: "a, b, c and 2 more".
std::string listed(const std::vector<std::string>& texts);

/// The number of characters of a UTF-8 text.
std::size_t widthOf(const std::string& text);

/// `text` with blanks after it, up to this width.
std::string padded(const std::string& text, std::size_t width);

/// Writes `text` to standard output. On failure, prints a message on standard error and returns false.
bool writeOutput(const std::string& text);

/// Prints "InstallInspector: " and the message on standard error. Returns CannotRun.
int cannotRun(const std::string& message);
