#include "Utility/InstallInspector/Report/NearestName.h"

#include <algorithm>
#include <cctype>

namespace {

/// A longer text is no misspelling of any name known here, and the distance costs the product of the lengths.
constexpr std::size_t longestName = 64;

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

/// Edit distance with swaps of neighbours (optimal string alignment).
std::size_t distance(const std::string& a, const std::string& b) {
    std::vector<std::vector<std::size_t>> table(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        table[i][0] = i;
    }
    for (std::size_t j = 0; j <= b.size(); ++j) {
        table[0][j] = j;
    }
    for (std::size_t i = 1; i <= a.size(); ++i) {
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replace = table[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            table[i][j] = std::min({replace, table[i - 1][j] + 1, table[i][j - 1] + 1});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                table[i][j] = std::min(table[i][j], table[i - 2][j - 2] + 1);
            }
        }
    }
    return table[a.size()][b.size()];
}

} // namespace

std::optional<std::string> nearestName(const std::string& text, const std::vector<std::string>& candidates) {
    if (text.empty() || text.size() > longestName) {
        return std::nullopt;
    }
    const std::string wanted = lowerCase(text);
    std::optional<std::string> best;
    std::size_t bestDistance = 0;
    for (const std::string& candidate : candidates) {
        if (candidate.empty() || candidate.size() > longestName) {
            continue;
        }
        const std::size_t found = distance(wanted, lowerCase(candidate));
        // A third of the characters may be wrong, and one in any case of more than two.
        const std::size_t length = std::max(text.size(), candidate.size());
        const std::size_t allowed = length <= 2 ? 0 : std::max<std::size_t>(1, length / 3);
        if (found <= allowed && (!best.has_value() || found < bestDistance)) {
            best = candidate;
            bestDistance = found;
        }
    }
    return best;
}
