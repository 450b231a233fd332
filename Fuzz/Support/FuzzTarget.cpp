#include "Fuzz/Support/FuzzTarget.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

void Fuzz::reportBroken(const char* property) {
    static_cast<void>(std::fprintf(stderr, "Broken: %s\n", property));
    std::abort();
}

std::uint8_t Fuzz::Input::byte() {
    if (rest.empty()) {
        return 0;
    }
    const auto first = static_cast<std::uint8_t>(rest.front());
    rest.remove_prefix(1);
    return first;
}

VLString Fuzz::Input::line() {
    const std::string_view taken = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(rest.size(), taken.size() + 1));
    return textOf(taken);
}
