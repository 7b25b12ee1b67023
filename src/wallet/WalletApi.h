// The OvWallet client library as the rest of this library sees it: one wrapper per entry point,
// with the entry point's own name, parameters and result.
//
// Nothing else calls the client library. A wrapper that returns a WalletError* returns null on
// success and throws nothing derived from std::exception. Error objects are read with
// OvWallet_getErrorDescription (the text lives as long as the object) and OvWallet_getErrorCode,
// and freed with OvWallet_freeError; every other object is freed with the free function of its
// kind. Freeing may throw OvWalletException, or the formatter's exception in its place, when the
// library cannot be closed or the lock cannot be had. The object is gone in the first case; in the
// second an error object stays, and of any other object its use of the library. Freeing may also
// throw what the client library throws: then the object stays, and its use, which keeps the library
// open while the exception is read.
// EntryPoints.def lists the wrappers, CallDisciplines.h says what each one does around the call.
// Any thread may call any of them; one wallet is used by one thread at a time.
#pragma once

#include <cstdint>

#include "wallet/WalletTypes.h"

namespace Orvanta_OvWallet {

#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) \
    result name parameters;
#include "wallet/EntryPoints.def"

}  // namespace Orvanta_OvWallet
