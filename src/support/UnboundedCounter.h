// A natural number that cannot overflow.
//
// It counts the references to the wallet library and the nested holds of ProcessLock. It is kept as
// digits of 64 bits, least significant first, the most significant one never zero; zero has no
// digits. Not thread-safe: both counters are touched only under a mutex.
#pragma once

#include <cstdint>
#include <list>

namespace Orvanta_OvWallet {

class UnboundedCounter {
  public:
    // May throw std::bad_alloc; the number is then unchanged.
    void increment();

    // Precondition: the number is not zero.
    void decrement() noexcept;

    bool isZero() const noexcept { return digits_.empty(); }
    bool isOne() const noexcept { return digits_.size() == 1 && digits_.front() == 1; }

    const std::list<std::uint64_t>& digits() const noexcept { return digits_; }

  private:
    std::list<std::uint64_t> digits_;
};

}  // namespace Orvanta_OvWallet
