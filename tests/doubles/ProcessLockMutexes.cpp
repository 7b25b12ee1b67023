#include "doubles/ProcessLockMutexes.h"

#include <vector>

#include "doubles/SystemCalls.h"
#include "wallet/ProcessLock.h"

using Orvanta_OvWallet::ProcessLock;

ProcessLockMutexes findProcessLockMutexes() {
    std::vector<pthread_mutex_t*> locked;
    const auto previous = systemCalls().pthread_mutex_lock;
    systemCalls().pthread_mutex_lock = [&](pthread_mutex_t* mutex) {
        locked.push_back(mutex);
        return real::pthread_mutex_lock(mutex);
    };
    ProcessLock::lock();
    systemCalls().pthread_mutex_lock = previous;
    ProcessLock::unlock();
    return {locked.at(0), locked.at(1)};
}
