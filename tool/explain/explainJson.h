// Explanations for programs, and the lines of a batch.
#pragma once

#include <string>
#include <vector>

#include "tool/explain/explainPage.h"

namespace Orvanta_OvWallet::Tool {

// One object: "tool", "version", "schema" (1; rises on an incompatible change), "databaseId",
// "defaultEntry", "size", "references" ("begin", "end", "kind", "entry" in base64, "pieces"),
// "failure" (the exact text, or null), "lints" ("name", "begin", "end", "text") and "fetched"
// ("entry", "there", "holdsReferences", "failure").
std::string explanationJson(const Explanation& explanation,
                            const std::vector<FetchedEntry>& fetched);

// The answer to a line {"url": ..., "text": ...}, both base64, url may be null: one object with
// "references" ("begin", "end", "kind", "entry"), "failure" and "lints" (their names). Throws
// OvWalletException for a line that is no such object. Here a text does pass through ordinary
// strings.
std::string answerToBatchLine(const std::string& line);

}  // namespace Orvanta_OvWallet::Tool
