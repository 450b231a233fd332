#pragma once

#include "Utility/InstallInspector/Check/Rules.h"

#include <vector>

/// The hosts from comments "inspector: host NAME" in the two files. The engine does not know them, but they
/// are correct.
std::vector<VLString> hostsInComments(const Product& product);

/// Removes from `findings` what the line's options, and comments "inspector: ignore RULE" before elements,
/// exclude. Adds findings about mistakes in these options and comments.
void leaveOutIgnored(const ProductLine& line, std::vector<Finding>& findings);
