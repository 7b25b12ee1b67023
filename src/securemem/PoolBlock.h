// Owns one block of LockedPagePool and gives it back when it goes.
//
// Giving back fails only when the process-wide lock does. That is not reported: the block stays
// taken, which harms nobody, and the next use of the pool reports the lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>

#include "securemem/LockedPagePool.h"

namespace Orvanta_OvWallet {

class PoolBlock {
  public:
    // Takes a new block; throws what LockedPagePool::lockedAllocate throws.
    explicit PoolBlock(std::size_t size) : PoolBlock(LockedPagePool::lockedAllocate(size), size) {}

    // Takes over a block that lockedAllocate returned for the same size.
    PoolBlock(std::uint8_t* begin, std::size_t size) noexcept : begin_(begin), size_(size) {}

    ~PoolBlock() {
        try {
            LockedPagePool::lockedRelease(begin_, size_);
        } catch (const std::exception&) {
            return;
        }
    }
    PoolBlock(const PoolBlock&) = delete;
    PoolBlock& operator=(const PoolBlock&) = delete;

    std::uint8_t* begin() const noexcept { return begin_; }

    // Owns another block from now on; the caller owns the one that was held.
    void hold(std::uint8_t* begin, std::size_t size) noexcept {
        begin_ = begin;
        size_ = size;
    }

  private:
    std::uint8_t* begin_;
    std::size_t size_;
};

}  // namespace Orvanta_OvWallet
