// Locks whole pages into RAM so that they are never written to swap, and unlocks them again.
#pragma once

#include <cstddef>

namespace Orvanta_OvWallet {

// Locks [begin, begin + size), which starts on a page boundary and holds whole pages. Returns
// whether it is locked now; a refusal is no error.
//
// When the plain attempt is refused, tries in turn: with the soft limit of lockable memory raised
// to the hard limit; then, in a process that can regain root as its effective user, as root. Limits
// and effective user are what they were before on return. Both belong to the whole process:
// callers hold ProcessLock, so that two threads do not restore each other's changes.
bool lockMemory(const void* begin, std::size_t size);

// Precondition: lockMemory returned true for the same range.
void unlockMemory(const void* begin, std::size_t size);

}  // namespace Orvanta_OvWallet
