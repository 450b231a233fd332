#pragma once

#include <optional>
#include <string>
#include <vector>

/// The one of `candidates` that someone who wrote `text` most likely meant: the fewest characters to insert,
/// drop, replace or swap, whatever the case; the first of several. None when all are too far away.
std::optional<std::string> nearestName(const std::string& text, const std::vector<std::string>& candidates);
