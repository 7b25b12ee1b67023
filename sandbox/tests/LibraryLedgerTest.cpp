// What the client library counts and reports, how it is told to fail, and what survives its
// unloading.
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "sandbox/ledger/LedgerFile.h"
#include "sandbox/tests/LibraryFixture.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

// Keeps the leak sanitizer from reporting what a test leaks while this lives. The library must have
// been loaded meanwhile, because what it keeps for its handles is allocated then.
class DeliberateLeaks {
  public:
#ifdef __SANITIZE_ADDRESS__
    DeliberateLeaks() { __lsan_disable(); }
    ~DeliberateLeaks() { __lsan_enable(); }
#else
    DeliberateLeaks() {}  // not defaulted: an object of this type is not unused
#endif
    DeliberateLeaks(const DeliberateLeaks&) = delete;
    DeliberateLeaks& operator=(const DeliberateLeaks&) = delete;
};

class LibraryLedgerTest : public LibraryFixture {
  protected:
    LibraryLedgerTest() { writeText(directory_ / "strings", "a\t1\n"); }

    LoadedSandbox library_{pathname_};
};

std::int64_t fileCounter(const std::string& directory, std::string_view name) {
    const auto ledger = MappedLedger::open(directory);
    return ledger ? counterValue(ledger->ledger(), name).value_or(-2) : -3;
}

TEST_F(LibraryLedgerTest, LiveObjectsAreCountedByKind) {
    const auto live = [&](const char* kind) {
        return library_.counter((std::string("live.") + kind).c_str());
    };
    Wallet* const wallet = library_.newWallet();
    LockedUTF8Vector* value = nullptr;
    EXPECT_EQ(library_.OvWallet_getStringValue(wallet, "a", &value), nullptr);
    UTF8Vector* version = nullptr;
    EXPECT_EQ(library_.OvWallet_getVersion(wallet, &version), nullptr);
    StringNames* names = nullptr;
    EXPECT_EQ(library_.OvWallet_getStringNames(wallet, &names), nullptr);
    WalletError* const error = library_.OvWallet_deleteString(wallet, "b");
    for (const char* kind : {"wallets", "locked_vectors", "vectors", "name_lists", "errors"}) {
        EXPECT_EQ(live(kind), 1) << kind;
    }
    library_.OvWallet_freeError(error);
    library_.OvWallet_freeStringNames(names);
    library_.OvWallet_freeUTF8Vector(version);
    library_.OvWallet_freeLockedUTF8Vector(value);
    library_.OvWallet_freeV1(wallet);
    for (const char* kind : {"wallets", "locked_vectors", "vectors", "name_lists", "errors"}) {
        EXPECT_EQ(live(kind), 0) << kind;
    }
    EXPECT_EQ(library_.counter("loads"), 1);
    EXPECT_EQ(library_.counter("unloads"), 0);
    EXPECT_EQ(library_.counter("nonsense"), -1);
    EXPECT_EQ(library_.counter(nullptr), -1);
}

template <class Result, class... Arguments>
void callWithNulls(Result (*entryPoint)(Arguments...)) {
    entryPoint(Arguments{}...);
}

