#include "wallet/ProcessLock.h"

#include <pthread.h>

#include <exception>
#include <mutex>

#include "support/NeverDestroyed.h"
#include "support/OvWalletException.h"
#include "support/UnboundedCounter.h"
#include "support/formatMessage.h"

namespace Orvanta_OvWallet {
namespace {

[[noreturn]] void throwCannotLock(int error) {
    throw OvWalletException("Cannot lock mutex (errno = " + errnoText(error) + ").");
}

class Mutex {
  public:
    void lock() {
        const int error = ::pthread_mutex_lock(&mutex_);
        if (error != 0) {
            throwCannotLock(error);
        }
    }
    void unlock() { ::pthread_mutex_unlock(&mutex_); }

  private:
    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

constinit Mutex guardMutex;
constinit Mutex holdMutex;
pthread_t owner;

UnboundedCounter& holdCount() {
    static NeverDestroyed<UnboundedCounter> count;
    return *count;
}

// Raises the count when the calling thread is the holder.
bool enterAgain() {
    const std::lock_guard guard(guardMutex);
    UnboundedCounter& count = holdCount();
    if (count.isZero() || ::pthread_equal(owner, ::pthread_self()) == 0) {
        return false;
    }
    count.increment();
    return true;
}

}  // namespace

void ProcessLock::lock() {
    if (enterAgain()) {
        return;
    }
    // Given back when the guard mutex cannot be had: all later calls would wait for ever.
    std::unique_lock hold(holdMutex);
    const std::lock_guard guard(guardMutex);
    holdCount().increment();
    owner = ::pthread_self();
    hold.release();
}

void ProcessLock::unlock() {
    bool isFree = false;
    {
        const std::lock_guard guard(guardMutex);
        UnboundedCounter& count = holdCount();
        count.decrement();
        isFree = count.isZero();
    }
    if (isFree) {
        holdMutex.unlock();
    }
}

ProcessLockGuard::ProcessLockGuard() : exceptionsAtConstruction_(std::uncaught_exceptions()) {
    ProcessLock::lock();
}

ProcessLockGuard::~ProcessLockGuard() noexcept(false) {
    try {
        ProcessLock::unlock();
    } catch (...) {
        if (std::uncaught_exceptions() <= exceptionsAtConstruction_) {
            throw;
        }
    }
}

}  // namespace Orvanta_OvWallet
