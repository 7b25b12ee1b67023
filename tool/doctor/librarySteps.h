// Steps "library", "functions" and "wallet": the client library.
#pragma once

#include <string>

#include "tool/command/CommandOptions.h"
#include "tool/doctor/Report.h"

namespace Orvanta_OvWallet::Tool {

// Reads the library's file, and loads it and opens a wallet in a child, as the depth says.
void addLibrarySteps(const std::string& clientDir, Depth depth, int timeoutSeconds, Report& report);

}  // namespace Orvanta_OvWallet::Tool
