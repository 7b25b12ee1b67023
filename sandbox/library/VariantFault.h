// What is built into a variant of the client library to be wrong.
#pragma once

#include "sandbox/ledger/Ledger.h"

namespace Orvanta_OvWallet::Sandbox {

// What every call of the entry point throws, whatever the ledger says.
ThrowKind builtInThrow(EntryPoint entryPoint);

}  // namespace Orvanta_OvWallet::Sandbox
