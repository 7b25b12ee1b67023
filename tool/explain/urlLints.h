// What looks like a mistake in a JDBC URL: U1 to U4.
#pragma once

#include "tool/explain/Explanation.h"

namespace Orvanta_OvWallet::Tool {

void addUrlLints(std::span<const std::uint8_t> url, std::vector<Lint>& lints);

}  // namespace Orvanta_OvWallet::Tool
