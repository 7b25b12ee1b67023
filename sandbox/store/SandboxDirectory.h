// Where the sandbox wallet of the present user keeps its files.
#pragma once

#include <string>

namespace Orvanta_OvWallet::Sandbox {

// $OVWALLET_SANDBOX_HOME, or $HOME/.ovwallet-sandbox when that is not set. The directory need not
// exist. Throws Failure when the variable is set and empty, and when HOME does not help either.
std::string directoryFromEnvironment();

// Records that a value was asked for: appends "get NAME" to the file "journal" in the directory,
// when that file exists. Each line is one write to a file opened for appending, so the lines of
// several processes do not mix.
void journalFetch(const std::string& directory, const std::string& name);

}  // namespace Orvanta_OvWallet::Sandbox
