#pragma once

#include "Foundation/VLString.h"

#include <optional>
#include <string>
#include <vector>

/// A form of `name` that is equal for all names that look the same. Accents are composed, every blank is
/// U+0020, and invisible characters are removed. A name that is not UTF-8 stays unchanged.
VLString appearanceOf(const VLString& name);

/// Whether the two names differ but look the same.
bool lookAlike(const VLString& a, const VLString& b);

/// A form of `name` that is equal for all names that most disks treat as the same. Such names differ only in
/// case, or in the Unicode form of a letter. A name that is not UTF-8 stays unchanged.
std::string diskFormOf(const std::string& name);

/// The difference of two names that look alike, such as "the first has U+00A0 for a blank".
std::string hiddenDifference(const VLString& first, const VLString& second);

/// The one of `names` that looks like `name` but differs from it. No value if there is none, or if `name`
/// itself is among them.
std::optional<std::string> lookAlikeAmong(const VLString& name, const std::vector<std::string>& names);

/// The code, such as "U+00A0", of the first character that is invisible or looks like a blank. Empty if there
/// is none. U+0020, and what scripts need in words, do not count: the joiners, and the wide blank of East
/// Asia.
std::string oddBlankIn(const VLString& text);
