#include "Utility/InstallInspector/Log/LogLine.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isNameByte(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

bool startsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

bool skip(std::string_view& text, std::string_view beginning) {
    if (!startsWith(text, beginning)) {
        return false;
    }
    text.remove_prefix(beginning.size());
    return true;
}

/// Whether the text begins as `shape` says: 'd' for a digit, 'b' for a digit or a blank, 'a' for a letter.
bool hasShape(std::string_view text, std::string_view shape) {
    if (text.size() < shape.size()) {
        return false;
    }
    for (std::size_t i = 0; i < shape.size(); ++i) {
        const char c = text[i];
        const bool bFits = shape[i] == 'd'   ? isDigit(c)
                           : shape[i] == 'b' ? isDigit(c) || c == ' '
                           : shape[i] == 'a' ? std::isalpha(static_cast<unsigned char>(c)) != 0
                                             : shape[i] == c;
        if (!bFits) {
            return false;
        }
    }
    return true;
}

/// The length of the time at the beginning: "2026-11-22 10:20:30+01", or "Nov 22 10:20:30". 0 for none.
std::size_t lengthOfTime(std::string_view line) {
    if (hasShape(line, "dddd-dd-dd dd:dd:dd") || hasShape(line, "dddd-dd-ddTdd:dd:dd")) {
        const std::size_t end = line.find(' ', std::string_view("dddd-dd-dd dd:dd:dd").size());
        return end == std::string_view::npos ? 0 : end;
    }
    constexpr std::string_view syslog = "aaa bd dd:dd:dd";
    return hasShape(line, syslog) ? syslog.size() : 0;
}

/// The length of "name[12]" or, without a number, of "name", with ": " or the end of the line behind it. 0
/// for neither.
std::size_t lengthOfProcess(std::string_view text) {
    for (std::size_t end = text.find("]:"); end != std::string_view::npos; end = text.find("]:", end + 1)) {
        std::size_t begin = end;
        while (begin > 0 && isDigit(text[begin - 1])) {
            --begin;
        }
        const bool bEnds = end + 2 == text.size() || text[end + 2] == ' ';
        if (begin < end && begin > 1 && text[begin - 1] == '[' && bEnds) {
            return end + 1;
        }
    }
    const std::size_t colon = text.find(": ");
    return colon == std::string_view::npos || text.substr(0, colon).find(' ') != std::string_view::npos
               ? 0
               : colon;
}

/// The length of "./postinstall", which the installer puts before what a script prints. 0 for none.
std::size_t lengthOfScript(std::string_view text) {
    const std::size_t colon = text.find(": ");
    const bool bScript = startsWith(text, "./") && colon != std::string_view::npos &&
                         text.substr(0, colon).find(' ') == std::string_view::npos;
    return bScript ? colon : 0;
}

/// Takes time, host and writer off the line, if it has them.
void takeBeginning(std::string_view& rest, LogLine& result) {
    const std::size_t time = lengthOfTime(rest);
    if (time == 0 || rest.size() <= time) {
        return;
    }
    const std::size_t host = rest.find(' ', time + 1);
    if (host == std::string_view::npos) {
        return;
    }
    const std::string_view writer = rest.substr(host + 1);
    std::size_t length = lengthOfProcess(writer);
    if (length == 0) {
        return;
    }
    const auto textAfter = [&] { return writer.substr(std::min(writer.size(), length + 2)); };
    if (const std::size_t script = lengthOfScript(textAfter()); script > 0) {
        length += 2 + script;
    }
    result.time = rest.substr(0, time);
    result.writer = writer.substr(0, length);
    rest = textAfter();
}

/// Takes "FILE,12:function " off the text. A file's name may hold a comma, too.
void takePlace(std::string_view& text) {
    for (std::size_t comma = text.find(','); comma != std::string_view::npos;
         comma = text.find(',', comma + 1)) {
        std::size_t at = comma + 1;
        while (at < text.size() && isDigit(text[at])) {
            ++at;
        }
        if (at == comma + 1 || at == text.size() || text[at] != ':') {
            continue;
        }
        ++at;
        while (at < text.size() && isNameByte(text[at])) {
            ++at;
        }
        if (at < text.size() && text[at] == ' ') {
            text.remove_prefix(at + 1);
            return;
        }
    }
}

std::string_view toolOf(std::string_view text) {
    static constexpr std::array tools{"cp", "rm", "mkdir", "ditto", "ln", "rmdir", "touch", "sh"};
    const std::size_t colon = text.find(": ");
    if (colon == std::string_view::npos) {
        return {};
    }
    const std::string_view path = text.substr(0, colon);
    const std::string_view name = path.substr(path.rfind('/') + 1);
    const bool bTool = std::find(tools.begin(), tools.end(), name) != tools.end();
    return bTool && (name == path || path.front() == '/') ? name : std::string_view();
}

} // namespace

LogLine LogLine::parse(std::string_view line) {
    LogLine result;
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    takeBeginning(line, result);
    if (skip(line, "Error: ")) {
        result.level = Level::Error;
    } else if (skip(line, "Warning: ")) {
        result.level = Level::Warning;
    } else if (skip(line, "DEBUG: ")) {
        result.level = Level::Debug;
        takePlace(line);
    } else {
        result.tool = toolOf(line);
    }
    result.text = line;
    return result;
}

bool mentions(std::string_view message, std::string_view path) {
    if (path.empty()) {
        return false;
    }
    for (std::size_t at = message.find(path); at != std::string_view::npos; at = message.find(path, at + 1)) {
        const std::size_t end = at + path.size();
        // Else it is the beginning of a longer name.
        const bool bEnds =
            end == message.size() || (!isNameByte(message[end]) &&
                                      std::string_view(".- ").find(message[end]) == std::string_view::npos);
        if (bEnds) {
            return true;
        }
    }
    return false;
}

bool isSignalMessage(std::string_view text) {
    static constexpr std::array signals{"Killed",  "Terminated", "Hangup",   "Segmentation fault",
                                        "Aborted", "Abort trap", "Bus error"};
    const auto takeNumber = [&text] {
        const std::size_t blanks = std::min(text.find_first_not_of(' '), text.size());
        std::size_t end = blanks;
        while (end < text.size() && isDigit(text[end])) {
            ++end;
        }
        text.remove_prefix(end);
        return end > blanks;
    };
    constexpr std::string_view word = "line ";
    const std::size_t at = text.find(word);
    if (at == std::string_view::npos) {
        return false;
    }
    text.remove_prefix(at + word.size());
    return takeNumber() && skip(text, ":") && takeNumber() && skip(text, " ") &&
           std::any_of(signals.begin(), signals.end(),
                       [&text](const char* name) { return startsWith(text, name); });
}
