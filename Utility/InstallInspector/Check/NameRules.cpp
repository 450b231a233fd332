#include "Utility/InstallInspector/Check/NameRules.h"

#include "Utility/InstallInspector/Documents/LookAlike.h"
#include "Utility/InstallInspector/Report/NearestName.h"

#include <algorithm>
#include <cctype>

std::optional<TextFault> shellCharacterIn(const VLString& text) {
    const std::string bytes = toString(text);
    const std::size_t found = bytes.find_first_of("\"$`\\");
    if (found == std::string::npos) {
        return std::nullopt;
    }
    TextFault fault;
    fault.advice = "Leave the character out of the name, on disk too.";
    switch (bytes[found]) {
    case '"':
        fault.message = "a double quote in " + quotedText(text);
        fault.consequence =
            "It ends the quoted path in the engine's shell commands: what follows is run as a "
            "command or taken for further paths.";
        break;
    case '$':
        fault.message = "a \"$\" in " + quotedText(text);
        fault.consequence = "The shell puts a variable or the output of a command in its place, while the "
                            "engine's own tests look for the name as it stands.";
        break;
    case '`':
        fault.message = "a backquote in " + quotedText(text);
        fault.consequence = "The shell runs what is between backquotes as a command.";
        break;
    default:
        fault.message = "a backslash in " + quotedText(text);
        fault.consequence = "To the shell it may take the meaning of the character behind it, the closing "
                            "quote of the path included, and vanish.";
        break;
    }
    return fault;
}

std::optional<TextFault> controlCharacterIn(const VLString& text) {
    const std::string bytes = toString(text);
    const auto found =
        std::find_if(bytes.begin(), bytes.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; });
    if (found == bytes.end()) {
        return std::nullopt;
    }
    const bool bBreak = *found == '\n' || *found == '\r';
    TextFault fault;
    fault.message = std::string(bBreak ? "a line break" : "a control character") + " in " + quotedText(text);
    fault.consequence = bBreak
                            ? "Lists of files and log lines have one name on each line: this one comes out "
                              "as two names."
                            : "It comes out garbled in log lines and lists of files.";
    fault.advice = "Write the name without it, on disk too.";
    return fault;
}

std::string flagMeantBy(const VLString& text) {
    for (const char* yes : {"true", "yes", "on", "1 ", " 1", "t", "y"}) {
        if (text.EqualsIgnoreCase(yes)) {
            return "1";
        }
    }
    for (const char* no : {"false", "no", "off", "0 ", " 0", "f", "n"}) {
        if (text.EqualsIgnoreCase(no)) {
            return "0";
        }
    }
    return "";
}

std::string attributeText(const char* name, const VLString& text) {
    return std::string(name) + "=" + quotedText(text);
}

bool hasBlankAtEnd(const VLString& text) {
    const auto isBlank = [](char c) { return std::isblank(static_cast<unsigned char>(c)) != 0; };
    return text.IsSet() && (isBlank(text[0]) || isBlank(text[text.Size() - 1]));
}

std::string remarkOnLook(const VLString& written, const VLString& other) {
    return lookAlike(written, other)
               ? " The two look the same: of this one and that, " + hiddenDifference(written, other) + "."
               : "";
}

std::string adviseNearest(const VLString& text, const std::vector<std::string>& candidates,
                          const std::string& fallback) {
    if (const auto twin = lookAlikeAmong(text, candidates)) {
        if (oddBlankIn(text).empty() && !oddBlankIn(toVLString(*twin)).empty()) {
            return "Mend the other name in place of this." + remarkOnLook(text, toVLString(*twin));
        }
        return "Write " + quotedText(toVLString(*twin)) + "." + remarkOnLook(text, toVLString(*twin));
    }
    const auto nearest = nearestName(toString(text), candidates);
    return nearest.has_value() ? "Write \"" + *nearest + "\"." : fallback;
}

std::string adviseOneOf(const VLString& text, const std::vector<std::string>& names) {
    std::string all;
    for (const std::string& name : names) {
        all += (all.empty() ? "" : ", ") + name;
    }
    return adviseNearest(text, names, "Write one of: " + all + ".");
}
