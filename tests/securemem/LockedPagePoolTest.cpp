#include "securemem/LockedPagePool.h"

#include <cerrno>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/FailingHeap.h"
#include "doubles/ProcessLockDouble.h"
#include "doubles/SystemCalls.h"
#include "doubles/thrown.h"
#include "wallet/ProcessLock.h"

namespace Orvanta_OvWallet {
namespace {

using Calls = std::vector<std::string>;

constexpr std::uint64_t kPage = 4096;
constexpr std::uint64_t kLargestSize = 0xFFFFFFFFFFFFFFF0;
constexpr const char* kOutOfMemory = "std::bad_alloc";
constexpr const char* kOverflow =
    "An attempt to allocate memory resulted in an overflow condition.";

// Sees the calls on the lock and on the pages, in order.
class LockedPagePoolTest : public ::testing::Test {
  protected:
    LockedPagePoolTest() {
        lock_.onCall = [this](const std::string& call) { calls_.push_back(call); };
        systemCalls().mlock = [this](const void*, std::size_t) {
            calls_.emplace_back("mlock");
            return 0;
        };
        systemCalls().munlock = [this](const void*, std::size_t) {
            calls_.emplace_back("munlock");
            return 0;
        };
    }
    ~LockedPagePoolTest() override { systemCalls() = {}; }

    Calls callsOf(const std::function<void()>& action) {
        calls_.clear();
        action();
        return calls_;
    }

    // The calls of an operation that holds the lock while it makes the inner ones.
    static Calls whileLocked(const Calls& inner) {
        Calls calls = {"lock guard", "unlock guard", "lock hold", "lock guard", "unlock guard"};
        calls.insert(calls.end(), inner.begin(), inner.end());
        calls.insert(calls.end(), {"lock guard", "unlock guard", "unlock hold"});
        return calls;
    }

    ProcessLockDouble lock_;

