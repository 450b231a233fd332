#include "Utility/InstallInspector/Documents/Placeholders.h"

#include <algorithm>
#include <utility>

std::vector<Pattern::Placeholder> placeholdersIn(const VLString& pattern, bool bPath) {
    // Of the same length, so that offsets stay, and without percent signs to pair with others.
    const VLString searched = bPath ? pattern.Replace("%FAMILY%", "_FAMILY_") : pattern;
    std::vector<Pattern::Placeholder> placeholders;
    unsigned long position = 0;
    while (auto placeholder = Pattern::findPlaceholder(searched, position)) {
        position = placeholder->end();
        placeholder->text = pattern.Substr(placeholder->begin, placeholder->text.Size());
        placeholders.push_back(std::move(*placeholder));
    }
    return placeholders;
}

bool hasLonePercentSign(const VLString& pattern) {
    const char* text = pattern.ConstData();
    return std::count(text, text + pattern.Size(), '%') % 2 != 0;
}

VLString withoutPlaceholders(const VLString& pattern) {
    VLString rest;
    unsigned long position = 0;
    for (const Pattern::Placeholder& placeholder : placeholdersIn(pattern, true)) {
        if (placeholder.kind != Pattern::Placeholder::Kind::Unknown) {
            rest += pattern.Substr(position, placeholder.begin - position);
            position = placeholder.end();
        }
    }
    return rest + pattern.Substr(position, VLString::maxLen);
}
