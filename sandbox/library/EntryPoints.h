// The 41 entry points as the sandbox wallet defines them, and what it takes their arguments for.
//
// The prototypes are read from the one list, so that they cannot drift from what the callers of the
// real library were built for. What the list only numbers by position means, in the sandbox:
//
//   OvWalletFactory_generateLocaleOvWalletV1
//       argument2   const char*: a locale name; null, "C", "POSIX", "en" and "en_..." are known
//   OvWallet_addStringFromTerminal, ..._addSavedKeyStringFromTerminal,
//   ..._addPlaintextStringFrom...
//       argument3   const char*: the prompt, or null for none
//   OvWallet_checkPasswordEstablished, ..._checkPasswordSupplied, ..._checkSavedKeyEstablished,
//   OvWallet_checkSystemPrompting
//       argument2   std::int32_t*: receives 1 or 0; not null
//   OvWallet_supplyPasswordFromTerminal, OvWallet_changeSavedKeyFromTerminal
//       argument2   const char*: the prompt, or null
//   OvWallet_changePasswordFromTerminal, OvWallet_resetPasswordFromTerminal
//       argument2   const char*: the prompt for the new password, or null
//       argument3   const char*: the prompt for the same once more, or null
//   OvWallet_changeSavedKey
//       argument2   LockedUTF8Vector*: the new key; not null
//   OvWallet_supplyPasswordTty
//       argument2   const char*: the prompt, or null
//       argument3   const char*: pathname of the terminal, null for "/dev/tty"
//   OvWallet_changePasswordTty
//       argument2   const char*: the prompt for the new password, or null
//       argument3   const char*: the prompt for the same once more, or null
//       argument4   const char*: pathname of the terminal, null for "/dev/tty"
//
// The "...FromTerminal" forms read one line of standard input and prompt on standard error.
//
// On failure an output argument is left as it was. A null wallet, name, vector or output argument,
// and a handle that is not live, give an error object. The free functions accept null; the
// accessors answer null or 0 for it.
#pragma once

#include <cstdint>

#include "wallet/WalletTypes.h"

namespace Orvanta_OvWallet {

extern "C" {
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) \
    [[gnu::visibility("default")]] result name parameters;
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) \
    [[gnu::visibility("default")]] result name parameters;
#include "wallet/EntryPoints.def"
}

}  // namespace Orvanta_OvWallet
