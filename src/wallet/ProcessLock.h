// ProcessLock: the one lock of the library, which a thread may take again while holding it.
//
// It guards all process-wide state: the wallet library's reference count and function table, the
// error registry, the page pool's tables and the one-time installation set-up. It is held neither
// while Java code runs nor while a value is fetched from the wallet.
//
// How it works. Two plain mutexes and a counter make it re-entrant:
//   - the hold mutex is owned for as long as a thread owns ProcessLock;
//   - the guard mutex protects the hold count and the owner, for the few instructions that read or
//     change them;
//   - the hold count is the owner's nesting depth; the owner is not cleared on release, so it means
//     something only while the count shows a holder.
// A thread that finds a holder which is itself only raises the count. Any other thread leaves the
// count as it was, waits for the hold mutex without the guard mutex, and then enters itself.
// The hold mutex is never requested while the guard mutex is held.
//
// Errors: when a mutex cannot be locked, OvWalletException "Cannot lock mutex (errno = TEXT).";
// the count is unchanged and no mutex stays locked that was not locked before. Results of
// unlocking a mutex are ignored. std::bad_alloc may leave lock() with the same guarantee, but only
// before it has been taken for the first time.
//
// Any thread may call. There is no fairness beyond that of the hold mutex.
#pragma once

#include <exception>

#include "support/inSilence.h"

namespace Orvanta_OvWallet {

class ProcessLock {
  public:
    // Returns when the calling thread owns the lock, one level deeper than before.
    static void lock();

    // Gives up one level. Precondition: the calling thread owns the lock.
    static void unlock();
};

// Owns one level of ProcessLock from construction to destruction; every user takes the lock so.
class ProcessLockGuard {
  public:
    ProcessLockGuard();

    // When unlocking fails it is tried once more, for a lock that is not given up now is held for
    // ever. Throws what the first attempt threw, except while another exception that was thrown
    // inside the guarded scope is on its way: that one is the failure to report.
    ~ProcessLockGuard() noexcept(false);

    ProcessLockGuard(const ProcessLockGuard&) = delete;
    ProcessLockGuard& operator=(const ProcessLockGuard&) = delete;

  private:
    int exceptionsAtConstruction_;
};

// Runs call under the lock. For calls into code that may have a C++ runtime of its own, as the
// client library may: std::uncaught_exceptions does not count the exceptions of another runtime, so
// a ProcessLockGuard whose unlock fails could not tell that one is on its way. It is kept until the
// lock is given up, and then thrown on.
template <typename Call>
void underLock(const Call& call) {
    std::exception_ptr thrown;
    try {
        const ProcessLockGuard lock;
        try {
            call();
        } catch (...) {
            thrown = std::current_exception();
            if (thrown == nullptr) {
                throw;  // not of C++ at all
            }
        }
    } catch (...) {
        if (thrown == nullptr) {
            throw;
        }
    }
    if (thrown != nullptr) {
        std::rethrow_exception(thrown);
    }
}

// Runs under the lock what gives something back. When the lock cannot be taken it is tried once
// more, for what is not given back now is kept for ever. Throws the first failure, also when the
// second attempt succeeded.
template <typename Call>
void giveBackUnderLock(const Call& call) {
    bool entered = false;
    const auto attempt = [&] {
        entered = true;
        call();
    };
    try {
        underLock(attempt);
    } catch (...) {
        if (!entered) {
            inSilence([&] { underLock(attempt); });
        }
        throw;
    }
}

}  // namespace Orvanta_OvWallet
