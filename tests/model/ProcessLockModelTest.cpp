// The model of ProcessLock and of the loader's count: every order of the steps of two and three
// threads, faults that the search must find, and whether the model does what the code does.

#include <cerrno>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/ClientLibraryDouble.h"
#include "doubles/ProcessLockMutexes.h"
#include "doubles/SystemCalls.h"
#include "model/ModelSearch.h"
#include "wallet/ProcessLock.h"
#include "wallet/WalletApi.h"

using namespace Orvanta_OvWallet;

namespace {

std::string describe(const SearchResult& result) {
    std::string text = result.violation;
    for (const std::string& step : result.steps) {
        text += "\n    " + step;
    }
    return text;
}

void expectNoViolation(const ModelProgram& program, std::size_t threads, int refusals) {
    const SearchResult result = searchModel(program, threads, refusals);
    EXPECT_EQ(describe(result), "");
    std::cout << result.states << " states of " << threads << " threads\n";
}

void expectViolation(const ModelProgram& program, const std::string& expected) {
    const SearchResult result = searchModel(program, 2, 1);
    EXPECT_EQ(result.violation, expected) << describe(result);
    EXPECT_FALSE(result.steps.empty());
}

TEST(ProcessLockModel, TwoThreadsThatNestNeverGoWrong) {
    expectNoViolation(ModelProgram::nesting(Fault::none), 2, 1);
}

TEST(ProcessLockModel, ThreeThreadsThatNestNeverGoWrong) {
    expectNoViolation(ModelProgram::nesting(Fault::none), 3, 1);
}

TEST(ProcessLockModel, TwoThreadsThatUseTheWalletNeverGoWrong) {
    expectNoViolation(ModelProgram::walletCall(Fault::none), 2, 1);
}

TEST(ProcessLockModel, ThreeThreadsThatOpenAndFreeAWalletNeverGoWrong) {
    expectNoViolation(ModelProgram::walletOpening(Fault::none), 3, 0);
}

TEST(ProcessLockModelFault, AnOwnerThatIsNotComparedLetsTwoThreadsIn) {
    expectViolation(ModelProgram::nesting(Fault::ownerNotCompared), "two threads own ProcessLock");
}

TEST(ProcessLockModelFault, AnOwnerThatIsNotSetLocksTheHolderOut) {
    expectViolation(ModelProgram::walletCall(Fault::ownerNotSet), "no thread can go on");
}

TEST(ProcessLockModelFault, WaitingForTheHolderWithTheGuardMutexStopsEverything) {
    expectViolation(ModelProgram::walletCall(Fault::holdWantedWithGuard), "no thread can go on");
}

TEST(ProcessLockModelFault, ACountThatAWaitingThreadLeavesRaisedShowsAHolderThatIsNone) {
    expectViolation(ModelProgram::walletCall(Fault::countNotDecremented),
                    "the hold count is not zero though nobody holds");
}

TEST(ProcessLockModelFault, AHoldMutexThatAFailedLockKeepsStaysLocked) {
    expectViolation(ModelProgram::nesting(Fault::holdKeptOnFailure),
                    "something is left at the end");
}

TEST(ProcessLockModelFault, LookingForZeroWithoutTheGuardMutexKeepsTheLockForEver) {
    expectViolation(ModelProgram::walletCall(Fault::zeroSeenTooLate), "no thread can go on");
}

TEST(ProcessLockModelFault, AnUnlockThatIsNotTriedAgainKeepsTheLock) {
    expectViolation(ModelProgram::nesting(Fault::unlockNotRepeated),
                    "something is left at the end");
}

TEST(ProcessLockModelFault, AReferenceThatIsNotGivenBackAtASecondAttemptStays) {
    expectViolation(ModelProgram::walletCall(Fault::givingBackNotRepeated),
                    "something is left at the end");
}

TEST(ProcessLockModelFault, AnObjectThatIsNotTakenBackStays) {
    expectViolation(ModelProgram::walletCall(Fault::notTakenBack),
                    "a thread begins a round with something in its hands");
}

TEST(ProcessLockModelFault, AReferenceAddedWithoutTheLockIsLost) {
    expectViolation(ModelProgram::walletCall(Fault::loadWithoutLock),
                    "the reference count is not objects plus calls in flight");
}

TEST(ProcessLockModelFault, AReferenceThatIsForgottenClosesTheLibraryTooEarly) {
    expectViolation(ModelProgram::walletCall(Fault::referenceNotAdded),
                    "the library is called while it is closed");
}

TEST(ProcessLockModelFault, AReferenceDroppedBeforeTheObjectIsFreedClosesTheLibraryTooEarly) {
    expectViolation(ModelProgram::walletCall(Fault::droppedBeforeFree),
                    "the library is called while it is closed");
}

// What is done to the two mutexes while the action runs, in the model's words. Of the attempts to
// lock one the one called refused fails.
std::vector<std::string> mutexEvents(int refused, const std::function<void()>& action) {
    const ProcessLockMutexes mutexes = findProcessLockMutexes();
    std::vector<std::string> events;
    const auto note = [&](const char* event, const pthread_mutex_t* mutex) {
        if (mutex == mutexes.guard || mutex == mutexes.hold) {
            events.push_back(event + std::string(mutex == mutexes.guard ? "guard" : "hold"));
        }
    };
    int attempts = 0;
    systemCalls().pthread_mutex_lock = [&](pthread_mutex_t* mutex) {
        const bool ofLock = mutex == mutexes.guard || mutex == mutexes.hold;
        if (ofLock && ++attempts == refused) {
            return EINVAL;
        }
        note("lock ", mutex);
        return real::pthread_mutex_lock(mutex);
    };
    systemCalls().pthread_mutex_unlock = [&](pthread_mutex_t* mutex) {
        note("unlock ", mutex);
        return real::pthread_mutex_unlock(mutex);
    };
    action();
    systemCalls() = SystemCalls{};
    return events;
}

void quietly(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::exception&) {
        return;
    }
}

