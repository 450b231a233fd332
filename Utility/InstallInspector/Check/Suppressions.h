#pragma once

#include "Utility/InstallInspector/Check/Rules.h"

#include <vector>

/// What a comment "inspector: host NAME" in one of the two files says: hosts that the engine does not know,
/// and that are meant.
std::vector<VLString> hostsInComments(const Product& product);

/// Takes out of `findings` what the line's options, and comments "inspector: ignore RULE" before elements,
/// say is meant, and adds what is wrong with these themselves.
void leaveOutIgnored(const ProductLine& line, std::vector<Finding>& findings);
