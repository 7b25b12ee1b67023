#include "support/UnboundedCounter.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace Orvanta_OvWallet {

void UnboundedCounter::increment() {
    constexpr auto kLargestDigit = std::numeric_limits<std::uint64_t>::max();
    auto digit = std::find_if(digits_.begin(), digits_.end(),
                              [](std::uint64_t value) { return value != kLargestDigit; });
    if (digit == digits_.end()) {
        if (spareDigits_.empty()) {
            spareDigits_.push_back(0);
        }
        digit = spareDigits_.begin();
        digits_.splice(digits_.end(), spareDigits_, digit);
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
        spareDigits_.splice(spareDigits_.end(), digits_, std::prev(digits_.end()));
    }
}

}  // namespace Orvanta_OvWallet
