#pragma once

#include <string>
#include <vector>

/// Something between percent signs in a pattern, found as InstallUtility::fillPattern finds it.
struct Placeholder {
    enum class Kind {
        Unknown,
        Family,
        User,
        Registry,
        MalformedRegistry, ///< without "::", or with something in front of REGKEY
        Lone               ///< a percent sign that no second one closes
    };

    Kind kind;
    std::string text;  ///< with its percent signs
    std::string key;   ///< of a registry placeholder
    std::string value; ///< the value's name
};

/// In their order. `bPath`: %FAMILY% counts, as it does in paths alone.
std::vector<Placeholder> placeholdersIn(const std::string& pattern, bool bPath);

/// What the pattern has outside of %USER% and registry placeholders, whole or malformed.
std::string withoutPlaceholders(const std::string& pattern);
