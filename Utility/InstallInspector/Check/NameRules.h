#pragma once

#include "Utility/InstallInspector/Check/Rules.h"

#include <optional>
#include <string>

/// What is wrong with text that becomes part of a shell command.
struct TextFault {
    std::string message;
    std::string consequence;
    std::string advice;
};

/// A character that the shell interprets between double quotes.
std::optional<TextFault> shellCharacterIn(const VLString& text);
/// A line break or another control character.
std::optional<TextFault> controlCharacterIn(const VLString& text);

/// The value that the author of `text` probably intended, "0" or "1". "" if that is not clear.
std::string flagMeantBy(const VLString& text);

/// `text` in the form attribute="text", with control characters escaped.
std::string attributeText(const char* name, const VLString& text);

bool hasBlankAtEnd(const VLString& text);

/// A blank and a sentence about two names that differ and look the same. Empty for other names.
std::string remarkOnLook(const VLString& written, const VLString& other);

/// "Write X." for the nearest of `candidates`, otherwise `fallback`.
std::string adviseNearest(const VLString& text, const std::vector<std::string>& candidates,
                          const std::string& fallback);
/// "Write X." for the nearest of `names`, otherwise all of them to choose from.
std::string adviseOneOf(const VLString& text, const std::vector<std::string>& names);
