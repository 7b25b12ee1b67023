#include "wallet/ProcessLock.h"

#include <pthread.h>

#include <exception>

#include "support/NeverDestroyed.h"
#include "support/OvWalletException.h"
#include "support/UnboundedCounter.h"
#include "support/formatMessage.h"

namespace Orvanta_OvWallet {
namespace {

pthread_mutex_t guardMutex = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t holdMutex = PTHREAD_MUTEX_INITIALIZER;
pthread_t owner;

UnboundedCounter& holdCount() {
    static NeverDestroyed<UnboundedCounter> count;
    return *count;
}

class MutexOwner {
  public:
    explicit MutexOwner(pthread_mutex_t& mutex) : mutex_(&mutex) {
        const int error = ::pthread_mutex_lock(mutex_);
        if (error != 0) {
            throw OvWalletException("Cannot lock mutex (errno = " + errnoText(error) + ").");
        }
    }
    ~MutexOwner() {
        if (mutex_ != nullptr) {
            ::pthread_mutex_unlock(mutex_);
        }
    }
    MutexOwner(const MutexOwner&) = delete;
    MutexOwner& operator=(const MutexOwner&) = delete;

    // Takes over a mutex that this thread locked earlier, so that the destructor unlocks it.
    struct AlreadyLocked {};
    MutexOwner(pthread_mutex_t& mutex, AlreadyLocked) : mutex_(&mutex) {}

    // Leaves the mutex locked beyond this owner's life.
    void keepLocked() { mutex_ = nullptr; }

  private:
    pthread_mutex_t* mutex_;
};

// Raises the count when the calling thread is the holder; otherwise leaves it as it was.
bool enterAgain() {
    const MutexOwner guard(guardMutex);
    UnboundedCounter& count = holdCount();
    count.increment();
    if (!count.isOne() && ::pthread_equal(owner, ::pthread_self()) != 0) {
        return true;
    }
    count.decrement();
    return false;
}

}  // namespace

void ProcessLock::lock() {
    if (enterAgain()) {
        return;
    }
    MutexOwner hold(holdMutex);
    const MutexOwner guard(guardMutex);
    holdCount().increment();
    owner = ::pthread_self();
    hold.keepLocked();
}

void ProcessLock::unlock() {
    bool released = false;
    {
        const MutexOwner guard(guardMutex);
        holdCount().decrement();
        released = holdCount().isZero();
    }
    if (released) {
        const MutexOwner hold(holdMutex, MutexOwner::AlreadyLocked{});
    }
}

ProcessLockGuard::ProcessLockGuard() : exceptionsAtConstruction_(std::uncaught_exceptions()) {
    ProcessLock::lock();
}

ProcessLockGuard::~ProcessLockGuard() noexcept(false) {
    try {
        ProcessLock::unlock();
    } catch (...) {
        inSilence(ProcessLock::unlock);
        if (std::uncaught_exceptions() <= exceptionsAtConstruction_) {
            throw;
        }
    }
}

}  // namespace Orvanta_OvWallet
