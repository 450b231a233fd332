#pragma once

#include <cstdlib>
#include <map>
#include <string>

/// Whether tests run in their long forms. Scripts/torture sets RELIABILITY_FULL.
inline bool isFullRun() {
    const char* full = std::getenv("RELIABILITY_FULL"); // NOLINT(concurrency-mt-unsafe): nobody sets it
    return full != nullptr && *full != '\0';
}

/// The number in an environment variable. `otherwise` without the variable.
inline unsigned numberInEnvironment(const char* name, unsigned otherwise) {
    const char* text = std::getenv(name); // NOLINT(concurrency-mt-unsafe): nobody sets it
    return text == nullptr ? otherwise : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

/// What was counted, in a line of figures: "2 harm, 5 safe".
inline std::string listedCounts(const std::map<std::string, int>& counts) {
    std::string text;
    for (const auto& [name, count] : counts) {
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + name;
    }
    return text;
}
