// Asks the wallet of this user for the entries of references, in a child. No value leaves it.
#pragma once

#include <vector>

#include "tool/explain/explainPage.h"

namespace Orvanta_OvWallet::Tool {

// A row per reference, up to the first entry that cannot be had.
std::vector<FetchedEntry> fetchEntries(const std::vector<ExplainedReference>& references);

}  // namespace Orvanta_OvWallet::Tool
