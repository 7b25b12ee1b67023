#include "tool/command/nearestWord.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace Orvanta_OvWallet::Tool {

std::size_t editDistance(std::string_view left, std::string_view right) {
    std::vector<std::size_t> beforeLast;
    std::vector<std::size_t> last(right.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 1; i <= left.size(); ++i) {
        std::vector<std::size_t> row(right.size() + 1, i);
        for (std::size_t j = 1; j <= right.size(); ++j) {
            const std::size_t replaced = last[j - 1] + (left[i - 1] == right[j - 1] ? 0 : 1);
            row[j] = std::min({replaced, last[j] + 1, row[j - 1] + 1});
            if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1]) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
        beforeLast = std::exchange(last, std::move(row));
    }
    return last.back();
}

std::optional<std::string> nearestWord(std::string_view wrong,
                                       const std::vector<std::string>& words) {
    std::optional<std::string> nearest;
    std::size_t fewest = std::max<std::size_t>(wrong.size() / 3, 1) + 1;
    for (const std::string& word : words) {
        const bool begun = wrong.size() > 1 && word.starts_with(wrong);
        const std::size_t distance = begun ? 1 : editDistance(wrong, word);
        if (distance < fewest) {
            fewest = distance;
            nearest = word;
        }
    }
    return nearest;
}

}  // namespace Orvanta_OvWallet::Tool
