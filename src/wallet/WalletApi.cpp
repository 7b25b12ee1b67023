#include "wallet/WalletApi.h"

#include "wallet/CallDisciplines.h"

namespace Orvanta_OvWallet {

#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) \
    result name parameters {                                                   \
        using Table = PrivateStuff::WalletFunctionPointers_t;                  \
        return PrivateStuff::discipline<&Table::name> arguments;               \
    }
#include "wallet/EntryPoints.def"

}  // namespace Orvanta_OvWallet
