#include "Utility/InstallUtility/Pattern.h"

#include "Foundation/FileLibrary.h"
#include "Foundation/Machine.h"
#include "Foundation/SimpleLog.h"
#include "Utility/InstallUtility/InstallUtility.h"
#include "Utility/InstallUtility/OncePerRun.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

using Pattern::Placeholder;

// If a value contains its own placeholder, directly or through others, the replacements would never end. No
// useful pattern reaches these limits.

constexpr unsigned int mostExpansions = 256;
constexpr unsigned long longestExpansion = 1UL << 20;

VLString withoutLastCharacter(const VLString& text) {
    return text.IsEmpty() ? text : text.Substr(0, text.Size() - 1);
}

/// The text after "%REGKEY:".
VLString behindOpening(const VLString& placeholder) {
    return placeholder.Substr(VLString("%REGKEY:").Size(), VLString::maxLen);
}

Placeholder::Kind kindOf(const VLString& placeholder) {
    using Kind = Placeholder::Kind;
    if (placeholder.EqualsIgnoreCase("%USER%")) {
        return Kind::User;
    }
    if (!placeholder.HasOf(placeholder.IndexOf("REGKEY:", 0))) {
        return Kind::Unknown;
    }
    const VLString reference = behindOpening(placeholder);
    return reference.HasOf(reference.IndexOf("::", 0)) ? Kind::Registry : Kind::MalformedRegistry;
}

// Text from a user's preferences or environment becomes part of commands that the superuser runs. A shell
// interprets some characters inside double quotes, and more outside of them.

bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

bool hasControlOrAnyOf(const VLString& text, const char* characters) {
    const char* begin = text.ConstData();
    return std::any_of(begin, begin + text.Size(),
                       [&](char c) { return isControl(c) || std::strchr(characters, c) != nullptr; });
}

/// Logs that a value is not used, once in a run.
void logRefused(const VLString& what) {
    if (OncePerRun::isFirst(what)) {
        SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                            "%s holds a character that a shell would act on. It counts as empty.",
                            what.ConstData());
    }
}

VLString registryValue(const VLString& placeholder) {
    const Pattern::RegistryReference reference = Pattern::registryReference(placeholder);
    VLString value = Machine::current().preference(reference.key, reference.valueName,
                                                   InstallUtility::getUserPreferencesPath());
    if (hasControlOrAnyOf(value, "\"$`\\")) {
        logRefused(VLString("The preference '") + reference.key + "::" + reference.valueName + "'");
        value.Clear();
    }
    return value;
}

bool isFilledIn(Placeholder::Kind kind) {
    return kind == Placeholder::Kind::User || kind == Placeholder::Kind::Registry;
}

VLString valueOf(const Placeholder& placeholder) {
    return placeholder.kind == Placeholder::Kind::User ? InstallUtility::getUserName()
                                                       : registryValue(placeholder.text);
}

/// Whether HOME is safe in "eval echo $HOME". The shell splits its value, replaces wildcards with file names,
/// and evaluates the result again.
bool isHomeSafe() {
    const char* home = Machine::current().environmentHome();
    if (home == nullptr || Pattern::isFitForEval(home)) {
        return true;
    }
    logRefused("The environment variable HOME");
    return false;
}

unsigned long countOf(const VLString& needle, const VLString& text) {
    unsigned long count = 0;
    for (unsigned long found = text.IndexOf(needle, 0); text.HasOf(found);
         found = text.IndexOf(needle, found + needle.Size())) {
        ++count;
    }
    return count;
}

/// Replaces every such placeholder in `text` with its value. If `text` would be too long, returns false and
/// changes nothing.
bool expand(VLString& text, const VLString& placeholder, const VLString& value) {
    const unsigned long count = countOf(placeholder, text);
    const unsigned long size = text.Size() - count * placeholder.Size() + count * value.Size();
    if (size > longestExpansion && size > text.Size()) {
        return false;
    }
    text = text.Replace(placeholder, value);
    return true;
}

void sayEndless(const VLString& pattern) {
    SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                        "The pattern '%s' does not come to an end", pattern.ConstData());
}

} // namespace

namespace Pattern {

std::optional<Placeholder> findPlaceholder(const VLString& pattern, unsigned long start) {
    const unsigned long begin = pattern.IndexOf("%", start);
    const unsigned long end = pattern.HasOf(begin) ? pattern.IndexOf("%", begin + 1) : VLString::maxLen;
    if (!pattern.HasOf(end)) {
        return std::nullopt;
    }
    VLString text = pattern.Substr(begin, end + 1 - begin);
    const Placeholder::Kind kind = kindOf(text);
    return Placeholder{kind, begin, std::move(text)};
}

RegistryReference registryReference(const VLString& placeholder) {
    const VLString separator("::");
    const VLString reference = withoutLastCharacter(behindOpening(placeholder));
    const unsigned long keyLength = reference.IndexOf(separator, 0);
    return {reference.Substr(0, keyLength), reference.Substr(keyLength + separator.Size(), VLString::maxLen)};
}

bool isFitForEval(const VLString& text) {
    return !hasControlOrAnyOf(text, ";&|<>()$`\\\"'*?[");
}

bool fillFamily(VLString& path, const VLString& family) {
    // A longer path does not fit into a command.
    if (!expand(path, "%FAMILY%", family)) {
        sayEndless(path);
        return false;
    }
    return true;
}

} // namespace Pattern

VLString InstallUtility::fillPattern(const VLString& pattern) {
    VLString text = pattern;
    unsigned long position = 0;
    unsigned int expansions = 0;
    bool bMalformed = false;
    while (const auto placeholder = Pattern::findPlaceholder(text, position)) {
        if (!isFilledIn(placeholder->kind)) {
            bMalformed = bMalformed || placeholder->kind == Placeholder::Kind::MalformedRegistry;
            position = placeholder->end();
        } else if (expansions++ == mostExpansions ||
                   !expand(text, placeholder->text, valueOf(*placeholder))) {
            sayEndless(pattern);
            break;
        }
    }
    if (bMalformed) {
        SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                            "The pattern '%s' has a registry placeholder without \"::\"",
                            pattern.ConstData());
    }
    return text;
}

VLString InstallUtility::getUserName() {
    const VLString usersFolder("/Users/");
    VLString output;
    if (!isHomeSafe()) {
        return output;
    }
    exec("eval echo $HOME", output);
    if (output.Size() > usersFolder.Size() + 1) {
        output = output.Replace(usersFolder, VLString());
    }
    return withoutLastCharacter(output);
}

VLString InstallUtility::getUserHomePath() {
    VLString output;
    exec(VLString("eval echo '~") + getUserName() + "'", output);
    return withoutLastCharacter(output);
}

VLString InstallUtility::getUserPreferencesPath() {
    return getUserHomePath() + "/Library/Preferences";
}

bool InstallUtility::exec(const VLString& command, VLString& output) {
    VLString line = command;
    return ::exec(line, output);
}
