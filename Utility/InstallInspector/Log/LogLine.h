#pragma once

#include <string_view>

/// One line of a log, taken apart. All parts are views of the line.
struct LogLine {
    enum class Level { Text, Error, Warning, Debug };

    /// As the system's log has it; empty where the line has no such beginning.
    std::string_view time;
    /// Who has written the line: "installd[12]", "package_script_service[7]: ./postinstall". Empty as `time`.
    std::string_view writer;

    Level level = Level::Text;
    /// Without the beginning above, the level, and the place that a debug line names.
    std::string_view text;
    /// The name before a shell tool's own message, such as "cp"; empty for any other line.
    std::string_view tool;

    /// `line` has no line feed at its end. A carriage return there is left out.
    static LogLine parse(std::string_view line);
};

/// Whether a tool's message speaks of `path`, or of something below it.
bool mentions(std::string_view message, std::string_view path);

/// Whether the line is a shell's about a command that a signal has ended: "... line 5: 12 Killed ...".
bool tellsOfSignal(std::string_view text);
