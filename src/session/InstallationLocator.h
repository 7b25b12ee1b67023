// From the pathname of the module that holds this code to the OvWallet client directory.
//
// The module's links are followed to the directory where its file really lies. A link there called
// "ovwalletdir" leads to the wallet directory, whose parent is the client directory. A process
// whose effective user differs from its real user gets the client directory only when the wallet's
// helper executable there is what it should be (see helperExecutable.h).
#pragma once

#include <string>

#include "session/pathnames.h"

namespace Orvanta_OvWallet {

// The client directory that belongs to a wallet directory.
CanonicalPath clientDirectory(const std::string& walletDir);

// Returns an empty message and sets clientDir, or returns why the client directory could not be
// found, as a whole sentence for the user; clientDir then holds nothing of use.
//
// A module name without "/" is looked for in the directories listed in the environment variable
// "PATH". An empty element of the list stands for the root directory. Any number of links is
// followed, so links in a cycle keep the caller here for ever.
//
// Throws what CurrentDirectory and checkHelperExecutable throw.
std::string InstallationLocator(const std::string& moduleName, std::string& clientDir);

}  // namespace Orvanta_OvWallet
