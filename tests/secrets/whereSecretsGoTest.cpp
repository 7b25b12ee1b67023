// Where the bytes of user names, passwords, stored values and URLs stand during and after a call of
// the library, loaded as a JVM loads it.

#include <optional>
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "doubles/ConnectorJob.h"
#include "doubles/PrivateModuleDir.h"
#include "doubles/SandboxWallet.h"
#include "secrets/CoreDump.h"
#include "secrets/HeapRecorder.h"
#include "secrets/InterposedCalls.h"
#include "secrets/LoadedLibrary.h"
#include "secrets/Markers.h"
#include "secrets/MemorySearch.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::Gt;
using testing::IsSubsetOf;
using testing::IsSupersetOf;

constexpr const char* kConnectorException =
    "com/orvanta/connector/common/exception/ConnectorException: ";

class WhereSecretsGo : public testing::Test {
  protected:
    WhereSecretsGo() {
        LoadedLibrary::start();
        addString("value", plainText(Marker::storedValue));
        job_.properties["InputJdbcUrl"] = "jdbc:orvanta://db1/PASSWORD=" + plainText(Marker::url);
        job_.properties["InputOrvantaUserName"] = plainText(Marker::userName);
        job_.properties["InputOrvantaPassword"] = plainText(Marker::password) + "$ovwallet(value)";
    }

    void addString(const std::string& name, const std::string& value) {
        wallet_.add(name, value);
        InterposedCalls::overwriteUnusedStack();
    }

    std::string call() { return job_.performSubstitutions(privateModuleDir()); }

    // Makes the call and looks through the memory whenever it comes to one of Java's methods.
    std::set<std::string> placesDuringCall() {
        std::set<std::string> places;
        job_.onJavaMethod = [&](const std::string&) { places.merge(searchMemory()); };
        outcome_ = call();
        job_.onJavaMethod = nullptr;
        return places;
    }

    void setPassword(const std::string& text) { job_.properties["InputOrvantaPassword"] = text; }

    // Fails for a marker in the message, the system log, the names of entries, or ordinary memory
    // that the library uses or has given back.
    void expectNothingLeaked() {
        EXPECT_EQ(countIn(outcome_), 0U) << outcome_;
        EXPECT_EQ(InterposedCalls::systemLog(), "");
        for (const std::string& name : wallet_.takeAsked()) {
            EXPECT_EQ(countIn(name), 0U) << name;
        }
        EXPECT_THAT(HeapRecorder::freedWithMarker().inOrdinaryMemory, Each(0U));
    }

    SandboxWallet wallet_;
    StrictJni jvm_;
    ConnectorJob job_{jvm_};
    std::string outcome_;
};

// What may hold a secret while a call is under way, and nothing else does.
const std::set<std::string> kAllowed{
    "user name in the page pool, locked",    "user name in the heap of the test",
    "password in the page pool, locked",     "password in the heap of the test",
    "stored value in the page pool, locked", "stored value in the heap of the client library",
    "stored value in the heap of the test",  "URL in the page pool, locked",
    "URL in the heap of the test",
};

TEST_F(WhereSecretsGo, DuringACallIsLockedPagesTheClientLibraryAndJavaAlone) {
    EXPECT_EQ(placesDuringCall(), kAllowed);
    EXPECT_EQ(outcome_, "");
    EXPECT_EQ(job_.properties["InputOrvantaPassword"],
              plainText(Marker::password) + plainText(Marker::storedValue));
    EXPECT_GT(HeapRecorder::libraryBlocks(), 40U);
    expectNothingLeaked();
}

// The pages of the child that is dumped are the ones that are locked here.
TEST_F(WhereSecretsGo, InACoreDumpIsWhatIsInMemory) {
    std::set<std::string> places;
    std::size_t inMemory = 0;
    std::optional<std::string> dump;
    job_.onJavaMethod = [&](const std::string& method) {
        if (method == "setInputOrvantaPassword") {
            places = searchMemory();
            inMemory = countInMemory();
            dump = takeCoreDump();
        }
    };
    EXPECT_EQ(call(), "");
    EXPECT_THAT(places, IsSubsetOf(kAllowed));
    EXPECT_THAT(places,
                IsSupersetOf({"URL in the page pool, locked", "password in the page pool, locked",
                              "stored value in the page pool, locked"}));
    if (!dump) {
        GTEST_SKIP() << "NOT TESTED HERE: the kernel writes no core dumps; see core(5)";
    }
    EXPECT_EQ(countIn(*dump), inMemory);
}

TEST_F(WhereSecretsGo, AfterACallIsJavaAlone) {
    EXPECT_EQ(call(), "");
    EXPECT_EQ(searchMemory(),
              (std::set<std::string>{
                  "user name in the heap of the test", "password in the heap of the test",
                  "stored value in the heap of the test", "URL in the heap of the test"}));
    expectNothingLeaked();
}

