#include "wallet/CallDisciplines.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "doubles/ClientLibraryDouble.h"
#include "doubles/SystemCalls.h"
#include "doubles/thrown.h"
#include "support/OvWalletException.h"
#include "wallet/WalletApi.h"

namespace Orvanta_OvWallet {
namespace {

using PrivateStuff::outOfMemoryError;
using PrivateStuff::walletFunctions;
using testing::ElementsAre;

constexpr const char* kOpen = "dlopen /14.10/ovwallet/redhatlinux-x8664/libovwallet.so";
constexpr const char* kCannotLock = "Cannot lock mutex (errno = Invalid argument).";
constexpr const char* kCannotUnload =
    "Cannot unload the \"/14.10/ovwallet/redhatlinux-x8664/libovwallet.so\" library because: why";

Wallet* const kWallet = reinterpret_cast<Wallet*>(0x11);
WalletError* const kLibraryError = reinterpret_cast<WalletError*>(0x22);
LockedUTF8Vector* const kVector = reinterpret_cast<LockedUTF8Vector*>(0x33);

class CallDisciplines : public testing::Test {
  protected:
    CallDisciplines() {
        openWithUses(1);
        dropAllUses();
    }
    ~CallDisciplines() override { dropAllUses(); }

    void openWithUses(int count) {
        for (int i = 0; i < count; ++i) {
            walletFunctions().load();
        }
        library_.takeEvents();
    }
    void dropAllUses() {
        while (!walletFunctions().useCount().isZero()) {
            walletFunctions().release();
        }
        library_.takeEvents();
    }

    static WalletError* makeWallet() {
        Wallet* wallet = nullptr;
        return OvWalletFactory_generateOvWalletV1(&wallet);
    }
    static WalletError* getValue() {
        LockedUTF8Vector* value = nullptr;
        return OvWallet_getStringValue(kWallet, "name", &value);
    }
    static WalletError* deleteString() { return OvWallet_deleteString(kWallet, "name"); }

    // Code and text of an error object of our own, which is freed.
    static std::string taken(WalletError* error) {
        if (error == nullptr) {
            return "no error";
        }
        std::string contents = std::to_string(OvWallet_getErrorCode(error)) + " " +
                               OvWallet_getErrorDescription(error);
        OvWallet_freeError(error);
        return contents;
    }

    static std::size_t uses() {
        const auto& digits = walletFunctions().useCount().digits();
        return digits.empty() ? 0 : digits.front();
    }

    // The events, the calls without their arguments.
    std::vector<std::string> events() {
        std::vector<std::string> events = library_.takeEvents();
        for (std::string& event : events) {
            event = event.substr(0, event.find('('));
        }
        return events;
    }

    void throwFromCalls() {
        library_.onCall = [](const std::string&) {
            throw std::runtime_error("the client library threw");
        };
    }
    void throwNumberFromCalls() {
        library_.onCall = [](const std::string&) { throw 7; };
    }

