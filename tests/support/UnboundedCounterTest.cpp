#include "support/UnboundedCounter.h"

#include <limits>

#include <gtest/gtest.h>

namespace Orvanta_OvWallet {
namespace {

constexpr auto kLargestDigit = std::numeric_limits<std::uint64_t>::max();

TEST(UnboundedCounter, StartsAtZeroWithoutDigits) {
    const UnboundedCounter counter;
    EXPECT_TRUE(counter.isZero());
    EXPECT_FALSE(counter.isOne());
    EXPECT_TRUE(counter.digits().empty());
}

}  // namespace
}  // namespace Orvanta_OvWallet
