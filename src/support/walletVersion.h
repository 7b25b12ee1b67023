// The one version of the OvWallet software that this library works with, and how its files are
// named.
#pragma once

namespace Orvanta_OvWallet {

inline constexpr const char* kWalletVersion = "14.10";
inline constexpr const char* kWalletPlatform = "redhatlinux-x8664";

// Message of NotInstalledException, filled with the version and the pathname that is missing.
inline constexpr const char* kWalletMissing =
    "Orvanta Wallet %s is not installed (cannot access \"%s\")";

}  // namespace Orvanta_OvWallet