// Deliberate: memory is not cleared, neither when it goes back to the pool nor to the heap.
TEST_F(WhereSecretsGo, PoolMemoryGoesBackToTheHeapWithTheSecretsInIt) {
    EXPECT_EQ(call(), "");
    // The password came to lie where the user name had been.
    EXPECT_THAT(HeapRecorder::freedWithMarker().inPool, ElementsAre(0, Gt(0U), Gt(0U), Gt(0U)));
}

// Deliberate: names of entries are no secrets, even when a secret was made one.
TEST_F(WhereSecretsGo, AnEntryNameIsHeldInOrdinaryMemory) {
    addString(plainText(Marker::userName), "plain");
    setPassword("$ovwallet(" + plainText(Marker::userName) + ")");
    outcome_ = call();
    EXPECT_EQ(outcome_, "");
    EXPECT_THAT(HeapRecorder::freedWithMarker().inOrdinaryMemory, ElementsAre(Gt(0U), 0, 0, 0));
    EXPECT_THAT(wallet_.takeAsked(), ElementsAre(plainText(Marker::userName)));
}

TEST_F(WhereSecretsGo, AFetchedValueThatNamesAnEntryIsHeldInOrdinaryMemory) {
    addString("outer", "$ovwallet(" + plainText(Marker::storedValue) + ")");
    addString(plainText(Marker::storedValue), "plain");
    setPassword("$ovwallet(outer)");
    outcome_ = call();
    EXPECT_EQ(outcome_, "");
    EXPECT_THAT(HeapRecorder::freedWithMarker().inOrdinaryMemory, ElementsAre(0, 0, Gt(0U), 0));
}

TEST_F(WhereSecretsGo, ANameThatIsNeverClosedIsNoneAndStaysInLockedPages) {
    addString("com.orvanta.OV2", "plain");
    setPassword("$ovwallet(" + plainText(Marker::password));
    EXPECT_THAT(placesDuringCall(), IsSubsetOf(kAllowed));
    EXPECT_EQ(outcome_, "");
    EXPECT_EQ(job_.properties["InputOrvantaPassword"], "plain(" + plainText(Marker::password));
    expectNothingLeaked();
}

TEST_F(WhereSecretsGo, AnUnsupportedMacroIsQuotedInTheMessage) {
    setPassword("$ovwallet($(" + plainText(Marker::password) + "))");
    EXPECT_EQ(call(), kConnectorException +
                          ("Unsupported replacement macro, \"$(" + plainText(Marker::password) +
                           ")\", found in credential information."));
}

class FailingCall : public WhereSecretsGo {
  protected:
    void expectFailure(const std::string& message) {
        const std::set<std::string> places = placesDuringCall();
        EXPECT_THAT(places, IsSubsetOf(kAllowed));
        EXPECT_EQ(outcome_, message);
        expectNothingLeaked();
    }
};

TEST_F(FailingCall, ForAMissingEntryKeepsSecretsBack) {
    setPassword(plainText(Marker::password) + "$ovwallet(value)$ovwallet(missing)");
    expectFailure(kConnectorException +
                  std::string("Attempt to get value from Orvanta Wallet failed because: There is "
                              "no string named \"missing\" in the wallet."));
}

TEST_F(FailingCall, OfTheClientLibraryKeepsSecretsBack) {
    setPassword(plainText(Marker::password) + "$ovwallet(value)$ovwallet(value)");
    wallet_.failCall("OvWallet_getStringValue", 2, "busy");
    expectFailure(kConnectorException +
                  std::string("Attempt to get value from Orvanta Wallet failed because: busy"));
}

TEST_F(FailingCall, ForAnUnsupportedMacroKeepsOtherSecretsBack) {
    setPassword(plainText(Marker::password) + "$ovwallet(value)$ovwallet($(x))");
    expectFailure(kConnectorException + std::string("Unsupported replacement macro, \"$(x)\", "
                                                    "found in credential information."));
}

TEST_F(FailingCall, ForAMacroThatIsNotUtf8KeepsSecretsBack) {
    setPassword(plainText(Marker::password) + "$ovwallet(value)$ovwallet($(\xFF))");
    expectFailure(kConnectorException + std::string("Invalid UTF-8"));
}

TEST_F(FailingCall, ForReferencesWithoutEndKeepsSecretsBack) {
    addString("loop", plainText(Marker::storedValue) + "$ovwallet(back)");
    addString("back", "$ovwallet(back)");
    setPassword(plainText(Marker::password) + "$ovwallet(loop)");
    expectFailure(kConnectorException + std::string("Orvanta Wallet references in credential "
                                                    "information lead back to themselves."));
}

TEST_F(FailingCall, OfASetterKeepsSecretsBack) {
    job_.throwingMethods = {"setInputOrvantaPassword"};
    expectFailure("java/lang/RuntimeException: setInputOrvantaPassword failed");
}

}  // namespace
