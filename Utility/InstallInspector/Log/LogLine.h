#pragma once

#include <string_view>

/// One line of a log, taken apart. All parts are views of the line.
struct LogLine {
    enum class Level { Text, Error, Warning, Debug };

    /// The time at the beginning of a line of the system's log. Empty in other logs.
    std::string_view time;
    /// The program that has written the line: "installd[12]", "package_script_service[7]: ./postinstall".
    /// Empty in other logs.
    std::string_view writer;

    Level level = Level::Text;
    /// The rest of the line without time, writer and level, and without the source position of a debug line.
    std::string_view text;
    /// The name before a shell tool's own message, such as "cp"; empty for any other line.
    std::string_view tool;

    /// Parses `line`, which must not end with a line feed. Removes a carriage return at its end. The result
    /// refers to the text of `line`.
    static LogLine parse(std::string_view line);
};

/// Whether a tool's message mentions `path`, or something below it.
bool mentions(std::string_view message, std::string_view path);

/// Whether the line is a shell's message about a command that a signal has ended: "... line 5: 12 Killed
/// ...".
bool isSignalMessage(std::string_view text);
