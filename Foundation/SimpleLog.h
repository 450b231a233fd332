#pragma once

#include <string>

/// Prints all messages of the program to standard output, except the question of an alert in a terminal. Each
/// message is flushed, so the output of a later child process comes after it. Output errors are ignored. Set
/// `held` to collect output instead of printing it.
class SimpleLog {
public:
    enum LogType { Info = 0, Error = 1, Warning = 2, Debug = 3 };

    /// Whether Debug lines are printed.
    static bool bEnableDebugLogs;
    /// If not null, messages are appended here and not printed. Not owned. Null by default.
    static std::string* held;

    /// Prints the prefix of `type`, the printf-formatted message and a line feed. A message is cut after
    /// 10,239 bytes. `file`, `function` and `line` are the place of the call, which Debug lines include.
    ///
    /// The finished line is formatted a second time, without arguments: "%%" becomes "%". Directives that
    /// need an argument stay.
    static void printLog(LogType type, const char* file, const char* function, long line, const char* format,
                         ...) __attribute__((format(printf, 5, 6)));

    /// Prints the printf-formatted text without prefix, line feed or second formatting.
    static void printText(const char* format, ...) __attribute__((format(printf, 1, 2)));
};