TEST_F(LibraryLedgerTest, EveryEntryPointCountsItsOwnCalls) {
    library_.unload();
    const DeliberateLeaks leaks;
    LoadedSandbox library(pathname_);
#define WALLET_ENTRY(ordinal, discipline, result, name, parameters, arguments) \
    callWithNulls(library.name);                                               \
    EXPECT_EQ(library.counter("calls." #name), 1) << #name;
#define WALLET_ENTRY_UNWRAPPED(ordinal, result, name, parameters) \
    WALLET_ENTRY(ordinal, none, result, name, parameters, ())
#include "wallet/EntryPoints.def"
    // The errors that the calls returned were not kept: that is what the library has to notice.
    EXPECT_EQ(complaintsOf([&] { library.unload(); }),
              "ovwallet sandbox: unloaded with handles that were never freed: error object 29\n");
}

TEST_F(LibraryLedgerTest, FreeingTwiceIsCountedAndReported) {
    Wallet* const wallet = library_.newWallet();
    library_.OvWallet_freeV1(wallet);
    EXPECT_EQ(complaintsOf([&] { library_.OvWallet_freeV1(wallet); }),
              "ovwallet sandbox: OvWallet_freeV1 got a handle that is no live wallet: it was freed "
              "already\n");
    EXPECT_EQ(library_.counter("bad_frees"), 1);
    EXPECT_EQ(library_.counter("live.wallets"), 0);
}

TEST_F(LibraryLedgerTest, FreeingThroughTheWrongFunctionIsReportedAndFreesNothing) {
    Wallet* const wallet = library_.newWallet();
    EXPECT_EQ(
        complaintsOf([&] {
            library_.OvWallet_freeLockedUTF8Vector(reinterpret_cast<LockedUTF8Vector*>(wallet));
        }),
        "ovwallet sandbox: OvWallet_freeLockedUTF8Vector got a handle that is no live locked "
        "vector: it is a live wallet\n");
    EXPECT_EQ(library_.counter("bad_frees"), 1);
    EXPECT_EQ(library_.value(wallet, "a"), "1");
    library_.OvWallet_freeV1(wallet);
}

TEST_F(LibraryLedgerTest, UsingAFreedHandleIsReportedAndAnError) {
    Wallet* const wallet = library_.newWallet();
    library_.OvWallet_freeV1(wallet);
    EXPECT_EQ(complaintsOf([&] {
                  LockedUTF8Vector* value = nullptr;
                  EXPECT_EQ(library_.taken(library_.OvWallet_getStringValue(wallet, "a", &value)),
                            "The wallet is not a live one.");
              }),
              "ovwallet sandbox: OvWallet_getStringValue got a handle that is no live wallet: it "
              "was freed already\n");
    EXPECT_EQ(library_.counter("bad_uses"), 1);
    EXPECT_EQ(library_.counter("bad_frees"), 0);
}

TEST_F(LibraryLedgerTest, HandleOfAnEarlierLoadIsRecognised) {
    library_.unload();
    const DeliberateLeaks leaks;
    LoadedSandbox library(pathname_);
    Wallet* const early = library.newWallet();
    EXPECT_EQ(complaintsOf([&] { EXPECT_TRUE(library.unload()); }),
              "ovwallet sandbox: unloaded with handles that were never freed: wallet 1\n");
    const LoadedSandbox again(pathname_);
    Wallet* const late = again.newWallet();
    EXPECT_EQ(
        complaintsOf([&] { again.OvWallet_freeV1(early); }),
        "ovwallet sandbox: OvWallet_freeV1 got a handle that is no live wallet: this library, "
        "as loaded now, never handed it out\n");
    EXPECT_EQ(again.counter("bad_frees"), 1);
    EXPECT_EQ(again.counter("live.wallets"), 1);
    again.OvWallet_freeV1(late);
}

TEST_F(LibraryLedgerTest, FileOutlivesTheUnloading) {
    library_.unload();
    startLedgerFile(directory_.pathname());
    for (int load = 1; load <= 3; ++load) {
        LoadedSandbox library(pathname_);
        library.OvWallet_freeV1(library.newWallet());
        EXPECT_EQ(library.counter("loads"), load);
        EXPECT_TRUE(library.unload());
    }
    const DeliberateLeaks leaks;
    LoadedSandbox leaking(pathname_);
    leaking.newWallet();
    leaking.newVector("x");
    leaking.newVector("y");
    EXPECT_EQ(
        complaintsOf([&] { leaking.unload(); }),
        "ovwallet sandbox: unloaded with handles that were never freed: wallet 1 locked vector "
        "2\n");
    const auto ledger = MappedLedger::open(directory_.pathname());
    ASSERT_TRUE(ledger);
    EXPECT_EQ(ledgerText(ledger->ledger()),
              "live.wallets 1\nlive.locked_vectors 2\nlive.vectors 0\nlive.name_lists 0\n"
              "live.errors 0\nloads 4\nunloads 4\nbad_frees 0\nbad_uses 0\nleaks 3\n"
              "calls.OvWalletFactory_generateOvWalletV1 4\n"
              "calls.OvWallet_freeV1 3\n"
              "calls.OvWallet_allocLockedUTF8Vector 2\n"
              "calls.OvWallet_getPtrLockedUTF8Vector 2\n");
}

TEST_F(LibraryLedgerTest, NothingOfTheLedgerFileStaysMappedAfterUnloading) {
    const auto isMapped = [&] {
        return readText("/proc/self/maps").find(directory_ / "ledger") != std::string::npos;
    };
    startLedgerFile(directory_.pathname());
    library_.OvWallet_freeV1(library_.newWallet());
    EXPECT_TRUE(isMapped());
    EXPECT_TRUE(library_.unload());
    EXPECT_FALSE(isMapped());
}

TEST_F(LibraryLedgerTest, LedgerStartedMeanwhileIsUsedFromTheNextWalletOn) {
    Wallet* const early = library_.newWallet();
    startLedgerFile(directory_.pathname());
    Wallet* const late = library_.newWallet();
    EXPECT_EQ(fileCounter(directory_.pathname(), "live.wallets"), 1);
    library_.OvWallet_freeV1(early);
    EXPECT_EQ(fileCounter(directory_.pathname(), "live.wallets"), 1);
    library_.OvWallet_freeV1(late);
    EXPECT_EQ(fileCounter(directory_.pathname(), "live.wallets"), 0);
    EXPECT_EQ(fileCounter(directory_.pathname(), "calls.OvWallet_freeV1"), 2);
    stopLedgerFile(directory_.pathname());
    library_.OvWallet_freeV1(library_.newWallet());
    EXPECT_EQ(library_.counter("live.wallets"), 1) << "the library's own ledger is back";
}

TEST_F(LibraryLedgerTest, ResetForgetsWhatIsLive) {
    Wallet* const wallet = library_.newWallet();
    library_.resetLedger();
    EXPECT_EQ(library_.counter("live.wallets"), 0);
    EXPECT_EQ(library_.counter("calls.OvWalletFactory_generateOvWalletV1"), 0);
    library_.OvWallet_freeV1(wallet);
    EXPECT_EQ(library_.counter("live.wallets"), 0);
    EXPECT_EQ(library_.counter("bad_frees"), 0);
}

TEST_F(LibraryLedgerTest, FileThatIsNoLedgerIsReportedAndNotUsed) {
    library_.unload();
    writeText(directory_ / "ledger", "x");
    EXPECT_EQ(complaintsOf([&] { LoadedSandbox(pathname_).unload(); }),
              "ovwallet sandbox: no ledger file is used: The file \"" + (directory_ / "ledger") +
                  "\" is not a ledger of this version: remove it and start a new one.\n");
    EXPECT_EQ(readText(directory_ / "ledger"), "x");
}

TEST_F(LibraryLedgerTest, HomeCanBeSetForTheProcess) {
    const TemporaryDirectory other;
    writeText(other / "strings", "a\tother\n");
    startLedgerFile(other.pathname());
    Wallet* const early = library_.newWallet();
    library_.setHome(other.pathname().c_str());
    Wallet* const late = library_.newWallet();
    EXPECT_EQ(library_.value(early, "a"), "1");
    EXPECT_EQ(library_.value(late, "a"), "other");
    EXPECT_EQ(fileCounter(other.pathname(), "live.wallets"), 1);
    library_.OvWallet_freeV1(early);
    library_.OvWallet_freeV1(late);
    EXPECT_EQ(fileCounter(other.pathname(), "live.wallets"), 0);
    library_.setHome(nullptr);
    Wallet* const latest = library_.newWallet();
    EXPECT_EQ(library_.value(latest, "a"), "1");
    library_.OvWallet_freeV1(latest);
}

TEST_F(LibraryLedgerTest, FetchesAreJournaledInOrderMissingOnesToo) {
    writeText(directory_ / "journal", "");
    Wallet* const wallet = library_.newWallet();
    LockedUTF8Vector* value = nullptr;
    EXPECT_EQ(library_.value(wallet, "a"), "1");
    EXPECT_EQ(library_.taken(library_.OvWallet_getStringValue(wallet, "no/such", &value)),
              "There is no string named \"no/such\" in the wallet.");
    EXPECT_EQ(library_.value(wallet, "a"), "1");
    EXPECT_EQ(readText(directory_ / "journal"), "get a\nget no%2Fsuch\nget a\n");
    library_.OvWallet_freeV1(wallet);
}

}  // namespace

}  // namespace Orvanta_OvWallet::Sandbox
