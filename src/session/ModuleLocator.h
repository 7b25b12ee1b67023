// Finds the file of the module that holds this code, and from it the OvWallet client directory.
//
// The caller of this library puts its file into a private directory, so the pathname is known only
// at run time. Two sources are asked: the process's memory map, then the dynamic linker's list of
// modules. The second is asked when the first knows no pathname from which InstallationLocator gets
// to a client directory.
#pragma once

#include <string>

namespace Orvanta_OvWallet {

// Off, ModuleLocator looks nowhere and returns the string as it is. It is on, and nothing in the
// library switches it.
extern bool moduleLocationEnabled;

// Returns the one client directory string of the process, filled afresh by each call. The caller
// holds ProcessLock, which guards the string.
//
// Throws OvWalletException, with the message of InstallationLocator for the last pathname that was
// known, and lets the exceptions of InstallationLocator pass.
std::string& ModuleLocator();

}  // namespace Orvanta_OvWallet
