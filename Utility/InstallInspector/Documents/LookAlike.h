#pragma once

#include "Foundation/VLString.h"

#include <optional>
#include <string>
#include <vector>

/// `name` in one form for all names that look the same: accents composed, every blank a plain one, and
/// characters that nobody sees left out. What is no UTF-8 stays as it is.
VLString appearanceOf(const VLString& name);

/// Whether the two differ, and nobody can see it.
bool lookAlike(const VLString& a, const VLString& b);

/// The same for all names that most disks take for one: those that differ only in case or in the form in
/// which Unicode writes a letter. What is no UTF-8 stays as it is.
std::string diskFormOf(const std::string& name);

/// In what two names that look alike differ, such as "the first has U+00A0 for a blank".
std::string hiddenDifference(const VLString& first, const VLString& second);

/// The one of `names` that looks like `name` and is another; none when there is none, or when `name` itself
/// is among them.
std::optional<std::string> lookAlikeAmong(const VLString& name, const std::vector<std::string>& names);

/// The first character that looks like a blank, or like nothing, and is no plain blank, as "U+00A0"; empty
/// without one. Not what scripts need for their words: the joiners, and the wide blank of East Asia.
std::string oddBlankIn(const VLString& text);
