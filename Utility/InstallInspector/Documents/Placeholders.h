#pragma once

#include "Utility/InstallUtility/Pattern.h"

#include <vector>

/// The placeholders of `pattern` as the engine finds them, in their order. In a path (`bPath`) %FAMILY% is
/// none of them, since the engine replaces it before it looks for others.
std::vector<Pattern::Placeholder> placeholdersIn(const VLString& pattern, bool bPath);

/// Whether `pattern` has a percent sign that no second one closes: placeholders take them two at a time.
bool hasLonePercentSign(const VLString& pattern);

/// What `pattern`, read as a path, has outside of %USER% and registry placeholders, whole or malformed.
VLString withoutPlaceholders(const VLString& pattern);
