// How the files of the OvWallet software are named, and the failure when one is not there.
#pragma once

#include <string>

namespace Orvanta_OvWallet {

// The one version that this library works with.
inline constexpr const char* kWalletVersion = "14.10";

// The link beside our own file that leads to the wallet directory, "<client>/ovwallet".
inline constexpr const char* kWalletLink = "ovwalletdir";

// Files of the client directory, for clientFile.
inline constexpr const char* kClientLibrary = "libovwallet.so";
inline constexpr const char* kHelperExecutable = "ovwhelper.exe";

// The pathname of one of the files of our version and platform below a client directory.
std::string clientFile(const std::string& clientDir, const std::string& name);

// Throws NotInstalledException, which says that the file with this pathname is not there, or what
// formatMessage throws when the pathname is not UTF-8.
[[noreturn]] void throwNotInstalled(const std::string& pathname);

}  // namespace Orvanta_OvWallet
