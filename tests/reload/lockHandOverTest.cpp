// ProcessLock going from thread to thread while threads end, new ones take their identities, and
// locking a mutex fails now and then.

#include <cerrno>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/ProcessLockMutexes.h"
#include "doubles/SystemCalls.h"
#include "support/OvWalletException.h"
#include "wallet/ProcessLock.h"

using namespace Orvanta_OvWallet;

namespace {

// Which attempt of this thread on a mutex of the lock fails; 0 for none.
thread_local int attemptsUntilFailure = 0;

class LockHandOver : public ::testing::Test {
  protected:
    LockHandOver() : mutexes_(findProcessLockMutexes()) {
        systemCalls().pthread_mutex_lock = [this](pthread_mutex_t* mutex) {
            const bool isOurs = mutex == mutexes_.guard || mutex == mutexes_.hold;
            return isOurs && attemptsUntilFailure > 0 && --attemptsUntilFailure == 0
                       ? EINVAL
                       : real::pthread_mutex_lock(mutex);
        };
    }
    ~LockHandOver() override {
        systemCalls().pthread_mutex_lock = nullptr;
        // Another thread can take it.
        std::thread([] { const ProcessLockGuard lock; }).join();
        EXPECT_EQ(inside_, 0);
    }

    // Holds the lock that deep and counts; whether nothing failed.
    bool holdAndCount(int depth) {
        try {
            const ProcessLockGuard lock;
            const Inside inside(inside_);
            ++counted_;
            return depth == 1 || holdAgain(depth - 1);
        } catch (const OvWalletException&) {
            return false;
        }
    }

    // Written by whoever holds the lock, without any other protection.
    long counted_ = 0;
    int inside_ = 0;

  private:
    struct Inside {
        explicit Inside(int& count) : count_(count) { EXPECT_EQ(++count_, 1); }
        ~Inside() { --count_; }
        Inside(const Inside&) = delete;
        Inside& operator=(const Inside&) = delete;
        int& count_;
    };

    static bool holdAgain(int depth) {
        const ProcessLockGuard again;
        return depth == 1 || holdAgain(depth - 1);
    }

    ProcessLockMutexes mutexes_;
};

TEST_F(LockHandOver, LetsOneThreadInAtATimeThoughThreadsEndAndAttemptsFail) {
    constexpr int kStarters = 4;
    constexpr int kRounds = 100;
    std::vector<long> succeeded(kStarters);
    std::vector<std::thread> starters;
    for (int number = 0; number < kStarters; ++number) {
        starters.emplace_back([&, number] {
            for (int round = 0; round < kRounds; ++round) {
                // Its identity is free for the next one as soon as it has ended.
                std::thread([&] {
                    attemptsUntilFailure = (round + number) % 3 == 0 ? round % 9 : 0;
                    if (holdAndCount(1 + round % 3)) {
                        ++succeeded[static_cast<std::size_t>(number)];
                    }
                    attemptsUntilFailure = 0;
                    while (!holdAndCount(2)) {
                        ADD_FAILURE() << "an undisturbed attempt failed";
                    }
                }).join();
            }
        });
    }
    for (std::thread& starter : starters) {
        starter.join();
    }
    long total = kStarters * kRounds;
    for (const long count : succeeded) {
        EXPECT_GT(count, 0);
        EXPECT_LE(count, kRounds);
        total += count;
    }
    // Who failed may have counted before he did.
    EXPECT_GE(counted_, total);
    EXPECT_LE(counted_, 2 * kStarters * kRounds);
}

}  // namespace
