#include "support/UnboundedCounter.h"

#include <algorithm>
#include <limits>

namespace Orvanta_OvWallet {

void UnboundedCounter::increment() {
    constexpr auto kLargestDigit = std::numeric_limits<std::uint64_t>::max();
    auto digit = std::find_if(digits_.begin(), digits_.end(),
                              [](std::uint64_t value) { return value != kLargestDigit; });
    if (digit == digits_.end()) {
        digit = digits_.insert(digits_.end(), 0);
    }
    ++*digit;
    std::fill(digits_.begin(), digit, 0);
}

void UnboundedCounter::decrement() noexcept {
    for (std::uint64_t& digit : digits_) {
        const bool borrow = digit == 0;
        --digit;
        if (!borrow) {
            break;
        }
    }
    if (digits_.back() == 0) {
        digits_.pop_back();
    }
}

}  // namespace Orvanta_OvWallet
