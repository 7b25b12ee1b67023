// Memory pages: how large they are, and locking them into RAM so that they are never written to
// swap.
//
// Callers hold ProcessLock, which guards the page size that is kept here, and the limits and the
// effective user, which belong to the whole process: two threads must not restore each other's
// changes of them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Orvanta_OvWallet {

// The size of a page in bytes, asked of the system once and kept; until that succeeds every call
// asks again. Throws OvWalletException "An attempt to determine the system page size failed",
// followed by " (errno = TEXT)" when the system changed errno, followed by ".".
std::int32_t systemPageSize();

// Locks [begin, begin + size), which starts on a page boundary and holds whole pages. Returns
// whether it is locked now; a refusal is no error.
//
// When the plain attempt is refused, tries in turn: with the soft limit of lockable memory raised
// to the hard limit; then, in a process that can regain root as its effective user, as root. Limits
// and effective user are what they were before on return.
bool lockMemory(const void* begin, std::size_t size);

// Precondition: lockMemory returned true for the same range.
void unlockMemory(const void* begin, std::size_t size);

}  // namespace Orvanta_OvWallet
