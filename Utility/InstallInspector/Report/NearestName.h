#pragma once

#include <optional>
#include <string>
#include <vector>

/// The candidate that is most similar to `text`. It needs the fewest characters to insert, delete, replace or
/// swap (the optimal string alignment distance); case does not count. If several are equally similar, the
/// first one. No value if all differ too much.
std::optional<std::string> nearestName(const std::string& text, const std::vector<std::string>& candidates);
