#include "tool/doctor/useFailure.h"

#include "wallet/ErrorRegistry.h"
#include "wallet/WalletOwner.h"

namespace Orvanta_OvWallet::Tool {

std::string useFailure(const std::exception& reason) {
    try {
        throwWalletError(kCannotUseWallet,
                         PrivateStuff::errorFromException(reason, PrivateStuff::kFailureCode));
    } catch (const std::exception& failure) {
        return failure.what();
    }
}

Verdict useVerdict(std::string message, std::string cause, std::string advice) {
    return {Outcome::kException, kConnectorException, std::move(message), true,
            std::move(cause),    std::move(advice)};
}

}  // namespace Orvanta_OvWallet::Tool
