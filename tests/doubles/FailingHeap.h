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

    // While it lives, allocations of this thread neither fail nor count: for doubles that stand for
    // code with a heap of its own.
    class Pause {
      public:
        Pause();
        ~Pause();
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

      private:
        std::uint64_t remaining_;
    };

    // Allocations of the process that were not freed yet.
    static std::int64_t liveAllocations();
};
