#include "wallet/ProcessLock.h"

#include <cerrno>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <semaphore>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/FailingHeap.h"
#include "doubles/ProcessLockDouble.h"
#include "doubles/thrown.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {
namespace {

using Calls = ProcessLockDouble::Calls;

const Calls kEnter = {"lock guard", "unlock guard", "lock hold", "lock guard", "unlock guard"};
const Calls kEnterAgain = {"lock guard", "unlock guard"};
const Calls kLeaveOneLevel = {"lock guard", "unlock guard"};
const Calls kLeave = {"lock guard", "unlock guard", "unlock hold"};

class ProcessLockTest : public ::testing::Test {
  protected:
    // The calls that the action makes.
    Calls callsOf(const std::function<void()>& action) {
        lock_.takeCalls();
        action();
        return lock_.takeCalls();
    }

    // Nobody owns the lock and any thread can take it.
    void expectFree() {
        EXPECT_FALSE(lock_.isGuardLocked());
        EXPECT_FALSE(lock_.isHeld());
        std::thread other([this] {
            EXPECT_EQ(callsOf(ProcessLock::lock), kEnter);
            EXPECT_EQ(callsOf(ProcessLock::unlock), kLeave);
        });
        other.join();
    }

    ProcessLockDouble lock_;
};

static_assert(!std::is_copy_constructible_v<ProcessLockGuard>);
static_assert(!std::is_copy_assignable_v<ProcessLockGuard>);
static_assert(!std::is_nothrow_destructible_v<ProcessLockGuard>);

TEST_F(ProcessLockTest, IsBuiltFromTwoMutexes) {
    EXPECT_EQ(callsOf(ProcessLock::lock), kEnter);
    EXPECT_TRUE(lock_.isHeld());
    EXPECT_FALSE(lock_.isGuardLocked());
    EXPECT_EQ(callsOf(ProcessLock::unlock), kLeave);
    expectFree();
}

TEST_F(ProcessLockTest, TakenThreeTimesIsFreeOnlyAfterTheThirdUnlock) {
    EXPECT_EQ(callsOf(ProcessLock::lock), kEnter);
    EXPECT_EQ(callsOf(ProcessLock::lock), kEnterAgain);
    EXPECT_EQ(callsOf(ProcessLock::lock), kEnterAgain);
    EXPECT_EQ(callsOf(ProcessLock::unlock), kLeaveOneLevel);
    EXPECT_EQ(callsOf(ProcessLock::unlock), kLeaveOneLevel);
    EXPECT_TRUE(lock_.isHeld());
    EXPECT_EQ(callsOf(ProcessLock::unlock), kLeave);
    expectFree();
}

TEST_F(ProcessLockTest, TheThreadThatHeldItLastEntersLikeAnyOther) {
    ProcessLock::lock();
    ProcessLock::unlock();
    EXPECT_EQ(callsOf(ProcessLock::lock), kEnter);
    EXPECT_EQ(callsOf(ProcessLock::unlock), kLeave);
}

TEST_F(ProcessLockTest, AThreadThatTookTheIdentityOfAnEndedHolderEntersLikeAnyOther) {
    std::thread([] {
        ProcessLock::lock();
        ProcessLock::unlock();
    }).join();
    std::thread([this] {
        EXPECT_EQ(callsOf(ProcessLock::lock), kEnter);
        ProcessLock::unlock();
    }).join();
}

TEST_F(ProcessLockTest, ASecondThreadWaitsForTheLastOfSeveralLevels) {
    std::binary_semaphore waiting(0);
    bool entered = false;
    lock_.onCall = [&](const std::string& call) {
        if (call == "lock hold") {
            waiting.release();
        }
    };
    ProcessLock::lock();
    waiting.acquire();
    ProcessLock::lock();
    ProcessLock::lock();
    std::thread other([&] {
        ProcessLock::lock();
        entered = true;
        ProcessLock::unlock();
    });
    waiting.acquire();
    ProcessLock::unlock();
    ProcessLock::unlock();
    EXPECT_TRUE(lock_.isHeld());
    EXPECT_FALSE(entered);
    ProcessLock::unlock();
    other.join();
    EXPECT_TRUE(entered);
    expectFree();
}

TEST_F(ProcessLockTest, AWaitingThreadLeavesTheHoldersCountAsItWas) {
    std::binary_semaphore waiting(0);
    ProcessLock::lock();
    lock_.onCall = [&](const std::string& call) {
        if (call == "lock hold") {
            waiting.release();
        }
    };
    std::thread other([] { const ProcessLockGuard lock; });
    waiting.acquire();
    EXPECT_EQ(callsOf(ProcessLock::lock), kEnterAgain);
    EXPECT_EQ(callsOf(ProcessLock::unlock), kLeaveOneLevel);
    ProcessLock::unlock();
    other.join();
    expectFree();
}

// The first thread was the last holder, so the owner on record is still that thread while another
// one has the hold mutex but is not on record yet.
TEST_F(ProcessLockTest, AStaleOwnerWaitsForAThreadThatIsEntering) {
    ProcessLock::lock();
    ProcessLock::unlock();

    const std::thread::id staleOwner = std::this_thread::get_id();
    std::binary_semaphore entering(0);
    std::binary_semaphore goOn(0);
    std::binary_semaphore waiting(0);
    int guardLocks = 0;
    bool entered = false;
    lock_.onCall = [&](const std::string& call) {
        if (std::this_thread::get_id() == staleOwner) {
            if (call == "lock hold") {
                waiting.release();
            }
        } else if (call == "lock guard" && ++guardLocks == 2) {
            entering.release();
            goOn.acquire();
        }
    };
    std::thread other([&] {
        ProcessLock::lock();
        entered = true;
        ProcessLock::unlock();
    });
    entering.acquire();
    std::thread resume([&] {
        waiting.acquire();
        goOn.release();
    });
    ProcessLock::lock();
    EXPECT_TRUE(entered);
    ProcessLock::unlock();
    other.join();
    resume.join();
    lock_.onCall = nullptr;
    expectFree();
}

TEST_F(ProcessLockTest, FailsWhenTheGuardMutexCannotBeLocked) {
    lock_.failCall("lock guard", 1, EINVAL);
    EXPECT_EQ(callsOf([] {
                  EXPECT_EQ(thrownBy(ProcessLock::lock),
                            "Cannot lock mutex (errno = Invalid argument).");
              }),
              Calls{"lock guard"});
    expectFree();
}

TEST_F(ProcessLockTest, FailsWhenTheHoldMutexCannotBeLocked) {
    lock_.failCall("lock hold", 1, EDEADLK);
    EXPECT_EQ(callsOf([] {
                  EXPECT_EQ(thrownBy(ProcessLock::lock),
                            "Cannot lock mutex (errno = Resource deadlock avoided).");
              }),
              (Calls{"lock guard", "unlock guard", "lock hold"}));
    expectFree();
}

TEST_F(ProcessLockTest, GivesTheHoldMutexBackWhenTheGuardMutexCannotBeLockedAgain) {
    lock_.failCall("lock guard", 2, EAGAIN);
    EXPECT_EQ(callsOf([] {
                  EXPECT_EQ(thrownBy(ProcessLock::lock),
                            "Cannot lock mutex (errno = Resource temporarily unavailable).");
              }),
              (Calls{"lock guard", "unlock guard", "lock hold", "lock guard", "unlock hold"}));
    expectFree();
}

TEST_F(ProcessLockTest, SaysTheReturnedErrorAndNotErrno) {
    lock_.failCall("lock guard", 1, EPERM);
    errno = EIO;
    EXPECT_EQ(thrownBy(ProcessLock::lock), "Cannot lock mutex (errno = Operation not permitted).");
}

TEST_F(ProcessLockTest, AFailedSecondLevelLeavesTheFirstAsItWas) {
    ProcessLock::lock();
    lock_.failCall("lock guard", 1, EINVAL);
    EXPECT_EQ(thrownBy(ProcessLock::lock), "Cannot lock mutex (errno = Invalid argument).");
    EXPECT_TRUE(lock_.isHeld());
    EXPECT_EQ(callsOf(ProcessLock::unlock), kLeave);
    expectFree();
}

TEST_F(ProcessLockTest, AFailedUnlockKeepsTheLock) {
    ProcessLock::lock();
    lock_.failCall("lock guard", 1, EINVAL);
    EXPECT_EQ(callsOf([] {
                  EXPECT_EQ(thrownBy(ProcessLock::unlock),
                            "Cannot lock mutex (errno = Invalid argument).");
              }),
              Calls{"lock guard"});
    EXPECT_TRUE(lock_.isHeld());
    EXPECT_EQ(callsOf(ProcessLock::unlock), kLeave);
    expectFree();
}

TEST_F(ProcessLockTest, IgnoresWhatUnlockingAMutexReturns) {
    lock_.unlockResult = EPERM;
    EXPECT_EQ(callsOf(ProcessLock::lock), kEnter);
    EXPECT_EQ(callsOf(ProcessLock::lock), kEnterAgain);
    EXPECT_EQ(callsOf(ProcessLock::unlock), kLeaveOneLevel);
    EXPECT_EQ(callsOf(ProcessLock::unlock), kLeave);
    expectFree();
}

TEST(ProcessLock, ThatCannotBeTakenForTheFirstTimeForWantOfMemoryIsFree) {
    {
        const FailingHeap heap(1);
        EXPECT_THROW(ProcessLock::lock(), std::bad_alloc);
    }
    const ProcessLockDouble lock;
    EXPECT_FALSE(lock.isGuardLocked());
    EXPECT_FALSE(lock.isHeld());
}

TEST(ProcessLock, IsTakenWithoutMemoryOnceItWasTaken) {
    ProcessLock::lock();
    ProcessLock::unlock();
    const FailingHeap heap(1);
    ProcessLock::lock();
    ProcessLock::lock();
    ProcessLock::unlock();
    ProcessLock::unlock();
    EXPECT_FALSE(heap.failed());
}

TEST_F(ProcessLockTest, AGuardOwnsOneLevelForAsLongAsItLives) {
    EXPECT_EQ(callsOf([] { const ProcessLockGuard lock; }), [] {
        Calls both = kEnter;
        both.insert(both.end(), kLeave.begin(), kLeave.end());
        return both;
    }());
    expectFree();
}

TEST_F(ProcessLockTest, AGuardThatCannotLockUnlocksNothing) {
    lock_.failCall("lock guard", 1, EINVAL);
    EXPECT_EQ(callsOf([] {
                  EXPECT_EQ(thrownBy([] { const ProcessLockGuard lock; }),
                            "Cannot lock mutex (errno = Invalid argument).");
              }),
              Calls{"lock guard"});
    expectFree();
}

TEST_F(ProcessLockTest, AGuardReportsThatItsUnlockFailedAndKeepsTheLock) {
    EXPECT_EQ(thrownBy([this] {
                  const ProcessLockGuard lock;
                  lock_.failCall("lock guard", 1, EINVAL);
              }),
              "Cannot lock mutex (errno = Invalid argument).");
    EXPECT_TRUE(lock_.isHeld());
    ProcessLock::unlock();
    expectFree();
}

TEST_F(ProcessLockTest, AGuardWhoseUnlockFailsWhileUnwindingLeavesTheFirstFailure) {
    EXPECT_EQ(thrownBy([this] {
                  const ProcessLockGuard lock;
                  lock_.failCall("lock guard", 1, EINVAL);
                  throw OvWalletException("the first failure");
              }),
              "the first failure");
    ProcessLock::unlock();
    expectFree();
}

TEST_F(ProcessLockTest, AGuardReleasesWhileUnwinding) {
    EXPECT_EQ(thrownBy([] {
                  const ProcessLockGuard lock;
                  throw OvWalletException("the first failure");
              }),
              "the first failure");
    expectFree();
}

// A destructor may use the lock while an exception passes through it; that exception was not thrown
// inside the guarded scope.
TEST_F(ProcessLockTest, AGuardMadeWhileUnwindingReportsItsOwnFailure) {
    struct UsesTheLock {
        explicit UsesTheLock(std::function<void()> use) : use_(std::move(use)) {}
        ~UsesTheLock() { use_(); }
        UsesTheLock(const UsesTheLock&) = delete;
        UsesTheLock& operator=(const UsesTheLock&) = delete;
        std::function<void()> use_;
    };
    std::string ownFailure;
    EXPECT_EQ(thrownBy([&] {
                  const UsesTheLock user([&] {
                      ownFailure = thrownBy([this] {
                          const ProcessLockGuard lock;
                          lock_.failCall("lock guard", 1, EINVAL);
                      });
                  });
                  throw OvWalletException("the first failure");
              }),
              "the first failure");
    EXPECT_EQ(ownFailure, "Cannot lock mutex (errno = Invalid argument).");
    ProcessLock::unlock();
    expectFree();
}

TEST_F(ProcessLockTest, GuardsNestOnOneThread) {
    const auto outer = std::make_unique<ProcessLockGuard>();
    EXPECT_EQ(callsOf([] { const ProcessLockGuard inner; }),
              (Calls{"lock guard", "unlock guard", "lock guard", "unlock guard"}));
    EXPECT_TRUE(lock_.isHeld());
}

// The identity of a thread that has ended is free for the next one.
TEST(ProcessLock, LetsOneThreadInAtATimeThoughThreadsEndAndNewOnesTakeTheirIdentities) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 200;
    int inside = 0;
    long total = 0;
    const auto holdSeveralTimes = [&] {
        for (int times = 0; times < 10; ++times) {
            const ProcessLockGuard lock;
            EXPECT_EQ(++inside, 1);
            const ProcessLockGuard again;
            const ProcessLockGuard onceMore;
            ++total;
            --inside;
        }
    };
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                std::thread(holdSeveralTimes).join();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(total, kThreads * kRounds * 10);
}

}  // namespace
}  // namespace Orvanta_OvWallet
