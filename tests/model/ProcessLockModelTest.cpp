// The model of ProcessLock and of the loader's count: every order of the steps of two and three
// threads, faults that the search must find, and whether the model does what the code does.

#include <cerrno>
#include <functional>
#include <iostream>
#include <set>
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

void expectNoViolation(const ModelProgram& program, std::size_t threads) {
    const SearchResult result = searchModel(program, threads);
    EXPECT_EQ(describe(result), "");
    std::cout << result.states << " states of " << threads << " threads\n";
}

void expectViolation(const ModelProgram& program, const std::string& expected) {
    const SearchResult result = searchModel(program, 2);
    EXPECT_EQ(result.violation, expected) << describe(result);
    EXPECT_FALSE(result.steps.empty());
}

TEST(ProcessLockModel, TwoThreadsThatNestNeverGoWrong) {
    expectNoViolation(ModelProgram::nesting(Fault::none), 2);
}

TEST(ProcessLockModel, ThreeThreadsThatNestNeverGoWrong) {
    expectNoViolation(ModelProgram::nesting(Fault::none), 3);
}

TEST(ProcessLockModel, TwoThreadsThatUseTheWalletNeverGoWrong) {
    expectNoViolation(ModelProgram::walletCall(Fault::none), 2);
}

TEST(ProcessLockModel, ThreeThreadsThatOpenAndFreeAWalletNeverGoWrong) {
    expectNoViolation(ModelProgram::walletOpening(Fault::none), 3);
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

// What is done to the two mutexes while the action runs, as the model tells it.
std::vector<std::string> mutexEvents(const std::set<int>& failing,
                                     const std::function<void()>& action) {
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
        if (ofLock && failing.contains(++attempts)) {
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

void nestOnce() {
    try {
        const ProcessLockGuard outer;
        const ProcessLockGuard inner;
    } catch (const std::exception&) {
        return;
    }
}

TEST(ProcessLockModelAndCode, TakeTheMutexesInTheSameOrder) {
    EXPECT_EQ(mutexEvents({}, nestOnce), eventsOfOneRound(ModelProgram::nesting(Fault::none), {}));
}

// The first attempts are the guard mutex, the hold mutex and the guard mutex again.
TEST(ProcessLockModelAndCode, FailTheSameWayWhenAMutexIsRefused) {
    for (const int attempt : {1, 2, 3}) {
        EXPECT_EQ(mutexEvents({attempt}, nestOnce),
                  eventsOfOneRound(ModelProgram::nesting(Fault::none), {attempt}))
            << attempt;
    }
}

// How one round ends otherwise than with success.
enum class Outcome { success, loadFails, openThrows, openFails, fetchThrows, fetchFails };

std::vector<std::string> inTheWordsOfTheModel(const std::vector<std::string>& events) {
    std::vector<std::string> translated;
    for (const std::string& event : events) {
        if (event == "lock" || event == "unlock") {
            translated.push_back(event + " hold");
        } else if (event != "dlerror") {
            translated.push_back(event.substr(0, event.find(' ')));
        }
    }
    return translated;
}

// What the code does in one round.
std::vector<std::string> walletEvents(Outcome outcome) {
    ClientLibraryDouble library;
    library.openFailures = outcome == Outcome::loadFails ? 1 : 0;
    library.onCall = [&](const std::string& entry) {
        const bool opening = entry == "OvWalletFactory_generateOvWalletV1";
        const bool fetching = entry == "OvWallet_getStringValue";
        if ((opening && outcome == Outcome::openThrows) ||
            (fetching && outcome == Outcome::fetchThrows)) {
            throw std::runtime_error("thrown by the client library");
        }
        const bool fails = (opening && outcome == Outcome::openFails) ||
                           (fetching && outcome == Outcome::fetchFails);
        library.error = fails ? reinterpret_cast<WalletError*>(&library) : nullptr;
    };
    Wallet* wallet = nullptr;
    LockedUTF8Vector* value = nullptr;
    if (WalletError* const error = OvWalletFactory_generateOvWalletV1(&wallet)) {
        OvWallet_freeError(error);
        return inTheWordsOfTheModel(library.takeEvents());
    }
    if (WalletError* const error = OvWallet_getStringValue(wallet, "name", &value)) {
        OvWallet_freeError(error);
    } else {
        OvWallet_freeLockedUTF8Vector(value);
    }
    OvWallet_freeV1(wallet);
    return inTheWordsOfTheModel(library.takeEvents());
}

std::vector<std::string> modelEvents(const std::set<int>& failing) {
    std::vector<std::string> events =
        eventsOfOneRound(ModelProgram::walletCall(Fault::none), failing);
    std::erase_if(events, [](const std::string& event) { return event.ends_with("guard"); });
    return events;
}

// The steps of the model with two outcomes: the library opens, the entry point throws, it returns
// an error object, then the last two again for the value.
TEST(ProcessLockModelAndCode, LoadAndReleaseTheLibraryInTheSameOrder) {
    EXPECT_EQ(walletEvents(Outcome::success), modelEvents({}));
    EXPECT_EQ(walletEvents(Outcome::loadFails), modelEvents({1}));
    EXPECT_EQ(walletEvents(Outcome::openThrows), modelEvents({2}));
    EXPECT_EQ(walletEvents(Outcome::openFails), modelEvents({3}));
    EXPECT_EQ(walletEvents(Outcome::fetchThrows), modelEvents({4}));
    EXPECT_EQ(walletEvents(Outcome::fetchFails), modelEvents({5}));
}

}  // namespace
