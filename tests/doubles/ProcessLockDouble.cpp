#include "doubles/ProcessLockDouble.h"

#include <utility>

#include "doubles/SystemCalls.h"
#include "wallet/ProcessLock.h"

using Orvanta_OvWallet::ProcessLock;

ProcessLockDouble::ProcessLockDouble() {
    systemCalls().pthread_mutex_lock = [this](pthread_mutex_t* mutex) { return lock(mutex); };
    systemCalls().pthread_mutex_unlock = [this](pthread_mutex_t* mutex) { return unlock(mutex); };
}

ProcessLockDouble::~ProcessLockDouble() {
    systemCalls().pthread_mutex_lock = nullptr;
    systemCalls().pthread_mutex_unlock = nullptr;
}

ProcessLockDouble::Calls ProcessLockDouble::takeCalls() {
    const std::lock_guard lock(mutex_);
    return std::exchange(calls_, {});
}

void ProcessLockDouble::failCall(const std::string& call, int count, int error) {
    const std::lock_guard lock(mutex_);
    failures_.push_back({call, count, error});
}

// They are the first two that are locked when the lock is taken.
ProcessLockDouble::Mutexes ProcessLockDouble::findMutexes() {
    std::vector<pthread_mutex_t*> locked;
    systemCalls().pthread_mutex_lock = [&](pthread_mutex_t* mutex) {
        locked.push_back(mutex);
        return real::pthread_mutex_lock(mutex);
    };
    ProcessLock::lock();
    systemCalls().pthread_mutex_lock = nullptr;
    ProcessLock::unlock();
    return {locked.at(0), locked.at(1)};
}

bool ProcessLockDouble::isLocked(pthread_mutex_t* mutex) {
    if (::pthread_mutex_trylock(mutex) != 0) {
        return true;
    }
    real::pthread_mutex_unlock(mutex);
    return false;
}

std::string ProcessLockDouble::nameOf(const char* operation, const pthread_mutex_t* mutex) const {
    if (mutex != mutexes_.guard && mutex != mutexes_.hold) {
        return "";
    }
    return operation + std::string(mutex == mutexes_.guard ? " guard" : " hold");
}

int ProcessLockDouble::lock(pthread_mutex_t* mutex) {
    const std::string call = nameOf("lock", mutex);
    if (call.empty()) {
        return real::pthread_mutex_lock(mutex);
    }
    const int error = enter(call);
    if (note && (error != 0 || mutex == mutexes_.hold)) {
        note(error != 0 ? "lock fails" : "lock");
    }
    return error != 0 ? error : real::pthread_mutex_lock(mutex);
}

int ProcessLockDouble::unlock(pthread_mutex_t* mutex) {
    const std::string call = nameOf("unlock", mutex);
    if (call.empty()) {
        return real::pthread_mutex_unlock(mutex);
    }
    enter(call);
    if (note && mutex == mutexes_.hold) {
        note("unlock");
    }
    real::pthread_mutex_unlock(mutex);
    return unlockResult;
}

// The error with which the call is to fail, or 0.
int ProcessLockDouble::enter(const std::string& call) {
    int error = 0;
    {
        const std::lock_guard lock(mutex_);
        calls_.push_back(call);
        for (Failure& failure : failures_) {
            if (failure.call == call && --failure.callsBefore == 0) {
                error = failure.error;
            }
        }
    }
    if (onCall) {
        onCall(call);
    }
    return error;
}
