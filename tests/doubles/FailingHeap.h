// Makes the k-th allocation through operator new fail, and counts what is alive.
#pragma once

#include <cstdint>

class FailingHeap {
  public:
    // The k-th allocation of this thread from now on fails with std::bad_alloc; 1 is the next one.
    explicit FailingHeap(std::uint64_t failAt);
    ~FailingHeap();
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;

    // Whether an allocation was made to fail.
    bool failed() const;

    // Allocations of the process that were not freed yet.
    static std::int64_t liveAllocations();
};
