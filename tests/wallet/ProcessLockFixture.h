// A test of ProcessLock that sees each call on its two mutexes.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/ProcessLockMutexes.h"
#include "doubles/SystemCalls.h"
#include "doubles/thrown.h"
#include "wallet/ProcessLock.h"

namespace Orvanta_OvWallet {

using Calls = std::vector<std::string>;

inline const Calls kEnter = {"lock guard", "unlock guard", "lock hold", "lock guard",
                             "unlock guard"};
inline const Calls kEnterAgain = {"lock guard", "unlock guard"};
inline const Calls kLeaveOneLevel = {"lock guard", "unlock guard"};
inline const Calls kLeave = {"lock guard", "unlock guard", "unlock hold"};

// Notes every call on the two mutexes, in the order in which the calls were made, and makes chosen
// ones fail.
class ProcessLockFixture : public ::testing::Test {
  protected:
    ProcessLockFixture() : mutexes_(findProcessLockMutexes()) {
        systemCalls().pthread_mutex_lock = [this](pthread_mutex_t* mutex) {
            const std::string call = note("lock", mutex);
            if (call.empty()) {
                return real::pthread_mutex_lock(mutex);
            }
            if (beforeLock_) {
                beforeLock_(call);
            }
            const int error = call == failing_ && --callsBeforeFailure_ == 0 ? failure_ : 0;
            return error != 0 ? error : real::pthread_mutex_lock(mutex);
        };
        systemCalls().pthread_mutex_unlock = [this](pthread_mutex_t* mutex) {
            const std::string call = note("unlock", mutex);
            const int error = real::pthread_mutex_unlock(mutex);
            return call.empty() ? error : unlockResult_;
        };
    }
    ~ProcessLockFixture() override {
        systemCalls().pthread_mutex_lock = nullptr;
        systemCalls().pthread_mutex_unlock = nullptr;
    }

    // From now on the count-th such call returns the error without locking.
    void failCall(const std::string& call, int count, int error) {
        failing_ = call;
        callsBeforeFailure_ = count;
        failure_ = error;
    }

    // The calls that the action makes.
    Calls callsOf(const std::function<void()>& action) {
        forgetCalls();
        action();
        return calls();
    }

    Calls calls() {
        const std::lock_guard lock(notesMutex_);
        return calls_;
    }
    void forgetCalls() {
        const std::lock_guard lock(notesMutex_);
        calls_.clear();
    }

    bool holdMutexIsFree() {
        if (::pthread_mutex_trylock(mutexes_.hold) != 0) {
            return false;
        }
        real::pthread_mutex_unlock(mutexes_.hold);
        return true;
    }
    bool guardMutexIsFree() {
        if (::pthread_mutex_trylock(mutexes_.guard) != 0) {
            return false;
        }
        real::pthread_mutex_unlock(mutexes_.guard);
        return true;
    }

    // Whether nobody owns the lock and any thread could take it.
    void expectFree() {
        EXPECT_TRUE(guardMutexIsFree());
        EXPECT_TRUE(holdMutexIsFree());
        std::thread other([this] {
            EXPECT_EQ(callsOf(ProcessLock::lock), kEnter);
            EXPECT_EQ(callsOf(ProcessLock::unlock), kLeave);
        });
        other.join();
    }

    std::function<void(const std::string& call)> beforeLock_;
    int unlockResult_ = 0;

  private:
    std::string note(const char* operation, const pthread_mutex_t* mutex) {
        if (mutex != mutexes_.guard && mutex != mutexes_.hold) {
            return "";
        }
        std::string call = operation + std::string(mutex == mutexes_.guard ? " guard" : " hold");
        const std::lock_guard lock(notesMutex_);
        calls_.push_back(call);
        return call;
    }

    ProcessLockMutexes mutexes_;
    std::mutex notesMutex_;
    Calls calls_;
    std::string failing_;
    int callsBeforeFailure_ = 0;
    int failure_ = 0;
};

}  // namespace Orvanta_OvWallet
