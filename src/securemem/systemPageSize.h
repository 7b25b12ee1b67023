// The size of a memory page in bytes.
//
// Asked of the system once and kept; until that succeeds every call asks again. Callers hold
// ProcessLock, which guards the kept value; none is taken here.
//
// Throws OvWalletException "An attempt to determine the system page size failed", followed by
// " (errno = TEXT)" when the system changed errno, followed by ".".
#pragma once

#include <cstdint>

namespace Orvanta_OvWallet {

std::int32_t systemPageSize();

}  // namespace Orvanta_OvWallet