  private:
    Calls calls_;
};

TEST_F(LockedPagePoolTest, MakesARegionUnderTheLock) {
    std::uint8_t* block = nullptr;
    EXPECT_EQ(callsOf([&] { block = LockedPagePool::lockedAllocate(100); }),
              whileLocked({"mlock"}));
    EXPECT_EQ(reinterpret_cast<std::uint64_t>(block) % kPage, 0U);
    std::memset(block, 'x', 100);
    EXPECT_EQ(callsOf([&] { LockedPagePool::lockedRelease(block, 100); }),
              whileLocked({"munlock"}));
}

TEST_F(LockedPagePoolTest, TakesBlocksFromARegionThatIsThere) {
    std::uint8_t* const first = LockedPagePool::lockedAllocate(100);
    std::uint8_t* second = nullptr;
    EXPECT_EQ(callsOf([&] { second = LockedPagePool::lockedAllocate(100); }), whileLocked({}));
    EXPECT_GE(second, first + 112);
    EXPECT_EQ(callsOf([&] { LockedPagePool::lockedRelease(first, 100); }), whileLocked({}));
    EXPECT_EQ(callsOf([&] { LockedPagePool::lockedRelease(second, 100); }),
              whileLocked({"munlock"}));
}

TEST_F(LockedPagePoolTest, IsUsedByAThreadThatHoldsTheLock) {
    const Calls again = {"lock guard", "unlock guard", "mlock",   "lock guard", "unlock guard",
                         "lock guard", "unlock guard", "munlock", "lock guard", "unlock guard"};
    const ProcessLockGuard lock;
    EXPECT_EQ(callsOf([] {
                  std::uint8_t* const block = LockedPagePool::lockedAllocate(1);
                  LockedPagePool::lockedRelease(block, 1);
              }),
              again);
}

TEST_F(LockedPagePoolTest, GivesAnAddressForZeroBytes) {
    std::uint8_t* const first = LockedPagePool::lockedAllocate(0);
    EXPECT_NE(first, nullptr);
    std::uint8_t* const second = LockedPagePool::lockedAllocate(0);
    EXPECT_NE(second, nullptr);
    EXPECT_EQ(callsOf([&] { LockedPagePool::lockedRelease(first, 0); }), whileLocked({"munlock"}));
    EXPECT_EQ(callsOf([&] { LockedPagePool::lockedRelease(second, 0); }), whileLocked({}));
}

TEST_F(LockedPagePoolTest, IgnoresANullBlockWithoutTakingTheLock) {
    EXPECT_EQ(callsOf([] {
                  LockedPagePool::lockedRelease(nullptr, 0);
                  LockedPagePool::lockedRelease(nullptr, 16);
                  LockedPagePool::lockedRelease(nullptr, kLargestSize + 1);
              }),
              Calls{});
}

TEST_F(LockedPagePoolTest, RefusesAnImpossibleRequestAndFreesTheLock) {
    for (const std::uint64_t size : {kLargestSize + 1, ~std::uint64_t{0}}) {
        EXPECT_EQ(callsOf([=] {
                      EXPECT_EQ(thrownBy([=] { LockedPagePool::lockedAllocate(size); }), kOverflow);
                  }),
                  whileLocked({}));
    }
}

TEST_F(LockedPagePoolTest, TheLargestPossibleRequestIsRefusedByTheHeapAndFreesTheLock) {
    EXPECT_EQ(callsOf([] {
                  EXPECT_EQ(thrownBy([] { LockedPagePool::lockedAllocate(kLargestSize); }),
                            kOutOfMemory);
              }),
              whileLocked({}));
}

TEST_F(LockedPagePoolTest, RefusesAnImpossibleReleaseAndFreesTheLock) {
    std::uint8_t* const block = LockedPagePool::lockedAllocate(16);
    for (const std::uint64_t size : {kLargestSize + 1, ~std::uint64_t{0}}) {
        EXPECT_EQ(callsOf([=] {
                      EXPECT_EQ(thrownBy([=] { LockedPagePool::lockedRelease(block, size); }),
                                kOverflow);
                  }),
                  whileLocked({}));
    }
    EXPECT_EQ(callsOf([=] { LockedPagePool::lockedRelease(block, 16); }), whileLocked({"munlock"}));
}

TEST_F(LockedPagePoolTest, PassesTheHeapsRefusalOnAndFreesTheLock) {
    LockedPagePool::lockedRelease(LockedPagePool::lockedAllocate(1), 1);
    for (std::uint64_t failAt = 1;; ++failAt) {
        systemCalls() = {};
        const std::int64_t live = FailingHeap::liveAllocations();
        std::uint8_t* block = nullptr;
        std::string failure;
        {
            const FailingHeap heap(failAt);
            failure = thrownBy([&] { block = LockedPagePool::lockedAllocate(100); });
        }
        if (block != nullptr) {
            EXPECT_EQ(failure, "nothing");
            LockedPagePool::lockedRelease(block, 100);
            EXPECT_GT(failAt, 2U);
            break;
        }
        EXPECT_EQ(failure, kOutOfMemory);
        EXPECT_LE(FailingHeap::liveAllocations(), live + 1) << "allocation " << failAt;
        std::thread([] { const ProcessLockGuard lock; }).join();
    }
}

TEST_F(LockedPagePoolTest, PassesTheFailureOfThePageSizeOnAndFreesTheLock) {
    systemCalls().sysconf = [](int) {
        errno = EINVAL;
        return -1L;
    };
    errno = 0;
    EXPECT_EQ(callsOf([] {
                  EXPECT_EQ(thrownBy([] { LockedPagePool::lockedAllocate(1); }),
                            "An attempt to determine the system page size failed "
                            "(errno = Invalid argument).");
              }),
              whileLocked({}));
}

TEST_F(LockedPagePoolTest, ReportsThatTheLockCannotBeTaken) {
    std::uint8_t* const block = LockedPagePool::lockedAllocate(16);
    lock_.failCall("lock guard");
    EXPECT_EQ(thrownBy([] { LockedPagePool::lockedAllocate(16); }),
              "Cannot lock mutex (errno = Invalid argument).");
    lock_.failCall("lock guard");
    EXPECT_EQ(thrownBy([=] { LockedPagePool::lockedRelease(block, 16); }),
              "Cannot lock mutex (errno = Invalid argument).");
    lock_.failCall("lock guard");
    EXPECT_EQ(thrownBy([=] { LockedPagePool::lockedRelease(block, kLargestSize + 1); }),
              "Cannot lock mutex (errno = Invalid argument).");
    EXPECT_EQ(callsOf([=] { LockedPagePool::lockedRelease(block, 16); }), whileLocked({"munlock"}));
}

}  // namespace
}  // namespace Orvanta_OvWallet
