#pragma once

#include <string>

/// Everything that the program says, but for an alert's question in a terminal, goes to standard output
/// through this class: whole, in order, and out of its buffers before it returns, so that what a child
/// process prints next comes after it. Errors of the output itself are ignored. A program that wants to know
/// what would be said takes it into `held`.
class SimpleLog {
public:
    enum LogType { Info = 0, Error = 1, Warning = 2, Debug = 3 };

    /// Whether Debug lines are printed.
    static bool bEnableDebugLogs;
    /// Where to append everything, instead of printing it; not owned. Null at first.
    static std::string* held;

    /// Prints the prefix of `type`, the printf-formatted message, of which the first 10,239 bytes are kept,
    /// and a line feed. `file`, `function` and `line` tell where the call stands; Debug lines show them.
    ///
    /// The finished line is formatted once more, without arguments: "%%" becomes "%", and a directive that
    /// would read an argument is printed as it stands.
    static void printLog(LogType type, const char* file, const char* function, long line, const char* format,
                         ...) __attribute__((format(printf, 5, 6)));

    /// Prints the printf-formatted text as it is, without prefix, line feed or second formatting.
    static void printText(const char* format, ...) __attribute__((format(printf, 1, 2)));
};
