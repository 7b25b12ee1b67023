// The suggestion after a word that is wrong.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Orvanta_OvWallet::Tool {

// How many bytes have to be inserted, removed, replaced, or swapped with their neighbour to make
// one word of the other.
std::size_t editDistance(std::string_view left, std::string_view right);

// The word that takes the fewest edits, if these are few enough for a slip of the finger: a third
// of the word at most, one at least. A word that was only begun counts as one edit. Of equals the
// first.
std::optional<std::string> nearestWord(std::string_view wrong,
                                       const std::vector<std::string>& words);

}  // namespace Orvanta_OvWallet::Tool
