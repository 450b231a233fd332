#pragma once

#include "Foundation/VLString.h"

#include <optional>

/// The placeholders of a pattern: text between two percent signs that InstallUtility::fillPattern may fill
/// in.
namespace Pattern {

struct Placeholder {
    enum class Kind {
        Unknown,          ///< stays as it is
        User,             ///< %USER%, in any case
        Registry,         ///< has "REGKEY:", and "::" between key and value name
        MalformedRegistry ///< has "REGKEY:" alone; stays as it is
    };

    Kind kind;
    unsigned long begin; ///< offset of the first percent sign
    VLString text;       ///< with both percent signs

    unsigned long end() const { return begin + text.Size(); }
};

/// The first placeholder in `pattern` from the offset `start` on; none without two percent signs there.
std::optional<Placeholder> findPlaceholder(const VLString& pattern, unsigned long start);

/// What a registry placeholder "%REGKEY:key::value name%" stands for.
struct RegistryReference {
    VLString key;
    VLString valueName;
};
/// `placeholder` is the text of one of the kind Registry. Intended: as many characters as "%REGKEY:" has are
/// passed over, whatever they are.
RegistryReference registryReference(const VLString& placeholder);

/// Replaces each %FAMILY% in `path` by `family`. When `path` would grow beyond 1 MiB, gives false and one
/// error line, and `path` is as it was.
bool fillFamily(VLString& path, const VLString& family);

} // namespace Pattern
