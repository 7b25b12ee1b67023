// The command "doctor".
#pragma once

#include "tool/command/CommandOptions.h"

namespace Orvanta_OvWallet::Tool {

// Returns the exit status.
int runDoctor(const DoctorOptions& options);

}  // namespace Orvanta_OvWallet::Tool
