#include "wallet/WalletOwner.h"

#include "support/formatMessage.h"

namespace Orvanta_OvWallet {

void throwWalletError(const char* messageTemplate, WalletError* error) {
    const OwnedWalletError owner(error);
    const char* const description =
        copyingExceptions([error] { return OvWallet_getErrorDescription(error); });
    throw OvWalletException(
        formatMessage(messageTemplate, description == nullptr ? "unknown error" : description));
}

Wallet* openWallet() {
    Wallet* wallet = nullptr;
    WalletError* const error = OvWalletFactory_generateOvWalletV1(&wallet);
    if (error != nullptr) {
        throwWalletError(kCannotUseWallet, error);
    }
    return wallet;
}

}  // namespace Orvanta_OvWallet