void nestOnce() {
    const ProcessLockGuard outer;
    const ProcessLockGuard inner;
}

// Nesting takes seven attempts, and two more where one is refused.
TEST(ProcessLockModelAndCode, TakeTheMutexesInTheSameOrderWhicheverIsRefused) {
    const ModelProgram program = ModelProgram::nesting(Fault::none);
    for (int refused = 0; refused <= 10; ++refused) {
        EXPECT_EQ(mutexEvents(refused, [] { quietly(nestOnce); }),
                  eventsOfOneRound(program, {.refused = refused}))
            << refused;
    }
}

// What goes wrong in a round, numbered as the model's steps with two outcomes.
enum Failure { none, loadFails, openThrows, openFails, fetchThrows, fetchFails };

void failCalls(ClientLibraryDouble& library, Failure failure) {
    library.openFailures = failure == loadFails ? 1 : 0;
    library.onCall = [&library, failure](const std::string& entry) {
        const bool opening = entry == "OvWalletFactory_generateOvWalletV1";
        const bool fetching = entry == "OvWallet_getStringValue";
        if ((opening && failure == openThrows) || (fetching && failure == fetchThrows)) {
            throw std::runtime_error("thrown by the client library");
        }
        const bool fails = (opening && failure == openFails) || (fetching && failure == fetchFails);
        library.error = fails ? reinterpret_cast<WalletError*>(&library) : nullptr;
    };
}

void fetchOneValue(ClientLibraryDouble& library, Wallet* wallet) {
    auto* value = reinterpret_cast<LockedUTF8Vector*>(&library);
    if (WalletError* const error = OvWallet_getStringValue(wallet, "name", &value)) {
        quietly([&] { OvWallet_freeError(error); });
    } else {
        quietly([&] { OvWallet_freeLockedUTF8Vector(value); });
    }
}

std::vector<std::string> inTheWordsOfTheModel(const std::vector<std::string>& events) {
    std::vector<std::string> translated;
    for (const std::string& event : events) {
        if (event == "lock" || event == "unlock") {
            translated.push_back(event + " hold");
        } else if (event != "dlerror" && event != "lock fails") {
            translated.push_back(event.substr(0, event.find(' ')));
        }
    }
    return translated;
}

// What the code does in one round. Outputs are filled in advance, as the double does not.
std::vector<std::string> walletEvents(Failure failure, int refused) {
    ClientLibraryDouble library;
    failCalls(library, failure);
    library.failLocks({refused});
    auto* wallet = reinterpret_cast<Wallet*>(&library);
    if (WalletError* const error = OvWalletFactory_generateOvWalletV1(&wallet)) {
        quietly([&] { OvWallet_freeError(error); });
    } else {
        fetchOneValue(library, wallet);
        quietly([&] { OvWallet_freeV1(wallet); });
    }
    return inTheWordsOfTheModel(library.takeEvents());
}

std::vector<std::string> modelEvents(Failure failure, int refused) {
    std::vector<std::string> events =
        eventsOfOneRound(ModelProgram::walletCall(Fault::none),
                         {.failing = failure, .refused = refused, .guardsOnly = true});
    std::erase_if(events, [](const std::string& event) { return event.ends_with("guard"); });
    return events;
}

// No round has as many attempts to lock the guard mutex as are tried.
TEST(ProcessLockModelAndCode, LoadAndReleaseTheLibraryInTheSameOrderWhicheverMutexIsRefused) {
    for (const Failure failure :
         {none, loadFails, openThrows, openFails, fetchThrows, fetchFails}) {
        for (int refused = 0; refused <= 25; ++refused) {
            EXPECT_EQ(walletEvents(failure, refused), modelEvents(failure, refused))
                << "failure " << failure << ", refused " << refused;
        }
        EXPECT_EQ(modelEvents(failure, 25), modelEvents(failure, 0));
    }
}

}  // namespace
