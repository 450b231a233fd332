#include "Utility/InstallInspector/Documents/LookAlike.h"

#include "Platform/Utf8.h"
#include "Utility/InstallInspector/Report/Finding.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utf8proc.h>

namespace {

using Characters = std::vector<utf8proc_int32_t>;

constexpr utf8proc_int32_t wideBlank = 0x3000;

Characters charactersOf(const std::string& text) {
    Characters characters;
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    for (std::size_t at = 0; at < text.size();) {
        utf8proc_int32_t character = 0;
        const auto length =
            utf8proc_iterate(bytes + at, static_cast<utf8proc_ssize_t>(text.size() - at), &character);
        if (length < 1) {
            break;
        }
        characters.push_back(character);
        at += static_cast<std::size_t>(length);
    }
    return characters;
}

bool isBlank(utf8proc_int32_t character) {
    return character == ' ' || utf8proc_category(character) == UTF8PROC_CATEGORY_ZS;
}

/// Characters of formatting: of width 0, or for the direction of writing. The soft hyphen is one.
bool isInvisible(utf8proc_int32_t character) {
    return utf8proc_category(character) == UTF8PROC_CATEGORY_CF;
}

bool isJoiner(utf8proc_int32_t character) {
    return character == 0x200C || character == 0x200D;
}

std::string codeOf(utf8proc_int32_t character) {
    char text[16] = {};
    static_cast<void>(std::snprintf(text, sizeof text, "U+%04X", static_cast<unsigned int>(character)));
    return text;
}

std::string composed(const std::string& text) {
    utf8proc_uint8_t* result = utf8proc_NFC(reinterpret_cast<const utf8proc_uint8_t*>(text.c_str()));
    if (result == nullptr) {
        return text;
    }
    std::string form = reinterpret_cast<const char*>(result);
    std::free(result); // NOLINT: the library allocates with malloc
    return form;
}

std::string describe(const Characters& own, const Characters& other, const char* whose) {
    for (const auto character : own) {
        const bool bHere = character != ' ' && (isBlank(character) || isInvisible(character));
        if (bHere && std::count(own.begin(), own.end(), character) !=
                         std::count(other.begin(), other.end(), character)) {
            return std::string(whose) + " has " + codeOf(character) +
                   (isBlank(character) ? " for a blank" : ", which nobody sees");
        }
    }
    return "";
}

} // namespace

VLString appearanceOf(const VLString& name) {
    const std::string text = toString(name);
    const bool bAscii = std::all_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x80; });
    if (bAscii || !isUtf8(text) || text.find('\0') != std::string::npos) {
        return name;
    }
    std::string visible;
    for (const auto character : charactersOf(text)) {
        if (isBlank(character)) {
            visible += ' ';
        } else if (!isInvisible(character)) {
            utf8proc_uint8_t bytes[4] = {};
            const auto length = utf8proc_encode_char(character, bytes);
            visible.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
        }
    }
    return toVLString(composed(visible));
}

bool lookAlike(const VLString& a, const VLString& b) {
    return a != b && appearanceOf(a) == appearanceOf(b);
}

std::string diskFormOf(const std::string& name) {
    if (std::all_of(name.begin(), name.end(), [](unsigned char c) { return c < 0x80; })) {
        std::string lower = name;
        std::transform(lower.begin(), lower.end(), lower.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
        return lower;
    }
    utf8proc_uint8_t* folded = nullptr;
    const auto length = utf8proc_map(
        reinterpret_cast<const utf8proc_uint8_t*>(name.data()), static_cast<utf8proc_ssize_t>(name.size()),
        &folded, static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_DECOMPOSE | UTF8PROC_CASEFOLD));
    if (length < 0) {
        return name;
    }
    std::string form(reinterpret_cast<const char*>(folded), static_cast<std::size_t>(length));
    std::free(folded); // NOLINT: the library allocates with malloc
    return form;
}

std::string hiddenDifference(const VLString& first, const VLString& second) {
    const Characters a = charactersOf(toString(first));
    const Characters b = charactersOf(toString(second));
    std::string text = describe(a, b, "the first");
    if (text.empty()) {
        text = describe(b, a, "the second");
    }
    if (text.empty()) {
        // A composed accent is one character, a decomposed one two.
        text = std::string("the accents of the ") + (a.size() > b.size() ? "first" : "second") +
               " are characters of their own (Unicode form NFD)";
    }
    return text;
}

std::optional<std::string> lookAlikeAmong(const VLString& name, const std::vector<std::string>& names) {
    if (std::find(names.begin(), names.end(), toString(name)) != names.end()) {
        return std::nullopt;
    }
    const VLString appearance = appearanceOf(name);
    for (const std::string& other : names) {
        if (appearanceOf(toVLString(other)) == appearance) {
            return other;
        }
    }
    return std::nullopt;
}

std::string oddBlankIn(const VLString& text) {
    for (const auto character : charactersOf(toString(text))) {
        const bool bOdd = (isBlank(character) && character != ' ' && character != wideBlank) ||
                          (isInvisible(character) && !isJoiner(character));
        if (bOdd) {
            return codeOf(character);
        }
    }
    return "";
}
