// What looks like a mistake outside of references: W2, W4, S1 and S2. None of the text is quoted.
#pragma once

#include "tool/explain/Explanation.h"

namespace Orvanta_OvWallet::Tool {

// W2, W4 and S1. The references are those of the text, in order.
void addTextLints(std::span<const std::uint8_t> text,
                  const std::vector<ExplainedReference>& references, std::vector<Lint>& lints);

// S2: about the end of the text.
void addEndLints(std::span<const std::uint8_t> text, std::vector<Lint>& lints);

}  // namespace Orvanta_OvWallet::Tool
