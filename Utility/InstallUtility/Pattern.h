#pragma once

#include "Foundation/VLString.h"

#include <optional>

/// The placeholders of a pattern: texts between two percent signs. InstallUtility::fillPattern replaces them.
namespace Pattern {

struct Placeholder {
    enum class Kind {
        Unknown,          ///< stays as it is
        User,             ///< %USER%, in upper or lower case
        Registry,         ///< contains "REGKEY:", and "::" between key and value name
        MalformedRegistry ///< contains "REGKEY:" but no "::"; stays as it is
    };

    Kind kind;
    unsigned long begin; ///< the position of the first percent sign
    VLString text;       ///< with both percent signs

    unsigned long end() const { return begin + text.Size(); }
};

/// The first placeholder in `pattern` at or after `start`. No value without two percent signs there.
std::optional<Placeholder> findPlaceholder(const VLString& pattern, unsigned long start);

/// The parts of a registry placeholder "%REGKEY:key::value name%".
struct RegistryReference {
    VLString key;
    VLString valueName;
};
/// Splits the text of a placeholder of the kind Registry. Intended: skips the length of "%REGKEY:", whatever
/// the characters are.
RegistryReference registryReference(const VLString& placeholder);

/// Whether the shell finds nothing to act on in `text`, also where it looks at it twice, as in
/// "eval echo $HOME".
bool isFitForEval(const VLString& text);

/// Replaces each %FAMILY% in `path` with `family`. If `path` would be longer than 1 MiB, logs an error,
/// returns false and does not change `path`.
bool fillFamily(VLString& path, const VLString& family);

} // namespace Pattern
