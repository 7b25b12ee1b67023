// LockedPagePool: memory that is not paged out, for everything that may hold a credential.
//
// Theory of operation. The pool takes ordinary heap memory, a region at a time, locks the whole
// pages inside it into RAM and hands out blocks of those pages. Sizes are rounded up to multiples
// of 16 bytes. Three tables, guarded by ProcessLock, describe all of it:
//
//   region table        raw start -> locked length, and whether locking succeeded. The locked range
//                       begins at the first page boundary at or after the raw start.
//   free-address set    start of every free block
//   free-size table     size -> start of every free block; of equal sizes the earliest freed first
//
// A free block is in both free tables, a block handed out in neither. A free block lies in one
// region, and two free blocks of a region never touch: a release merges them.
//
//   allocation  takes the smallest free block that is large enough and carves the request from its
//               high end, so that what stays free keeps its start. Without such a block it makes a
//               region of the request plus two pages and hands out its first bytes.
//   release     merges the block with its free neighbours. A region that is wholly free again is
//               unlocked and given back to the heap at once.
//
// For every block that is handed out the pool holds a spare pair of table entries, so that a
// release needs no heap memory and cannot fail for want of it. The entries of merged blocks become
// spare ones, too, so that blocks may come and go without the heap.
//
// A block of zero bytes is an address and nothing else. It may lie at the end of a locked range, in
// memory that others own, or, once its neighbours are gone, in no region at all; releasing it
// gives back at most a region that is wholly free.
//
// Memory is not cleared, neither when it is handed out nor when it comes back. Where locking is
// refused the memory is used unlocked.
//
// Every function may be called by any thread and takes ProcessLock itself, so its failures
// (OvWalletException "Cannot lock mutex (errno = TEXT).") may leave each of them.
#pragma once

#include <cstdint>

namespace Orvanta_OvWallet {

class LockedPagePool {
  public:
    // A block of at least size bytes, with whatever its previous user left in it, owned by the
    // caller until lockedRelease. Never null, also for zero bytes. Throws OvWalletException "An
    // attempt to allocate memory resulted in an overflow condition." for a size above
    // 0xFFFFFFFFFFFFFFF0, the failure of systemPageSize, or std::bad_alloc; no table has changed
    // then.
    static std::uint8_t* lockedAllocate(std::uint64_t size);

    // Gives a block back; size is what was asked for. Null is ignored, and so is a block in no
    // region's locked range (its end included): a zero-byte block whose region is gone. Throws as
    // lockedAllocate does for an impossible size.
    static void lockedRelease(std::uint8_t* block, std::uint64_t size);
};

}  // namespace Orvanta_OvWallet
