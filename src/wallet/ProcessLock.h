// ProcessLock: the one lock of the library, which a thread may take again while holding it.
//
// It guards all process-wide state: the wallet library's use count and function table, the error
// registry, the page pool's tables and the one-time installation set-up. It is held neither while
// Java code runs nor while a value is fetched from the wallet.
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
// Errors: OvWalletException when a mutex cannot be locked; the count is unchanged and no mutex
// stays locked that was not locked before. Nothing is tried a second time: a mutex of this kind
// does not refuse, so no user of the lock prepares for it either. Results of unlocking a mutex are
// ignored. std::bad_alloc may leave lock(), but only before it has been taken for the first time.
//
// Any thread may call. There is no fairness beyond that of the hold mutex.
#pragma once

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

    // Throws what unlocking throws, except while another exception that was thrown inside the
    // guarded scope is on its way: that one is the failure to report.
    ~ProcessLockGuard() noexcept(false);

    ProcessLockGuard(const ProcessLockGuard&) = delete;
    ProcessLockGuard& operator=(const ProcessLockGuard&) = delete;

  private:
    int exceptionsAtConstruction_;
};

}  // namespace Orvanta_OvWallet
