#pragma once

#include <optional>
#include <string>
#include <vector>

/// The candidate that is most similar to `text`: with the fewest characters to insert, delete, replace or
/// swap (the optimal string alignment distance), in upper or lower case. The first of several. No value if
/// all differ too much.
std::optional<std::string> nearestName(const std::string& text, const std::vector<std::string>& candidates);
