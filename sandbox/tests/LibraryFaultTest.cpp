// How the client library is told to fail, to wait and to throw.
#include <time.h>

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/thrown.h"
#include "sandbox/tests/LibraryFixture.h"

namespace {

// Nanoseconds that the client library asked to sleep, which it does not do here: this definition
// comes before the C library's for every library that the test loads.
std::vector<long>& requestedRests() {
    static std::vector<long> rests;
    return rests;
}

}  // namespace

extern "C" [[gnu::visibility("default")]] int nanosleep(const timespec* rest, timespec* /*left*/) {
    requestedRests().push_back(rest->tv_sec * 1'000'000'000L + rest->tv_nsec);
    return 0;
}

namespace Orvanta_OvWallet::Sandbox {

namespace {

class LibraryFaultTest : public LibraryFixture {
  protected:
    LibraryFaultTest() { writeText(directory_ / "strings", "a\t1\n"); }

    LoadedSandbox library_{pathname_};
};

TEST_F(LibraryFaultTest, RequestedCallFailsWithTheRequestedText) {
    Wallet* const wallet = library_.newWallet();
    EXPECT_EQ(library_.failCall("OvWallet_getVersion", 2, "out of order"), 0);
    std::vector<std::string> results;
    for (int call = 0; call < 3; ++call) {
        UTF8Vector* version = nullptr;
        results.push_back(library_.taken(library_.OvWallet_getVersion(wallet, &version)));
        library_.OvWallet_freeUTF8Vector(version);
    }
    EXPECT_EQ(results, (std::vector<std::string>{"no error", "out of order", "no error"}));
    EXPECT_EQ(library_.failCall("OvWallet_getVersion", 1, std::string(232, 'x').c_str()), -1);
    EXPECT_EQ(library_.failCall("OvWallet_nothing", 1, "x"), -1);
    EXPECT_EQ(library_.failCall(nullptr, 1, "x"), -1);
    library_.OvWallet_freeV1(wallet);
}

TEST_F(LibraryFaultTest, FactoryCanBeToldToFail) {
    EXPECT_EQ(library_.failCall("OvWalletFactory_generateOvWalletV1", 1, "no wallet"), 0);
    Wallet* wallet = nullptr;
    WalletError* const error = library_.OvWalletFactory_generateOvWalletV1(&wallet);
    EXPECT_EQ(library_.OvWallet_getErrorCode(error), 7);
    EXPECT_EQ(library_.taken(error), "no wallet");
    EXPECT_EQ(wallet, nullptr);
}

TEST_F(LibraryFaultTest, EntryPointsThatReturnNoErrorCannotFail) {
    Wallet* const wallet = library_.newWallet();
    EXPECT_EQ(library_.failCall("OvWallet_freeV1", 1, "x"), 0);
    library_.OvWallet_freeV1(wallet);
    EXPECT_EQ(library_.counter("live.wallets"), 0);
}

TEST_F(LibraryFaultTest, CallsWaitAsLongAsTheyAreTold) {
    EXPECT_EQ(library_.delayCalls("OvWallet_freeV1", 3'000'250), 0);
    EXPECT_EQ(library_.delayCalls("nothing", 1), -1);
    Wallet* const wallet = library_.newWallet();
    EXPECT_EQ(requestedRests(), std::vector<long>{});
    library_.OvWallet_freeV1(wallet);
    EXPECT_EQ(requestedRests(), std::vector<long>{3'000'250'000L});
    EXPECT_EQ(library_.delayCalls("OvWallet_freeV1", 0), 0);
    library_.OvWallet_freeV1(library_.newWallet());
    EXPECT_EQ(requestedRests().size(), 1U);
}

TEST_F(LibraryFaultTest, CallsThrowAsTheyAreTold) {
    Wallet* const wallet = library_.newWallet();
    EXPECT_EQ(library_.throwFromCalls("OvWallet_freeV1", 1), 0);
    try {
        library_.OvWallet_freeV1(wallet);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "the client library threw");
    }
    EXPECT_EQ(library_.throwFromCalls("OvWallet_freeV1", 2), 0);
    EXPECT_EQ(thrownBy([&] { library_.OvWallet_freeV1(wallet); }), "something else");
    EXPECT_EQ(library_.throwFromCalls("OvWallet_freeV1", 3), -1);
    EXPECT_EQ(library_.throwFromCalls("nothing", 1), -1);
    EXPECT_EQ(library_.counter("live.wallets"), 1) << "a call that throws does nothing";
    EXPECT_EQ(library_.throwFromCalls("OvWallet_freeV1", 0), 0);
    library_.OvWallet_freeV1(wallet);
    EXPECT_EQ(library_.counter("live.wallets"), 0);
}

}  // namespace

}  // namespace Orvanta_OvWallet::Sandbox
