// An explanation for a person.
#pragma once

#include "tool/explain/Explanation.h"
#include "tool/output/TextPage.h"

namespace Orvanta_OvWallet::Tool {

// What the wallet said of one entry; no value, and nothing of its length.
struct FetchedEntry {
    std::string entry;
    bool there = false;
    bool holdsReferences = false;
    std::string failure;  // the whole message, where it is not there
};

// fetched has one row per entry that was asked for, or none where the wallet was not asked.
void addExplanation(TextPage& page, const Explanation& explanation, bool hasUrl,
                    const std::vector<FetchedEntry>& fetched);

}  // namespace Orvanta_OvWallet::Tool
