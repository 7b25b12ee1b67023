// The command "why".
#pragma once

#include "tool/command/CommandOptions.h"

namespace Orvanta_OvWallet::Tool {

// Explains the message, or each message in the log on standard input, once. Returns the exit
// status: 3 when there is none that is known.
int runWhy(const WhyOptions& options);

}  // namespace Orvanta_OvWallet::Tool
