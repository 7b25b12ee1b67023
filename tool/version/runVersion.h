// The command "version".
#pragma once

#include "tool/command/CommandOptions.h"

namespace Orvanta_OvWallet::Tool {

// Tells version and build id of a file, or of each copy of the library in a process. Returns the
// exit status: 3 when there is nothing to be told.
int runVersion(const VersionOptions& options);

}  // namespace Orvanta_OvWallet::Tool
