#include "session/walletFiles.h"

#include "support/OvWalletException.h"
#include "support/formatMessage.h"

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kNotInstalled = "Orvanta Wallet %s is not installed (cannot access \"%s\")";
constexpr const char* kPlatform = "redhatlinux-x8664";

}  // namespace

std::string clientFile(const std::string& clientDir, const std::string& name) {
    return clientDir + "/" + kWalletVersion + "/ovwallet/" + kPlatform + "/" + name;
}

void throwNotInstalled(const std::string& pathname) {
    throw NotInstalledException(formatMessage(kNotInstalled, kWalletVersion, pathname.c_str()));
}

}  // namespace Orvanta_OvWallet
