// The table of the OvWallet client library's entry points, one function pointer each.
//
// There is one table in the process, made on first use and never destroyed. The pointers are null
// until the library was loaded for the first time, and valid while the use count is above
// zero.
#pragma once

#include <cstdint>

#include "wallet/LibraryLoaderBase.h"
#include "wallet/WalletTypes.h"

namespace Orvanta_OvWallet::PrivateStuff {

class WalletFunctionPointers_t : public LibraryLoaderBase_t<WalletFunctionPointers_t> {
  public:
    void resolveEntryPoints();

#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) \
    result(*name) parameters = nullptr;
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) \
    result(*name) parameters = nullptr;
#include "wallet/EntryPoints.def"
};

// The table of this process.
WalletFunctionPointers_t& walletFunctions();

}  // namespace Orvanta_OvWallet::PrivateStuff
