// Apart from the rest, which also serves a program that has the library in a module of its own.

#include "doubles/SandboxWallet.h"
#include "wallet/WalletFunctionPointers.h"

std::string SandboxWallet::held() const {
    std::string text;
    for (const char* const name : {"live.wallets", "live.locked_vectors", "live.vectors",
                                   "live.name_lists", "live.errors", "bad_frees", "bad_uses"}) {
        if (const std::int64_t count = counter(name); count != 0) {
            text += name + (" " + std::to_string(count)) + "\n";
        }
    }
    if (!Orvanta_OvWallet::PrivateStuff::walletFunctions().useCount().isZero()) {
        text += "uses of the library\n";
    }
    return text;
}
