// Tells whether ProcessLock is held, by watching the mutex behind it.
//
// For tests of what must not happen under the lock, on one thread. While it lives, no other double
// of the mutex functions works.
#pragma once

#include "doubles/ProcessLockMutexes.h"
#include "doubles/SystemCalls.h"

class ProcessLockWatch {
  public:
    ProcessLockWatch() {
        systemCalls().pthread_mutex_lock = [this](pthread_mutex_t* mutex) {
            const int result = real::pthread_mutex_lock(mutex);
            holds_ += mutex == mutexes_.hold && result == 0 ? 1 : 0;
            return result;
        };
        systemCalls().pthread_mutex_unlock = [this](pthread_mutex_t* mutex) {
            holds_ -= mutex == mutexes_.hold ? 1 : 0;
            return real::pthread_mutex_unlock(mutex);
        };
    }
    ~ProcessLockWatch() {
        systemCalls().pthread_mutex_lock = nullptr;
        systemCalls().pthread_mutex_unlock = nullptr;
    }
    ProcessLockWatch(const ProcessLockWatch&) = delete;
    ProcessLockWatch& operator=(const ProcessLockWatch&) = delete;

    bool isHeld() const { return holds_ != 0; }

  private:
    ProcessLockMutexes mutexes_ = findProcessLockMutexes();
    int holds_ = 0;
};
