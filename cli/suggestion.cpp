#include "cli/suggestion.h"

#include <algorithm>
#include <cstddef>

namespace brindle {

namespace {

std::size_t editDistance(std::string_view left, std::string_view right) {
    using CostRow = std::vector<std::size_t>;
    std::vector<CostRow> cost(left.size() + 1, CostRow(right.size() + 1));
    for (std::size_t i = 0; i <= left.size(); ++i) {
        for (std::size_t j = 0; j <= right.size(); ++j) {
            if (i == 0 || j == 0) {
                cost[i][j] = i + j;
                continue;
            }
            const std::size_t change = cost[i - 1][j - 1] + (left[i - 1] == right[j - 1] ? 0 : 1);
            cost[i][j] = std::min({change, cost[i - 1][j] + 1, cost[i][j - 1] + 1});
            if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1]) {
                cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
            }
        }
    }
    return cost[left.size()][right.size()];
}

}  // namespace

std::optional<std::string> closest(std::string_view typed, const std::vector<std::string>& known) {
    // Everything is near to what is very short.
    constexpr std::size_t kShortest = 3;
    constexpr std::size_t kLongest = 256;
    if (typed.size() < kShortest || typed.size() > kLongest) return std::nullopt;
    if (std::ranges::find(known, typed) != known.end()) return std::nullopt;
    std::optional<std::string> best;
    // Paths are long and much alike: there the last name says how much may be wrong.
    const std::size_t decisive = typed.substr(typed.rfind('/') + 1).size();
    std::size_t least = std::max<std::size_t>(1, decisive / 3) + 1;
    for (const std::string& each : known) {
        const std::size_t distance = editDistance(typed, each);
        if (distance >= least) continue;
        least = distance;
        best = each;
    }
    return best;
}

}  // namespace brindle
