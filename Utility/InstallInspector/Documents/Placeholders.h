#pragma once

#include "Utility/InstallUtility/Pattern.h"

#include <vector>

/// The placeholders of `pattern`, as the engine finds them. In a path (`bPath`), %FAMILY% is left out,
/// because the engine replaces it before it looks for placeholders.
std::vector<Pattern::Placeholder> placeholdersIn(const VLString& pattern, bool bPath);

/// Whether `pattern` has a percent sign without a second one. Each placeholder uses two.
bool hasLonePercentSign(const VLString& pattern);

/// `pattern` as a path without %USER% and registry placeholders. Removes malformed ones, too.
VLString withoutPlaceholders(const VLString& pattern);
