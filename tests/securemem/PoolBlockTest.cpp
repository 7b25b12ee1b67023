#include "securemem/PoolBlock.h"

#include <cerrno>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "doubles/FailingHeap.h"
#include "doubles/ProcessLockMutexes.h"
#include "doubles/SystemCalls.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {
namespace {

static_assert(!std::is_copy_constructible_v<PoolBlock>);
static_assert(!std::is_copy_assignable_v<PoolBlock>);
static_assert(std::is_nothrow_destructible_v<PoolBlock>);

// Counts the regions of the pool that are in use.
class PoolBlockTest : public ::testing::Test {
  protected:
    PoolBlockTest() : mutexes_(findProcessLockMutexes()) {
        systemCalls().mlock = [this](const void*, std::size_t) {
            ++regions_;
            return 0;
        };
        systemCalls().munlock = [this](const void*, std::size_t) {
            --regions_;
            return 0;
        };
    }
    ~PoolBlockTest() override { systemCalls() = {}; }

    void breakLock() {
        systemCalls().pthread_mutex_lock = [this](pthread_mutex_t* mutex) {
            return mutex == mutexes_.guard ? EINVAL : real::pthread_mutex_lock(mutex);
        };
    }
    static void repairLock() { systemCalls().pthread_mutex_lock = nullptr; }

    int regions_ = 0;

  private:
    ProcessLockMutexes mutexes_;
};

TEST_F(PoolBlockTest, OwnsItsBlockForAsLongAsItLives) {
    {
        const PoolBlock block(100);
        EXPECT_NE(block.begin(), nullptr);
        EXPECT_EQ(regions_, 1);
    }
    EXPECT_EQ(regions_, 0);
}

TEST_F(PoolBlockTest, GivesTheBlockBackWhileUnwinding) {
    try {
        const PoolBlock block(100);
        throw std::runtime_error("the first failure");
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "the first failure");
    }
    EXPECT_EQ(regions_, 0);
}

TEST_F(PoolBlockTest, TakesABlockOver) {
    std::uint8_t* const begin = LockedPagePool::lockedAllocate(5000);
    {
        const PoolBlock block(begin, 5000);
        EXPECT_EQ(block.begin(), begin);
    }
    EXPECT_EQ(regions_, 0);
}

TEST_F(PoolBlockTest, HoldsAnotherBlockInsteadOfItsOwn) {
    std::uint8_t* const other = LockedPagePool::lockedAllocate(20'000);
    std::uint8_t* own = nullptr;
    {
        PoolBlock block(30'000);
        own = block.begin();
        EXPECT_EQ(regions_, 2);
        block.hold(other, 20'000);
        EXPECT_EQ(block.begin(), other);
    }
    EXPECT_EQ(regions_, 1);
    LockedPagePool::lockedRelease(own, 30'000);
    EXPECT_EQ(regions_, 0);
}

TEST_F(PoolBlockTest, OfNoBlockReleasesNothing) {
    breakLock();
    {
        const PoolBlock block(nullptr, 16);
    }
    repairLock();
    EXPECT_EQ(regions_, 0);
}

TEST_F(PoolBlockTest, ThatCannotBeHadIsAFailure) {
    EXPECT_THROW(PoolBlock(~std::size_t{0}), OvWalletException);
    {
        const FailingHeap heap(1);
        EXPECT_THROW(PoolBlock(16), std::bad_alloc);
    }
    EXPECT_EQ(regions_, 0);
}

TEST_F(PoolBlockTest, ThatCannotBeGivenBackStaysTakenAndTheNextUseReportsTheLock) {
    std::uint8_t* begin = nullptr;
    {
        const PoolBlock block(100);
        begin = block.begin();
        breakLock();
    }
    try {
        const PoolBlock next(100);
        ADD_FAILURE() << "took a block without the lock";
    } catch (const OvWalletException& failure) {
        EXPECT_STREQ(failure.what(), "Cannot lock mutex (errno = Invalid argument).");
    }
    repairLock();
    EXPECT_EQ(regions_, 1);
    LockedPagePool::lockedRelease(begin, 100);
    EXPECT_EQ(regions_, 0);
}

TEST_F(PoolBlockTest, ThatCannotBeGivenBackWhileUnwindingLeavesTheFirstFailure) {
    try {
        const PoolBlock block(100);
        breakLock();
        throw std::runtime_error("the first failure");
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "the first failure");
    }
    repairLock();
}

}  // namespace
}  // namespace Orvanta_OvWallet
