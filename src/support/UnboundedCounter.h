// A natural number that cannot overflow.
//
// It counts the uses of the wallet library and the nested holds of ProcessLock. It is kept as
// digits of 64 bits, least significant first, the most significant one never zero; zero has no
// digits. Digits that were dropped are kept aside, so counting up to where it was before takes no
// memory: those who give back what they hold are not stopped by a heap that has none left. Not
// thread-safe: both counters are touched only under a mutex.
#pragma once

#include <cstdint>
#include <list>

namespace Orvanta_OvWallet {

class UnboundedCounter {
  public:
    // May throw std::bad_alloc when the number never had as many digits; it is then unchanged.
    void increment();

    // Precondition: the number is not zero.
    void decrement() noexcept;

    bool isZero() const noexcept { return digits_.empty(); }
    bool isOne() const noexcept { return digits_.size() == 1 && digits_.front() == 1; }

    const std::list<std::uint64_t>& digits() const noexcept { return digits_; }

  private:
    std::list<std::uint64_t> digits_;
    std::list<std::uint64_t> spareDigits_;
};

}  // namespace Orvanta_OvWallet
