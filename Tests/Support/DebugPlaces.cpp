#include "Tests/Support/DebugPlaces.h"

namespace {

/// Behind "FILE,LINE:FUNCTION " that stands at `begin`, or `begin` when something else stands there.
std::size_t endOfPlace(const std::string& text, std::size_t begin) {
    const auto isAt = [&text](std::size_t position, char c) {
        return position < text.size() && text[position] == c;
    };
    const std::size_t comma = text.find_first_of(",\n", begin);
    if (!isAt(comma, ',')) {
        return begin;
    }
    const std::size_t colon = text.find_first_not_of("0123456789", comma + 1);
    if (colon == comma + 1 || !isAt(colon, ':')) {
        return begin;
    }
    const std::size_t blank =
        text.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ", colon + 1);
    return blank == colon + 1 || !isAt(blank, ' ') ? begin : blank + 1;
}

} // namespace

std::string withoutDebugPlaces(const std::string& text) {
    const std::string level = "DEBUG: ";
    std::string result;
    std::size_t done = 0;
    for (std::size_t found = text.find(level); found != std::string::npos; found = text.find(level, done)) {
        const std::size_t place = found + level.size();
        result.append(text, done, place - done);
        done = endOfPlace(text, place);
    }
    return result.append(text, done, std::string::npos);
}
