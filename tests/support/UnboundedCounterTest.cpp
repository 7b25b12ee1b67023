#include "support/UnboundedCounter.h"

#include <initializer_list>
#include <limits>
#include <list>
#include <new>
#include <random>

#include <gtest/gtest.h>

#include "doubles/FailingHeap.h"

namespace Orvanta_OvWallet {
namespace {

using Digits = std::list<std::uint64_t>;
__extension__ using Number = unsigned __int128;

constexpr auto kLargestDigit = std::numeric_limits<std::uint64_t>::max();

// Counting up to these numbers would take centuries.
void setDigits(UnboundedCounter& counter, std::initializer_list<std::uint64_t> digits) {
    const_cast<Digits&>(counter.digits()) = digits;
}

TEST(UnboundedCounter, StartsAtZeroWithoutDigits) {
    const UnboundedCounter counter;
    EXPECT_TRUE(counter.isZero());
    EXPECT_FALSE(counter.isOne());
    EXPECT_EQ(counter.digits(), Digits{});
}

TEST(UnboundedCounter, OneIsASingleDigitOfOne) {
    UnboundedCounter counter;
    counter.increment();
    EXPECT_FALSE(counter.isZero());
    EXPECT_TRUE(counter.isOne());
    EXPECT_EQ(counter.digits(), Digits{1});
}

TEST(UnboundedCounter, OneUpAndOneDownFromZeroIsTheEmptyListAgain) {
    UnboundedCounter counter;
    counter.increment();
    counter.decrement();
    EXPECT_TRUE(counter.isZero());
    EXPECT_FALSE(counter.isOne());
    EXPECT_EQ(counter.digits(), Digits{});
}

TEST(UnboundedCounter, TwoIsNeitherZeroNorOne) {
    UnboundedCounter counter;
    counter.increment();
    counter.increment();
    EXPECT_FALSE(counter.isZero());
    EXPECT_FALSE(counter.isOne());
    EXPECT_EQ(counter.digits(), Digits{2});
    counter.decrement();
    EXPECT_TRUE(counter.isOne());
}

TEST(UnboundedCounter, CarriesIntoANewDigit) {
    UnboundedCounter counter;
    setDigits(counter, {kLargestDigit});
    counter.increment();
    EXPECT_EQ(counter.digits(), (Digits{0, 1}));
    EXPECT_FALSE(counter.isOne());
    EXPECT_FALSE(counter.isZero());
}

TEST(UnboundedCounter, BorrowsAndDropsTheEmptiedMostSignificantDigit) {
    UnboundedCounter counter;
    setDigits(counter, {kLargestDigit});
    counter.increment();
    counter.decrement();
    EXPECT_EQ(counter.digits(), Digits{kLargestDigit});
}

TEST(UnboundedCounter, CarriesThroughSeveralDigits) {
    UnboundedCounter counter;
    setDigits(counter, {kLargestDigit, kLargestDigit, 7, 9});
    counter.increment();
    EXPECT_EQ(counter.digits(), (Digits{0, 0, 8, 9}));
}

TEST(UnboundedCounter, BorrowsThroughSeveralDigits) {
    UnboundedCounter counter;
    setDigits(counter, {0, 0, 8, 9});
    counter.decrement();
    EXPECT_EQ(counter.digits(), (Digits{kLargestDigit, kLargestDigit, 7, 9}));
}

TEST(UnboundedCounter, BorrowingFromAMostSignificantOneDropsItThroughSeveralDigits) {
    UnboundedCounter counter;
    setDigits(counter, {0, 0, 1});
    counter.decrement();
    EXPECT_EQ(counter.digits(), (Digits{kLargestDigit, kLargestDigit}));
    counter.increment();
    EXPECT_EQ(counter.digits(), (Digits{0, 0, 1}));
}

TEST(UnboundedCounter, AZeroDigitBelowTheMostSignificantOneIsKept) {
    UnboundedCounter counter;
    setDigits(counter, {1, 1});
    counter.decrement();
    EXPECT_EQ(counter.digits(), (Digits{0, 1}));
    EXPECT_FALSE(counter.isOne());
}

TEST(UnboundedCounter, KeepsItsNumberWhenANewDigitCannotBeMade) {
    UnboundedCounter counter;
    setDigits(counter, {kLargestDigit, kLargestDigit});
    {
        const FailingHeap heap(1);
        EXPECT_THROW(counter.increment(), std::bad_alloc);
    }
    EXPECT_EQ(counter.digits(), (Digits{kLargestDigit, kLargestDigit}));
    counter.increment();
    EXPECT_EQ(counter.digits(), (Digits{0, 0, 1}));
}

TEST(UnboundedCounter, CountsUpToWhereItWasWithoutMemory) {
    UnboundedCounter counter;
    setDigits(counter, {kLargestDigit});
    counter.increment();
    counter.decrement();
    {
        const FailingHeap heap(1);
        counter.increment();
        EXPECT_FALSE(heap.failed());
    }
    EXPECT_EQ(counter.digits(), (Digits{0, 1}));
}

TEST(UnboundedCounter, StaysZeroWhenTheFirstDigitCannotBeMade) {
    UnboundedCounter counter;
    {
        const FailingHeap heap(1);
        EXPECT_THROW(counter.increment(), std::bad_alloc);
    }
    EXPECT_TRUE(counter.isZero());
}

TEST(UnboundedCounter, CountsLikeANumberAroundTheCarry) {
    std::mt19937 random(20240117);
    UnboundedCounter counter;
    setDigits(counter, {kLargestDigit - 3});
    Number number = kLargestDigit - 3;
    for (int step = 0; step < 20'000; ++step) {
        if (random() % 2 == 0) {
            counter.increment();
            ++number;
        } else {
            counter.decrement();
            --number;
        }
        Digits expected{static_cast<std::uint64_t>(number)};
        if (number > kLargestDigit) {
            expected.push_back(static_cast<std::uint64_t>(number >> 64));
        }
        ASSERT_EQ(counter.digits(), expected) << "at step " << step;
    }
}

}  // namespace
}  // namespace Orvanta_OvWallet
