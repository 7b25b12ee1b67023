#include "tool/doctor/clientLibrary.h"

#include <exception>

#include "session/ModuleLocator.h"
#include "tool/doctor/useFailure.h"
#include "wallet/ProcessLock.h"
#include "wallet/WalletFunctionPointers.h"
#include "wallet/WalletOwner.h"

namespace Orvanta_OvWallet::Tool {
namespace {

using PrivateStuff::walletFunctions;

using OwnedUTF8Vector = WalletOwner<UTF8Vector, OvWallet_freeUTF8Vector>;

std::string versionOf(Wallet* wallet) {
    UTF8Vector* version = nullptr;
    WalletError* const error = OvWallet_getVersion(wallet, &version);
    if (error != nullptr) {
        const OwnedWalletError owner(error);
        return {};
    }
    const OwnedUTF8Vector owner(version);
    const auto* const bytes = reinterpret_cast<const char*>(OvWallet_getPtrUTF8Vector(version));
    return bytes == nullptr ? "" : std::string(bytes, OvWallet_getSizeUTF8Vector(version));
}

}  // namespace

void useClientDirectory(const std::string& clientDir) {
    moduleLocationEnabled = false;
    ModuleLocator() = clientDir;
}

void tryClientLibrary(const ChildReport& report, const std::string& clientDir, bool open) {
    useClientDirectory(clientDir);
    try {
        const ProcessLockGuard lock;
        walletFunctions().load();
    } catch (const std::exception& failure) {
        report.put("failure", useFailure(failure));
        return;
    }
    report.put("loaded", walletFunctions().path());
    try {
        if (open) {
            OwnedWallet wallet(openWallet());
            report.put("opened", versionOf(wallet.get()));
            wallet.free();
        }
        const ProcessLockGuard lock;
        walletFunctions().release();
    } catch (const std::exception& failure) {
        report.put("failure", failure.what());
    }
}

}  // namespace Orvanta_OvWallet::Tool
