#include "wallet/WalletOwner.h"

#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utf8.h>

#include "doubles/ClientLibraryDouble.h"
#include "doubles/thrown.h"
#include "support/OvWalletException.h"
#include "wallet/WalletFunctionPointers.h"

namespace Orvanta_OvWallet {
namespace {

using PrivateStuff::walletFunctions;
using testing::ElementsAre;

constexpr const char* kCannotUnload =
    "Cannot unload the \"/14.10/ovwallet/redhatlinux-x8664/libovwallet.so\" library because: why";

Wallet* const kWallet = reinterpret_cast<Wallet*>(0x11);
WalletError* const kError = reinterpret_cast<WalletError*>(0x22);

class WalletOwnerTest : public testing::Test {
  protected:
    WalletOwnerTest() {
        walletFunctions().load();
        library_.takeEvents();
    }

    ClientLibraryDouble library_;
};

TEST_F(WalletOwnerTest, FreesItsObjectWhenItGoes) {
    {
        const OwnedWallet owner(kWallet);
        EXPECT_EQ(owner.get(), kWallet);
        EXPECT_THAT(library_.takeEvents(), ElementsAre());
    }
    EXPECT_THAT(library_.takeEvents(),
                ElementsAre("call OvWallet_freeV1(0x11)", "lock", "dlclose", "unlock"));
}

TEST_F(WalletOwnerTest, UsesTheFreeFunctionOfTheKind) {
    walletFunctions().load();
    walletFunctions().load();
    {
        const OwnedLockedUTF8Vector owner(reinterpret_cast<LockedUTF8Vector*>(0x33));
    }
    {
        const OwnedWalletError owner(kError);
    }
    EXPECT_THAT(library_.takeEvents(),
                ElementsAre("call OvWallet_freeLockedUTF8Vector(0x33)", "lock", "unlock", "lock",
                            "call OvWallet_freeError(0x22)", "unlock"));
}

TEST_F(WalletOwnerTest, FreesANullObjectBecauseItCarriesAUse) {
    {
        const OwnedLockedUTF8Vector owner(nullptr);
    }
    EXPECT_THAT(library_.takeEvents(), ElementsAre("call OvWallet_freeLockedUTF8Vector(0x0)",
                                                   "lock", "dlclose", "unlock"));
    EXPECT_TRUE(walletFunctions().useCount().isZero());
}

TEST_F(WalletOwnerTest, FreesOnceWhenItIsToldTo) {
    {
        OwnedWallet owner(kWallet);
        owner.free();
        EXPECT_THAT(library_.takeEvents(),
                    ElementsAre("call OvWallet_freeV1(0x11)", "lock", "dlclose", "unlock"));
        owner.free();
    }
    EXPECT_THAT(library_.takeEvents(), ElementsAre());
}

TEST_F(WalletOwnerTest, ReportsAFailingReleaseWhenItIsToldToFreeAndDoesNotTryAgain) {
    library_.closeFailures = 1;
    {
        OwnedWallet owner(kWallet);
        EXPECT_EQ(thrownBy([&] { owner.free(); }), kCannotUnload);
        library_.takeEvents();
    }
    EXPECT_THAT(library_.takeEvents(), ElementsAre());
}

TEST_F(WalletOwnerTest, KeepsAFailingReleaseToItselfWhenItGoes) {
    library_.closeFailures = 1;
    EXPECT_NO_THROW({ const OwnedWallet owner(kWallet); });
    EXPECT_THAT(library_.takeEvents(),
                ElementsAre("call OvWallet_freeV1(0x11)", "lock", "dlclose", "dlerror", "unlock"));
}

TEST_F(WalletOwnerTest, LetsTheFirstFailureLeaveWhenTheReleaseFailsToo) {
    library_.closeFailures = 1;
    EXPECT_EQ(thrownBy([] {
                  const OwnedWallet owner(kWallet);
                  throw std::runtime_error("the first failure");
              }),
              "the first failure");
    EXPECT_THAT(library_.takeEvents(),
                ElementsAre("call OvWallet_freeV1(0x11)", "lock", "dlclose", "dlerror", "unlock"));
}

TEST_F(WalletOwnerTest, KeepsToItselfWhateverTheFreeFunctionThrows) {
    library_.onCall = [](const std::string&) { throw 7; };
    EXPECT_NO_THROW({ const OwnedWallet owner(kWallet); });
}

std::string thrownFor(WalletError* error) {
    return thrownBy<OvWalletException>([&] { throwWalletError("It failed because: %s", error); });
}

TEST_F(WalletOwnerTest, ThrowsTheDescriptionAndFreesTheErrorAfterwards) {
    library_.text = "text of the %s library";
    EXPECT_EQ(thrownFor(kError), "It failed because: text of the %s library");
    EXPECT_THAT(library_.takeEvents(),
                ElementsAre("lock", "call OvWallet_getErrorDescription(0x22)", "unlock", "lock",
                            "call OvWallet_freeError(0x22)", "dlclose", "unlock"));
}

TEST_F(WalletOwnerTest, ThrowsAReplacementForAMissingDescription) {
    library_.text = nullptr;
    EXPECT_EQ(thrownFor(kError), "It failed because: unknown error");
}

TEST_F(WalletOwnerTest, FreesTheErrorWhenItsDescriptionIsNotUtf8) {
    library_.text = "\xff";
    EXPECT_THROW(throwWalletError("It failed because: %s", kError), utf8::invalid_utf8);
    EXPECT_TRUE(walletFunctions().useCount().isZero());
}

TEST_F(WalletOwnerTest, ReportsTheErrorEvenWhenFreeingItFails) {
    library_.text = "text";
    library_.closeFailures = 1;
    EXPECT_EQ(thrownFor(kError), "It failed because: text");
    EXPECT_TRUE(walletFunctions().useCount().isZero());
}

TEST_F(WalletOwnerTest, FreesTheErrorWhenItsDescriptionCannotBeRead) {
    library_.lock.failCall("lock guard");
    EXPECT_EQ(thrownFor(kError), "Cannot lock mutex (errno = Invalid argument).");
    EXPECT_THAT(
        library_.takeEvents(),
        ElementsAre("lock fails", "lock", "call OvWallet_freeError(0x22)", "dlclose", "unlock"));
}

TEST_F(WalletOwnerTest, OpensAWalletThroughTheFactory) {
    EXPECT_EQ(openWallet(), nullptr);
    EXPECT_THAT(library_.takeEvents(),
                ElementsAre("lock", testing::StartsWith("call OvWalletFactory_generateOvWalletV1("),
                            "unlock"));
}

TEST_F(WalletOwnerTest, SaysWhyNoWalletCanBeOpenedAndFreesTheError) {
    library_.error = kError;
    library_.text = "text";
    EXPECT_EQ(thrownBy(openWallet), "Attempt to use Orvanta Wallet failed because: text");
    EXPECT_THAT(library_.takeEvents(), testing::Contains("call OvWallet_freeError(0x22)"));
}

TEST(CopyingExceptions, ReturnsWhatTheCallReturns) {
    EXPECT_EQ(copyingExceptions([] { return 7; }), 7);
}

TEST(CopyingExceptions, ThrowsOurOwnExceptionWithTheSameMessage) {
    for (const std::string& message : {std::string(1000, 'm'), std::string()}) {
        EXPECT_EQ(thrownBy<OvWalletException>([&] {
                      copyingExceptions([&]() -> int { throw std::runtime_error(message); });
                  }),
                  message);
    }
}

TEST(CopyingExceptions, LetsAnythingElsePass) {
    EXPECT_THROW(copyingExceptions([]() -> int { throw 1; }), int);
}

}  // namespace
}  // namespace Orvanta_OvWallet
