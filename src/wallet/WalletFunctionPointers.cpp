#include "wallet/WalletFunctionPointers.h"

#include <algorithm>
#include <array>

#include "support/NeverDestroyed.h"

namespace Orvanta_OvWallet::PrivateStuff {
namespace {

constexpr std::array kOrdinals{
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) ordinal,
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) ordinal,
#include "wallet/EntryPoints.def"
};
static_assert(kOrdinals.size() == 41);
static_assert(std::adjacent_find(kOrdinals.begin(), kOrdinals.end(),
                                 [](int a, int b) { return a >= b; }) == kOrdinals.end());
static_assert(std::find(kOrdinals.begin(), kOrdinals.end(), 32) == kOrdinals.end());
static_assert(kOrdinals.front() == 1 && kOrdinals.back() == 42);

}  // namespace

void WalletFunctionPointers_t::resolveEntryPoints() {
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) \
    resolve(#name, ordinal, name);
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) resolve(#name, ordinal, name);
#include "wallet/EntryPoints.def"
}

WalletFunctionPointers_t& walletFunctions() {
    static NeverDestroyed<WalletFunctionPointers_t> table;
    return *table;
}

}  // namespace Orvanta_OvWallet::PrivateStuff
