// The client library as a job uses it. For child processes only: it runs the wallet's code.
#pragma once

#include <string>

#include "tool/doctor/Child.h"

namespace Orvanta_OvWallet::Tool {

// Has the library look for the client library in this client directory from now on.
void useClientDirectory(const std::string& clientDir);

// Loads the client library, and with open opens and frees a wallet. Reports as it goes on:
//   "loaded"   the pathname, once all functions are there
//   "opened"   the client's version, or nothing, once a wallet is open
//   "failure"  what a job is told
void tryClientLibrary(const ChildReport& report, const std::string& clientDir, bool open);

}  // namespace Orvanta_OvWallet::Tool
