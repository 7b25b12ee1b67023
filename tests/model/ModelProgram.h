// What one thread of the model does: the steps of ProcessLock, of the loader's reference count and
// of the call disciplines, one after the other, flattened into one list.
//
// A step is what a thread does without another one being able to come in between. Each bears the
// name of the function it stands for and of what happens there. Changing a counter is two steps,
// reading it and writing it, so that a lock that does not exclude loses an update.
//
// The list is a loop: a thread that comes to its end may begin again or end for ever.
//
// A mutex can be refused, as pthread_mutex_lock does when it fails. The steps of what the code does
// then are part of the program: what holds the lock tries once more to give it up, and what gives
// something back tries once more to take the lock. So one refusal is overcome wherever it happens;
// after two in a row a lock or a reference stays taken, which is why a search allows for one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

// X(enumerator, name)
#define MODEL_STEPS(X)                                                               \
    X(begin, "the thread begins a round")                                            \
    X(choose, "the thread chooses")                                                  \
    X(enterAgainLockGuard, "enterAgain: lock guardMutex")                            \
    X(enterAgainReadCount, "enterAgain: read holdCount")                             \
    X(enterAgainIncrement, "enterAgain: holdCount.increment")                        \
    X(enterAgainCompare, "enterAgain: holdCount.isOne, pthread_equal(owner, self)")  \
    X(enterAgainReadRaised, "enterAgain: read holdCount again")                      \
    X(enterAgainDecrement, "enterAgain: holdCount.decrement")                        \
    X(enterAgainUnlockGuard, "enterAgain: unlock guardMutex")                        \
    X(enterAgainHolder, "enterAgain: unlock guardMutex, the holder itself")          \
    X(lockLockHold, "ProcessLock::lock: lock holdMutex")                             \
    X(lockLockGuard, "ProcessLock::lock: lock guardMutex")                           \
    X(lockReadCount, "ProcessLock::lock: read holdCount")                            \
    X(lockIncrement, "ProcessLock::lock: holdCount.increment")                       \
    X(lockSetOwner, "ProcessLock::lock: owner = self")                               \
    X(lockUnlockGuard, "ProcessLock::lock: unlock guardMutex")                       \
    X(lockReturn, "ProcessLock::lock returns")                                       \
    X(lockUnlockHold, "ProcessLock::lock: unlock holdMutex, guardMutex was refused") \
    X(unlockCalled, "ProcessLock::unlock is called")                                 \
    X(unlockLockGuard, "ProcessLock::unlock: lock guardMutex")                       \
    X(unlockReadCount, "ProcessLock::unlock: read holdCount")                        \
    X(unlockDecrement, "ProcessLock::unlock: holdCount.decrement, isZero")           \
    X(unlockUnlockGuard, "ProcessLock::unlock: unlock guardMutex")                   \
    X(unlockUnlockHold, "ProcessLock::unlock: unlock holdMutex if released")         \
    X(loadReadCount, "load: read referenceCount")                                    \
    X(loadIncrement, "load: referenceCount.increment")                               \
    X(loadIsOne, "load: referenceCount.isOne")                                       \
    X(loadOpen, "load: openAndResolve")                                              \
    X(loadReadRaised, "load: openAndResolve fails, read referenceCount")             \
    X(loadDecrement, "load: openAndResolve fails, referenceCount.decrement")         \
    X(releaseReadCount, "release: read referenceCount")                              \
    X(releaseDecrement, "release: referenceCount.decrement")                         \
    X(releaseClose, "release: closeLibrary if isZero")                               \
    X(directMake, "direct: the entry point hands out an object")                     \
    X(directThrow, "direct: the entry point throws")                                 \
    X(directFree, "direct: the free function takes an object back")                  \
    X(registryInsert, "errorFromException: registry().insert")                       \
    X(registryErase, "freeLocalError: registry().erase")                             \
    X(jump, "no step: goes on elsewhere")

enum class Step : std::uint8_t {
#define MODEL_ENUMERATOR(enumerator, name) enumerator,
    MODEL_STEPS(MODEL_ENUMERATOR)
#undef MODEL_ENUMERATOR
};

const char* stepName(Step step);

// A fault put into the model on purpose, to see that the search finds it.
enum class Fault {
    none,
    ownerNotCompared,       // enterAgain lets in whoever finds a holder
    ownerNotSet,            // lock forgets to say who holds it
    holdWantedWithGuard,    // the hold mutex is requested while the guard mutex is held
    countNotDecremented,    // a thread that has to wait leaves the count raised
    holdKeptOnFailure,      // the hold mutex stays locked when the guard mutex is refused
    zeroSeenTooLate,        // unlock looks whether the count is zero without the guard mutex
    loadWithoutLock,        // addReference does not take the lock
    referenceNotAdded,      // referenceAlways forgets the reference of its object
    droppedBeforeFree,      // release drops the reference before the free function is called
    unlockNotRepeated,      // a guard that cannot unlock does not try again
    givingBackNotRepeated,  // what is to be given back is not when the lock is refused
    notTakenBack,           // what the library handed out is forgotten when the call fails after it
};

class ModelProgram {
  public:
    // target is where the step leads if it does not lead on: the other choice, a failure.
    struct Instruction {
        Step step;
        std::size_t target;
    };

    // Two levels of the lock, the inner one or not.
    static ModelProgram nesting(Fault fault);

    // One wallet opened and freed: loadFirst and release, with each outcome that they can have, the
    // failing ones included.
    static ModelProgram walletOpening(Fault fault);

    // The same with one value fetched and freed in between: referenceAlways, release and freeError.
    static ModelProgram walletCall(Fault fault);

    const std::vector<Instruction>& instructions() const { return instructions_; }
    Fault fault() const { return fault_; }

  private:
    // Places that lead to a target which is not known yet.
    using Pending = std::vector<std::size_t>;

    explicit ModelProgram(Fault fault) : fault_(fault) {}

    static ModelProgram walletUse(Fault fault, bool fetchesValue);

    std::size_t here() const { return instructions_.size(); }
    std::size_t add(Step step);
    void leadHere(const Pending& places);

    // What each of these returns leads on from where it throws.
    Pending lock();
    Pending unlock();
    Pending load();
    Pending addReference();

    // These may throw, too, but it makes no difference to what their callers do.
    void dropReference();
    void freeError();
    void makeLocalError();
    void freeLocalError();
    void releaseObject();
    void giveBackUnderLock(const std::function<void()>& call);

    std::size_t choose();
    void attemptUnlock(Pending& refused);
    void release();
    void loadFirst(Pending& ends);
    void referenceAlways();

    Fault fault_;
    std::vector<Instruction> instructions_;
};
