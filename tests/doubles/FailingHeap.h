// Makes the k-th allocation through operator new fail, and counts what is alive.
#pragma once

#include <cstdint>
#include <functional>

class FailingHeap {
  public:
    // The k-th allocation of this thread from now on fails with std::bad_alloc; 1 is the next one.
    // With 0 none fails. One object per thread at a time. afterFailure is called, paused, whenever
    // an allocation was made to fail.
    explicit FailingHeap(std::uint64_t failAt, std::function<void()> afterFailure = {});
    ~FailingHeap();
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;

    // The k-th allocation from now on fails, too, in place of any that has not failed yet.
    void failNext(std::uint64_t k);

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
    };

    // Allocations of the process that were not freed yet.
    static std::int64_t liveAllocations();

  private:
    std::function<void()> afterFailure_;
};
