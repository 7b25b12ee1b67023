// Sees every call that ProcessLock makes on its two mutexes, and makes chosen ones fail.
//
// The calls are "lock guard", "unlock guard", "lock hold" and "unlock hold". Other mutexes, such as
// the test framework's own, are none of its business. One at a time; make it and let it go while no
// other thread runs.
#pragma once

#include <pthread.h>

#include <cerrno>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

class ProcessLockDouble {
  public:
    using Calls = std::vector<std::string>;

    ProcessLockDouble();
    ~ProcessLockDouble();
    ProcessLockDouble(const ProcessLockDouble&) = delete;
    ProcessLockDouble& operator=(const ProcessLockDouble&) = delete;

    // Every call since the last time this was asked, in order, those that failed included.
    Calls takeCalls();

    // The count-th such call from now on returns the error without locking. To take the lock locks
    // the guard mutex twice, or once by a thread that holds it; each unlock locks it once.
    void failCall(const std::string& call, int count = 1, int error = EINVAL);

    // What unlocking a mutex returns; it is unlocked all the same.
    int unlockResult = 0;

    // Called on the calling thread before each call is made.
    std::function<void(const std::string& call)> onCall;

    // Called with "lock" when a thread is about to become the owner, with "unlock" when it is about
    // to cease to be it, and with "lock fails": for tests that compare the order with other calls.
    std::function<void(const std::string& event)> note;

    // Whether any thread has locked the mutex. ProcessLock is held as long as the hold mutex is.
    bool isHeld() const { return isLocked(mutexes_.hold); }
    bool isGuardLocked() const { return isLocked(mutexes_.guard); }

  private:
    struct Mutexes {
        pthread_mutex_t* guard;
        pthread_mutex_t* hold;
    };
    struct Failure {
        std::string call;
        int callsBefore;
        int error;
    };
    static Mutexes findMutexes();
    static bool isLocked(pthread_mutex_t* mutex);

    // "" for any other mutex.
    std::string nameOf(const char* operation, const pthread_mutex_t* mutex) const;
    int lock(pthread_mutex_t* mutex);
    int unlock(pthread_mutex_t* mutex);
    int enter(const std::string& call);

    const Mutexes mutexes_ = findMutexes();
    std::mutex mutex_;  // guards what follows
    Calls calls_;
    std::vector<Failure> failures_;
};
