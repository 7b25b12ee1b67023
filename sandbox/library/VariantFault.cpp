#include "sandbox/library/VariantFault.h"

namespace Orvanta_OvWallet::Sandbox {

#ifdef OVWALLET_SANDBOX_THROWS_FROM

ThrowKind builtInThrow(EntryPoint entryPoint) {
    return entryPoint == EntryPoint::OVWALLET_SANDBOX_THROWS_FROM ? ThrowKind::standardException
                                                                  : ThrowKind::nothing;
}

#else

ThrowKind builtInThrow(EntryPoint /*entryPoint*/) {
    return ThrowKind::nothing;
}

#endif

}  // namespace Orvanta_OvWallet::Sandbox
