// What looks like a mistake in a reference: E2, W1, W3, W5 and U5.
#pragma once

#include "tool/explain/Explanation.h"

namespace Orvanta_OvWallet::Tool {

// The reference is one of the text.
void addNameLints(const ExplainedReference& reference, std::span<const std::uint8_t> text,
                  const JdbcUrlParts& url, std::vector<Lint>& lints);

}  // namespace Orvanta_OvWallet::Tool
