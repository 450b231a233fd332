#include "Foundation/SimpleLog.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <string_view>

namespace {

constexpr std::size_t longestMessage = 10239;

std::string prefixOf(SimpleLog::LogType type, const char* file, const char* function, long line) {
    switch (type) {
    case SimpleLog::Debug:
        return std::string("DEBUG: ") + file + "," + std::to_string(static_cast<int>(line)) + ":" + function +
               " ";
    case SimpleLog::Error:
        return "Error: ";
    case SimpleLog::Warning:
        return "Warning: ";
    case SimpleLog::Info:
        break;
    }
    return "";
}

/// `line` after a second formatting without arguments. Only "%%" needs no argument.
std::string formattedWithoutArguments(std::string_view line) {
    std::string result;
    result.reserve(line.size());
    for (std::size_t found = 0; (found = line.find("%%")) != std::string_view::npos;) {
        result += line.substr(0, found + 1);
        line.remove_prefix(found + 2);
    }
    result += line;
    return result;
}

// Only byte output is used. A glibc stream that was used for wide output drops byte output, and the reverse.
// Its "C" locale has no wide form for the bytes above 127 of a UTF-8 path.
void write(std::string_view text) {
    if (SimpleLog::held != nullptr) {
        SimpleLog::held->append(text);
        return;
    }
    (void)std::fwrite(text.data(), 1, text.size(), stdout);
    (void)std::fflush(stdout);
}

void hold(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(length < 0 ? 0 : static_cast<std::size_t>(length), '\0');
    (void)std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    SimpleLog::held->append(text);
}

} // namespace

bool SimpleLog::bEnableDebugLogs = false;
std::string* SimpleLog::held = nullptr;

void SimpleLog::printLog(LogType type, const char* file, const char* function, long line, const char* format,
                         ...) {
    if (type == Debug && !bEnableDebugLogs) {
        return;
    }
    // Not initialised: filling it with zeros would take longer than everything else here.
    std::array<char, longestMessage + 1> message; // NOLINT(cppcoreguidelines-pro-type-member-init)
    message.front() = '\0';
    va_list arguments;
    va_start(arguments, format);
    (void)std::vsnprintf(message.data(), message.size(), format, arguments);
    va_end(arguments);
    // If the message itself ends with a line feed, an empty line follows. Intended.
    write(formattedWithoutArguments(prefixOf(type, file, function, line) + message.data() + "\n"));
}

void SimpleLog::printText(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    if (held != nullptr) {
        hold(format, arguments);
    } else {
        (void)std::vprintf(format, arguments);
    }
    va_end(arguments);
    (void)std::fflush(stdout);
}
