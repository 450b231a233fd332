#include "Foundation/SimpleLog.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t longestMessage = 10239;
constexpr std::size_t longestDebugPrefix = 10239;

/// The first bytes, up to `Longest`, of the formatted text.
template <std::size_t Longest>
std::string formatted(const char* format, va_list arguments) {
    std::array<char, Longest + 1> buffer{};
    std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
    return buffer.data();
}

std::string debugPrefix(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string debugPrefix(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string prefix = formatted<longestDebugPrefix>(format, arguments);
    va_end(arguments);
    return prefix;
}

/// `line` as a print without arguments gives it: the only directive that needs none is "%%".
std::string formattedWithoutArguments(std::string_view line) {
    std::string result;
    result.reserve(line.size());
    for (std::size_t i = 0; i < line.size(); ++i) {
        result += line[i];
        if (line.substr(i, 2) == "%%") {
            ++i;
        }
    }
    return result;
}

// Only byte output is ever used: a glibc stream that has seen wide output swallows byte output and the other
// way round, and its "C" locale has no wide form for the bytes above 127 of a UTF-8 path.
void write(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

} // namespace

bool SimpleLog::bEnableDebugLogs = false;

void SimpleLog::printLog(LogType type, const char* file, const char* function, long line, const char* format,
                         ...) {
    if (type == Debug && !bEnableDebugLogs) {
        return;
    }
    std::string text;
    if (type == Debug) {
        text = debugPrefix("DEBUG: %s,%d:%s ", file, static_cast<int>(line), function);
    } else if (type == Error) {
        text = "Error: ";
    } else if (type == Warning) {
        text = "Warning: ";
    }
    va_list arguments;
    va_start(arguments, format);
    text += formatted<longestMessage>(format, arguments);
    va_end(arguments);
    // A message that ends with a line feed of its own is followed by an empty line. Intended.
    write(formattedWithoutArguments(text + "\n"));
}

void SimpleLog::printText(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::vprintf(format, arguments);
    va_end(arguments);
    std::fflush(stdout);
}
