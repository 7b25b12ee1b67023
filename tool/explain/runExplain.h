// The command "explain".
#pragma once

#include "tool/command/CommandOptions.h"

namespace Orvanta_OvWallet::Tool {

// Returns the exit status. Throws OvWalletException with a sentence for a text that cannot be read.
int runExplain(const ExplainOptions& options);

}  // namespace Orvanta_OvWallet::Tool
