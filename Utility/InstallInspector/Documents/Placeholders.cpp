#include "Utility/InstallInspector/Documents/Placeholders.h"

#include "Foundation/VLString.h"

namespace {

Placeholder classify(const std::string& text) {
    static const std::string opening = "%REGKEY:";
    Placeholder placeholder = {Placeholder::Kind::Unknown, text, "", ""};
    if (VLString(text.data(), text.size()).EqualsIgnoreCase("%USER%")) {
        placeholder.kind = Placeholder::Kind::User;
    } else if (text.find("REGKEY:") != std::string::npos) {
        const std::size_t separator = text.find("::", opening.size());
        if (text.compare(0, opening.size(), opening) != 0 || separator == std::string::npos) {
            placeholder.kind = Placeholder::Kind::MalformedRegistry;
        } else {
            placeholder.kind = Placeholder::Kind::Registry;
            placeholder.key = text.substr(opening.size(), separator - opening.size());
            placeholder.value = text.substr(separator + 2, text.size() - separator - 3);
        }
    }
    return placeholder;
}

/// Calls `visit` with each placeholder and its offset.
template <class Visitor>
void forEach(const std::string& pattern, bool bPath, Visitor visit) {
    static const std::string family = "%FAMILY%";
    std::size_t position = 0;
    for (;;) {
        const std::size_t begin = pattern.find('%', position);
        if (begin == std::string::npos) {
            return;
        }
        // In paths it is replaced before all else, so it pairs with no other sign.
        if (bPath && pattern.compare(begin, family.size(), family) == 0) {
            visit(begin, Placeholder{Placeholder::Kind::Family, family, "", ""});
            position = begin + family.size();
            continue;
        }
        std::size_t end = pattern.find('%', begin + 1);
        while (bPath && end != std::string::npos && pattern.compare(end, family.size(), family) == 0) {
            end = pattern.find('%', end + family.size());
        }
        if (end == std::string::npos) {
            visit(begin, Placeholder{Placeholder::Kind::Lone, "%", "", ""});
            return;
        }
        visit(begin, classify(pattern.substr(begin, end + 1 - begin)));
        position = end + 1;
    }
}

} // namespace

std::vector<Placeholder> placeholdersIn(const std::string& pattern, bool bPath) {
    std::vector<Placeholder> placeholders;
    forEach(pattern, bPath,
            [&](std::size_t, Placeholder placeholder) { placeholders.push_back(std::move(placeholder)); });
    return placeholders;
}

std::string withoutPlaceholders(const std::string& pattern) {
    std::string rest;
    std::size_t position = 0;
    forEach(pattern, true, [&](std::size_t begin, const Placeholder& placeholder) {
        using Kind = Placeholder::Kind;
        if (placeholder.kind == Kind::User || placeholder.kind == Kind::Registry ||
            placeholder.kind == Kind::MalformedRegistry) {
            rest += pattern.substr(position, begin - position);
            position = begin + placeholder.text.size();
        }
    });
    return rest + pattern.substr(position);
}