    ClientLibraryDouble library_;
};

using LoadFirst = CallDisciplines;

TEST_F(LoadFirst, LoadsTheLibraryAndCallsItUnderOneLock) {
    EXPECT_EQ(makeWallet(), nullptr);
    EXPECT_THAT(events(),
                ElementsAre("lock", kOpen, "call OvWalletFactory_generateOvWalletV1", "unlock"));
    EXPECT_EQ(uses(), 1U);
}

TEST_F(LoadFirst, AddsOneUseToAnOpenLibraryWhateverTheResult) {
    openWithUses(1);
    EXPECT_EQ(makeWallet(), nullptr);
    EXPECT_EQ(uses(), 2U);
    library_.error = kLibraryError;
    EXPECT_EQ(makeWallet(), kLibraryError);
    EXPECT_EQ(uses(), 3U);
    EXPECT_THAT(events(), ElementsAre("lock", "call OvWalletFactory_generateOvWalletV1", "unlock",
                                      "lock", "call OvWalletFactory_generateOvWalletV1", "unlock"));
}

TEST_F(LoadFirst, ReportsAMissingLibraryWithCode12) {
    library_.openFailures = 1;
    WalletError* const error = makeWallet();
    EXPECT_THAT(events(), ElementsAre("lock", kOpen, "dlerror", "unlock", "lock", "unlock"));
    EXPECT_EQ(uses(), 0U);
    EXPECT_EQ(taken(error),
              "12 Orvanta Wallet 14.10 is not installed (cannot access "
              "\"/14.10/ovwallet/redhatlinux-x8664/libovwallet.so\")");
    EXPECT_THAT(events(), ElementsAre("lock", "unlock", "lock", "unlock", "lock", "unlock"));
    EXPECT_EQ(uses(), 0U);
}

TEST_F(LoadFirst, ReportsALibraryThatTheLoaderRefusesWithCode11) {
    systemCalls().access = [](const char*, int) { return 0; };
    library_.openFailures = 1;
    EXPECT_EQ(taken(makeWallet()),
              "11 Cannot load the \"/14.10/ovwallet/redhatlinux-x8664/libovwallet.so\" library "
              "because: why");
    EXPECT_EQ(uses(), 0U);
}

TEST_F(LoadFirst, LeavesWhatStandsInTheCallersPlaceWhenTheCallDidNotReturn) {
    Wallet* place = kWallet;
    library_.openFailures = 1;
    OvWallet_freeError(OvWalletFactory_generateOvWalletV1(&place));
    EXPECT_EQ(place, kWallet);
    library_.onCall = [](const std::string&) { throw std::runtime_error("the client library"); };
    WalletError* const error = OvWalletFactory_generateOvWalletV1(&place);
    library_.onCall = nullptr;
    OvWallet_freeError(error);
    EXPECT_EQ(place, kWallet);
}

TEST_F(LoadFirst, TurnsAnExceptionOfTheLibraryIntoAnErrorAndClosesTheLibraryAgain) {
    throwFromCalls();
    WalletError* const error = makeWallet();
    EXPECT_THAT(events(), ElementsAre("lock", kOpen, "call OvWalletFactory_generateOvWalletV1",
                                      "unlock", "lock", "unlock", "lock", "dlclose", "unlock"));
    EXPECT_EQ(uses(), 0U);
    EXPECT_EQ(taken(error), "11 the client library threw");
}

TEST_F(LoadFirst, LeavesTheCountOfAnOpenLibraryAsItWasAfterAnException) {
    openWithUses(2);
    throwFromCalls();
    EXPECT_EQ(taken(makeWallet()), "11 the client library threw");
    EXPECT_EQ(uses(), 2U);
}

// Code and data of such an exception lie in the library.
class LibraryException : public std::exception {
  public:
    LibraryException() = default;
    LibraryException(const LibraryException&) = default;
    LibraryException& operator=(const LibraryException&) = default;
    ~LibraryException() override { ClientLibraryDouble::current().note("exception destroyed"); }
    const char* what() const noexcept override {
        ClientLibraryDouble::current().note("what");
        return "text in the library";
    }
};

TEST_F(LoadFirst, HasDoneWithAnExceptionOfTheLibraryBeforeTheLibraryIsClosed) {
    library_.onCall = [](const std::string&) { throw LibraryException(); };
    WalletError* const error = makeWallet();
    EXPECT_THAT(events(), ElementsAre("lock", kOpen, "call OvWalletFactory_generateOvWalletV1",
                                      "unlock", "what", "lock", "unlock", "exception destroyed",
                                      "lock", "dlclose", "unlock"));
    EXPECT_EQ(taken(error), "11 text in the library");
}

TEST_F(LoadFirst, ReportsTheFirstFailureWhenClosingFailsToo) {
    throwFromCalls();
    library_.closeFailures = 1;
    EXPECT_EQ(taken(makeWallet()), "11 the client library threw");
    EXPECT_EQ(uses(), 0U);
}

TEST_F(LoadFirst, LetsAnythingButAStandardExceptionPassWithTheLibraryStillOpen) {
    throwNumberFromCalls();
    EXPECT_THROW(makeWallet(), int);
    EXPECT_THAT(events(),
                ElementsAre("lock", kOpen, "call OvWalletFactory_generateOvWalletV1", "unlock"));
    EXPECT_EQ(uses(), 1U);
}

TEST_F(LoadFirst, TurnsALockFailureIntoAnErrorWithoutACall) {
    library_.lock.failCall("lock guard");
    EXPECT_EQ(taken(makeWallet()), std::string("11 ") + kCannotLock);
    EXPECT_EQ(uses(), 0U);
}

TEST_F(LoadFirst, ReportsExhaustionWhenTheErrorCannotBeRegisteredEither) {
    library_.lock.failCall("lock guard", 1);
    library_.lock.failCall("lock guard", 2);
    EXPECT_EQ(makeWallet(), outOfMemoryError());
    EXPECT_THAT(events(), ElementsAre("lock fails", "lock fails"));
    EXPECT_EQ(uses(), 0U);
}

using RetainAlways = CallDisciplines;

TEST_F(RetainAlways, CallsWithoutTheLockAndAddsAUseUnderIt) {
    EXPECT_EQ(getValue(), nullptr);
    EXPECT_THAT(events(), ElementsAre("call OvWallet_getStringValue", "lock", kOpen, "unlock"));
    EXPECT_EQ(uses(), 1U);
}

TEST_F(RetainAlways, AddsTheUseOfAnErrorObject) {
    openWithUses(1);
    library_.error = kLibraryError;
    EXPECT_EQ(getValue(), kLibraryError);
    EXPECT_THAT(events(), ElementsAre("call OvWallet_getStringValue", "lock", "unlock"));
    EXPECT_EQ(uses(), 2U);
}

TEST_F(RetainAlways, HoldsForASuccessfulPasswordOnTheTerminalThoughNothingIsHandedOut) {
    openWithUses(1);
    EXPECT_EQ(OvWallet_supplyPasswordTty(kWallet, nullptr, nullptr), nullptr);
    EXPECT_EQ(uses(), 2U);
}

TEST_F(RetainAlways, TurnsAnExceptionOfTheLibraryIntoAnErrorWithoutAUse) {
    openWithUses(1);
    throwFromCalls();
    WalletError* const error = getValue();
    EXPECT_THAT(events(), ElementsAre("call OvWallet_getStringValue", "lock", "unlock"));
    EXPECT_EQ(uses(), 1U);
    EXPECT_EQ(taken(error), "11 the client library threw");
}

TEST_F(RetainAlways, TurnsALockFailureAfterTheCallIntoAnErrorAndLeavesTheRestWhereItIs) {
    openWithUses(1);
    LockedUTF8Vector* value = nullptr;
    library_.onCall = [&](const std::string&) { value = kVector; };
    library_.lock.failCall("lock guard");
    WalletError* const error = OvWallet_getStringValue(kWallet, "name", &value);
    EXPECT_THAT(events(),
                ElementsAre("call OvWallet_getStringValue", "lock fails", "lock", "unlock"));
    EXPECT_EQ(value, kVector);
    EXPECT_EQ(uses(), 1U);
    library_.onCall = nullptr;
    EXPECT_EQ(taken(error), std::string("11 ") + kCannotLock);
}

TEST_F(RetainAlways, LetsAnythingButAStandardExceptionPass) {
    openWithUses(1);
    throwNumberFromCalls();
    EXPECT_THROW(getValue(), int);
    EXPECT_THAT(events(), ElementsAre("call OvWallet_getStringValue"));
    EXPECT_EQ(uses(), 1U);
}

using RetainOnError = CallDisciplines;

TEST_F(RetainOnError, ReturnsFromASuccessfulCallAtOnce) {
    openWithUses(1);
    EXPECT_EQ(deleteString(), nullptr);
    EXPECT_THAT(events(), ElementsAre("call OvWallet_deleteString"));
    EXPECT_EQ(uses(), 1U);
}

TEST_F(RetainOnError, AddsTheUseOfAnErrorObjectUnderTheLock) {
    library_.error = kLibraryError;
    EXPECT_EQ(deleteString(), kLibraryError);
    EXPECT_THAT(events(), ElementsAre("call OvWallet_deleteString", "lock", kOpen, "unlock"));
    EXPECT_EQ(uses(), 1U);
}

TEST_F(RetainOnError, TurnsAnExceptionOfTheLibraryIntoAnErrorWithoutAUse) {
    openWithUses(1);
    throwFromCalls();
    WalletError* const error = deleteString();
    EXPECT_THAT(events(), ElementsAre("call OvWallet_deleteString", "lock", "unlock"));
    EXPECT_EQ(uses(), 1U);
    EXPECT_EQ(taken(error), "11 the client library threw");
}

TEST_F(RetainOnError, TurnsALockFailureAfterTheCallIntoAnError) {
    openWithUses(1);
    library_.error = kLibraryError;
    library_.lock.failCall("lock guard");
    EXPECT_EQ(taken(deleteString()), std::string("11 ") + kCannotLock);
    EXPECT_EQ(uses(), 1U);
}

TEST_F(RetainOnError, LetsAnythingButAStandardExceptionPass) {
    openWithUses(1);
    throwNumberFromCalls();
    EXPECT_THROW(deleteString(), int);
    EXPECT_EQ(uses(), 1U);
}

using Release = CallDisciplines;

TEST_F(Release, FreesWithoutTheLockThenDropsAUseUnderIt) {
    openWithUses(2);
    OvWallet_freeV1(kWallet);
    EXPECT_THAT(events(), ElementsAre("call OvWallet_freeV1", "lock", "unlock"));
    OvWallet_freeLockedUTF8Vector(kVector);
    EXPECT_THAT(events(),
                ElementsAre("call OvWallet_freeLockedUTF8Vector", "lock", "dlclose", "unlock"));
    EXPECT_EQ(uses(), 0U);
}

TEST_F(Release, ThrowsWhenTheLibraryCannotBeClosedAndTheUseIsGone) {
    openWithUses(1);
    library_.closeFailures = 1;
    EXPECT_EQ(thrownBy([] { OvWallet_freeV1(kWallet); }), kCannotUnload);
    EXPECT_THAT(events(),
                ElementsAre("call OvWallet_freeV1", "lock", "dlclose", "dlerror", "unlock"));
    EXPECT_EQ(uses(), 0U);
}

TEST_F(Release, ThrowsALockFailureAndKeepsTheUse) {
    openWithUses(1);
    library_.lock.failCall("lock guard");
    EXPECT_EQ(thrownBy([] { OvWallet_freeV1(kWallet); }), kCannotLock);
    EXPECT_THAT(events(), ElementsAre("call OvWallet_freeV1", "lock fails"));
    EXPECT_EQ(uses(), 1U);
}

TEST_F(Release, LetsAnExceptionOfTheLibraryPass) {
    openWithUses(1);
    throwFromCalls();
    EXPECT_EQ(thrownBy<std::runtime_error>([] { OvWallet_freeV1(kWallet); }),
              "the client library threw");
    EXPECT_EQ(uses(), 1U);
}

using FreeError = CallDisciplines;

TEST_F(FreeError, FreesAnErrorOfTheLibraryAndDropsItsUseUnderOneLock) {
    openWithUses(2);
    OvWallet_freeError(kLibraryError);
    EXPECT_THAT(library_.takeEvents(),
                ElementsAre("lock", "call OvWallet_freeError(0x22)", "unlock"));
    OvWallet_freeError(kLibraryError);
    EXPECT_THAT(library_.takeEvents(),
                ElementsAre("lock", "call OvWallet_freeError(0x22)", "dlclose", "unlock"));
    EXPECT_EQ(uses(), 0U);
}

TEST_F(FreeError, PassesNullToTheLibraryAndDropsAUse) {
    openWithUses(1);
    OvWallet_freeError(nullptr);
    EXPECT_THAT(library_.takeEvents(),
                ElementsAre("lock", "call OvWallet_freeError(0x0)", "dlclose", "unlock"));
    EXPECT_EQ(uses(), 0U);
}

TEST_F(FreeError, DoesNothingForOutOfMemory) {
    openWithUses(1);
    OvWallet_freeError(outOfMemoryError());
    OvWallet_freeError(outOfMemoryError());
    EXPECT_THAT(events(), ElementsAre("lock", "unlock", "lock", "unlock"));
    EXPECT_EQ(uses(), 1U);
}

TEST_F(FreeError, FreesAnErrorOfOurOwnWithoutTheLibrary) {
    openWithUses(1);
    throwFromCalls();
    WalletError* const error = deleteString();
    library_.onCall = nullptr;
    events();
    OvWallet_freeError(error);
    EXPECT_THAT(events(), ElementsAre("lock", "unlock"));
    EXPECT_EQ(uses(), 1U);
    EXPECT_EQ(PrivateStuff::localErrorContents(error), std::nullopt);
}

TEST_F(FreeError, FreesTwoErrorsOfOurOwnIndependently) {
    openWithUses(1);
    throwFromCalls();
    WalletError* const first = deleteString();
    WalletError* const second = deleteString();
    EXPECT_NE(first, second);
    OvWallet_freeError(first);
    EXPECT_EQ(taken(second), "11 the client library threw");
}

TEST_F(FreeError, ThrowsWhenTheLibraryCannotBeClosed) {
    openWithUses(1);
    library_.closeFailures = 1;
    EXPECT_EQ(thrownBy([] { OvWallet_freeError(kLibraryError); }), kCannotUnload);
    EXPECT_THAT(events(),
                ElementsAre("lock", "call OvWallet_freeError", "dlclose", "dlerror", "unlock"));
    EXPECT_EQ(uses(), 0U);
}

TEST_F(FreeError, ThrowsALockFailureAndFreesNothing) {
    openWithUses(1);
    library_.lock.failCall("lock guard");
    EXPECT_EQ(thrownBy([] { OvWallet_freeError(kLibraryError); }), kCannotLock);
    EXPECT_THAT(events(), ElementsAre("lock fails"));
    EXPECT_EQ(uses(), 1U);
}

TEST_F(FreeError, ReleasesTheLockAndKeepsTheUseWhenTheLibraryThrows) {
    openWithUses(1);
    throwFromCalls();
    EXPECT_THROW(OvWallet_freeError(kLibraryError), std::runtime_error);
    EXPECT_THAT(events(), ElementsAre("lock", "call OvWallet_freeError", "unlock"));
    EXPECT_EQ(uses(), 1U);
}

using ErrorAccessor = CallDisciplines;

TEST_F(ErrorAccessor, AsksTheLibraryAboutItsErrorsUnderTheLock) {
    openWithUses(1);
    library_.text = "text of the library";
    library_.code = 42;
    EXPECT_EQ(OvWallet_getErrorCode(kLibraryError), 42);
    EXPECT_STREQ(OvWallet_getErrorDescription(kLibraryError), "text of the library");
    EXPECT_THAT(library_.takeEvents(),
                ElementsAre("lock", "call OvWallet_getErrorCode(0x22)", "unlock", "lock",
                            "call OvWallet_getErrorDescription(0x22)", "unlock"));
}

TEST_F(ErrorAccessor, AsksTheLibraryAboutNull) {
    openWithUses(1);
    library_.code = 43;
    EXPECT_EQ(OvWallet_getErrorCode(nullptr), 43);
    EXPECT_EQ(OvWallet_getErrorDescription(nullptr), nullptr);
}

TEST_F(ErrorAccessor, KnowsOutOfMemoryWithoutTheLibrary) {
    EXPECT_EQ(OvWallet_getErrorCode(outOfMemoryError()), 11);
    EXPECT_STREQ(OvWallet_getErrorDescription(outOfMemoryError()),
                 "An out of memory condition exists.");
    EXPECT_THAT(events(), ElementsAre("lock", "unlock", "lock", "unlock"));
}

TEST_F(ErrorAccessor, KeepsTheTextOfAnErrorOfOurOwnUntilItIsFreed) {
    openWithUses(1);
    throwFromCalls();
    WalletError* const error = deleteString();
    const char* const text = OvWallet_getErrorDescription(error);
    OvWallet_freeError(deleteString());
    EXPECT_EQ(OvWallet_getErrorDescription(error), text);
    EXPECT_STREQ(text, "the client library threw");
    OvWallet_freeError(error);
}

TEST_F(ErrorAccessor, ThrowsALockFailureWithoutACall) {
    openWithUses(1);
    library_.lock.failCall("lock guard");
    EXPECT_EQ(thrownBy([] { OvWallet_getErrorCode(kLibraryError); }), kCannotLock);
    library_.lock.failCall("lock guard");
    EXPECT_EQ(thrownBy([] { OvWallet_getErrorDescription(kLibraryError); }), kCannotLock);
    EXPECT_THAT(events(), ElementsAre("lock fails", "lock fails"));
}

TEST_F(ErrorAccessor, ReleasesTheLockWhenTheLibraryThrows) {
    openWithUses(1);
    throwFromCalls();
    EXPECT_THROW(OvWallet_getErrorCode(kLibraryError), std::runtime_error);
    EXPECT_THAT(events(), ElementsAre("lock", "call OvWallet_getErrorCode", "unlock"));
}

using PlainUnderLock = CallDisciplines;

TEST_F(PlainUnderLock, AsksTheLibraryEvenAboutErrorsOfOurOwn) {
    openWithUses(1);
    library_.text = "name";
    EXPECT_STREQ(OvWallet_getStringName(outOfMemoryError()), "name");
    EXPECT_THAT(events(), ElementsAre("lock", "call OvWallet_getStringName", "unlock"));
}

TEST_F(PlainUnderLock, ThrowsALockFailureWithoutACall) {
    openWithUses(1);
    library_.lock.failCall("lock guard");
    EXPECT_EQ(thrownBy([] { OvWallet_getStringName(kLibraryError); }), kCannotLock);
    EXPECT_THAT(events(), ElementsAre("lock fails"));
}

using Direct = CallDisciplines;

TEST_F(Direct, CallsWithoutLockAndUse) {
    openWithUses(1);
    library_.size = 0xfffffffe;
    EXPECT_EQ(OvWallet_getSizeLockedUTF8Vector(kVector), 0xfffffffe);
    EXPECT_THAT(library_.takeEvents(), ElementsAre("call OvWallet_getSizeLockedUTF8Vector(0x33)"));
    EXPECT_EQ(uses(), 1U);
}

TEST_F(Direct, LetsAnExceptionOfTheLibraryPass) {
    openWithUses(1);
    throwFromCalls();
    EXPECT_THROW(OvWallet_getPtrLockedUTF8Vector(kVector), std::runtime_error);
    EXPECT_THAT(events(), ElementsAre("call OvWallet_getPtrLockedUTF8Vector"));
}

TEST_F(CallDisciplines, TellAMissingLibraryFromAllOtherFailures) {
    const auto reported = [](auto exception) {
        return taken(PrivateStuff::reportingErrors([&]() -> WalletError* { throw exception; }));
    };
    EXPECT_EQ(reported(NotInstalledException("not installed")), "12 not installed");
    EXPECT_EQ(reported(OvWalletException("failed")), "11 failed");
    EXPECT_EQ(reported(std::runtime_error("other")), "11 other");
    EXPECT_EQ(reported(std::bad_alloc()), "11 std::bad_alloc");
}

TEST_F(CallDisciplines, MayBeUsedByAThreadThatHoldsTheLock) {
    const ProcessLockGuard lock;
    events();
    EXPECT_EQ(makeWallet(), nullptr);
    OvWallet_freeV1(kWallet);
    EXPECT_THAT(events(), ElementsAre(kOpen, "call OvWalletFactory_generateOvWalletV1",
                                      "call OvWallet_freeV1", "dlclose"));
}

}  // namespace
}  // namespace Orvanta_OvWallet
