// Finds the directory below which the OvWallet software is installed.
#pragma once

#include <string>

namespace Orvanta_OvWallet {

// Where the operating system keeps what leads to the installation.
inline constexpr const char* kCommandLink = "/usr/bin/ovwallet";
inline constexpr const char* kPackageDatabase = "/var/lib/rpm";

// Follows the links of the command link to the command's file; the installation is five levels
// above the file's directory. Without a command link, looks through the package records:
// directories named "ovwallet" and any number of digits, in ascending order of their bytes, whose
// file "inst.dir" has the name of an existing directory as its first line. Version numbers are not
// compared.
//
// Throws OvWalletException, deliberately not NotInstalledException: "The Orvanta Wallet software is
// not installed; install version 14.10 of the Orvanta Wallet software (available from SITE) in
// order to use Orvanta Wallet." (one line), and what DirectoryScanner throws, also when there is no
// package database at all.
//
// Deliberate: any number of links is followed, so links in a cycle keep the caller here for ever.
std::string findInstallation(const std::string& commandLink, const std::string& packageDatabase);

}  // namespace Orvanta_OvWallet
