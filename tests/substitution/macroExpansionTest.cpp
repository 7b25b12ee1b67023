#include "substitution/macroExpansion.h"

#include <functional>
#include <new>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/FailingHeap.h"
#include "doubles/PrivateModuleDir.h"
#include "doubles/ProcessLockWatch.h"
#include "doubles/SandboxWallet.h"
#include "substitution/ExactBytes.h"
#include "support/OvWalletException.h"
#include "wallet/WalletFunctionPointers.h"
#include "wallet/WalletOwner.h"

namespace Orvanta_OvWallet {
namespace {

using PrivateStuff::walletFunctions;
using Names = std::vector<std::string>;
using namespace std::string_literals;

// What the client library does in place of fetching a string, if set.
std::function<WalletError*(const std::string& name, LockedUTF8Vector** value)> fetch;

// A value as the client library makes one.
LockedUTF8Vector* valueOf(const std::string& text) {
    LockedUTF8Vector* value = nullptr;
    walletFunctions().OvWallet_allocLockedUTF8Vector(&value,
                                                     static_cast<std::uint32_t>(text.size()));
    text.copy(reinterpret_cast<char*>(walletFunctions().OvWallet_getPtrLockedUTF8Vector(value)),
              text.size());
    return value;
}

class MacroExpansion : public ::testing::Test {
  protected:
    MacroExpansion() { linkInstallation(sandboxBase()); }

    ~MacroExpansion() override { EXPECT_EQ(sandbox_.held(), heldAtEnd_); }

    // The text expanded with a wallet of its own, or "failed: " and why.
    std::string expanded(const std::string& text) {
        Wallet* made = nullptr;
        EXPECT_EQ(OvWalletFactory_generateOvWalletV1(&made), nullptr);
        const OwnedWallet wallet(made);
        useFetch();
        ExactBytes id(databaseId_);
        ExactBytes mechanism(logonMechanism_);
        SecureByteVector bytes(0);
        insert(bytes, text);
        try {
            expandMacros(bytes, wallet.get(), {id.range(), mechanism.range()});
        } catch (const std::exception& failure) {
            return std::string("failed: ") + failure.what();
        }
        return {bytes.begin(), bytes.end()};
    }

    static void insert(SecureByteVector& bytes, const std::string& text) {
        const auto* const first = reinterpret_cast<const std::uint8_t*>(text.data());
        bytes.insert(bytes.end(), first, first + text.size());
    }

    static void useFetch() {
        if (fetch) {
            walletFunctions().OvWallet_getStringValue = [](Wallet*, const char* name,
                                                           LockedUTF8Vector** value) {
                return fetch(name, value);
            };
        }
    }

    SandboxWallet sandbox_;
    std::string databaseId_ = "dbhost";
    std::string logonMechanism_ = "OV2";
    std::string heldAtEnd_;
};

TEST_F(MacroExpansion, TextWithoutKeywordStaysAndNothingIsFetched) {
    for (const std::string text : {"", "plain", "$ovwalle", "$OVWALLET(a)", "ovwallet(a)", "$"}) {
        EXPECT_EQ(expanded(text), text);
    }
    EXPECT_EQ(sandbox_.takeAsked(), Names{});
}

TEST_F(MacroExpansion, ANameInParenthesesIsReplacedWithThem) {
    sandbox_.add("db.pw", "secret");
    EXPECT_EQ(expanded("$ovwallet(db.pw)"), "secret");
    EXPECT_EQ(expanded("x$ovwallet(db.pw)y"), "xsecrety");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"db.pw", "db.pw"}));
}

TEST_F(MacroExpansion, ABareKeywordStandsForTheDefaultEntry) {
    sandbox_.add("com.orvanta.OV2", "secret");
    EXPECT_EQ(expanded("x$ovwalletY"), "xsecretY");
    EXPECT_EQ(expanded("$ovwallet"), "secret");
    EXPECT_EQ(expanded("$ovwallet (db.pw)"), "secret (db.pw)");
    EXPECT_EQ(sandbox_.takeAsked(),
              (Names{"com.orvanta.OV2", "com.orvanta.OV2", "com.orvanta.OV2"}));
}

TEST_F(MacroExpansion, TheDefaultEntryIsNamedForTheLogonMechanism) {
    sandbox_.add("com.orvanta.LDAP", "l");
    sandbox_.add("com.orvanta.", "n");
    logonMechanism_ = "LDAP";
    EXPECT_EQ(expanded("$ovwallet"), "l");
    logonMechanism_ = "";
    EXPECT_EQ(expanded("$ovwallet"), "n");
}

TEST_F(MacroExpansion, OfANameThatIsNeverClosedOnlyTheKeywordIsReplaced) {
    sandbox_.add("com.orvanta.OV2", "secret");
    EXPECT_EQ(expanded("$ovwallet(abc"), "secret(abc");
    EXPECT_EQ(expanded("$ovwallet("), "secret(");
    EXPECT_EQ(expanded("$ovwallet(abc\\"), "secret(abc\\");
    EXPECT_EQ(expanded("$ovwallet(abc\\)"), "secret(abc\\)");
    EXPECT_EQ(expanded("$ovwallet(abc$"), "secret(abc$");
    EXPECT_EQ(expanded("$ovwallet(abc$(user"), "secret(abc$(user");
    EXPECT_EQ(expanded("$ovwallet($(ovpid)"), "secret($(ovpid)");
    EXPECT_EQ(sandbox_.takeAsked(), Names(7, "com.orvanta.OV2"));
}

TEST_F(MacroExpansion, EscapesAndTheDatabaseIdMakeUpTheEntryName) {
    sandbox_.add("a)b", "1");
    sandbox_.add("a\\qb", "2");
    sandbox_.add("a$b", "3");
    sandbox_.add("pw_dbhost", "4");
    EXPECT_EQ(expanded("$ovwallet(a\\)b)$ovwallet(a\\qb)$ovwallet(a$b)$ovwallet(pw_$(ovpid))"),
              "1234");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"a%29b", "a%5Cqb", "a%24b", "pw_dbhost"}));
}

TEST_F(MacroExpansion, AnEmptyDatabaseIdAddsNothing) {
    sandbox_.add("pw_", "secret");
    databaseId_ = "";
    EXPECT_EQ(expanded("$ovwallet(pw_$(ovpid))"), "secret");
}

TEST_F(MacroExpansion, TheWalletTakesANameUpToItsFirstNul) {
    sandbox_.add("a", "secret");
    EXPECT_EQ(expanded("$ovwallet(a\0b)"s), "secret");
    EXPECT_EQ(sandbox_.takeAsked(), Names{"a"});
}

TEST_F(MacroExpansion, AnUnsupportedSubMacroFailsAndNothingIsFetched) {
    EXPECT_EQ(expanded("$ovwallet($(user))"),
              "failed: Unsupported replacement macro, \"$(user)\", found in credential "
              "information.");
    EXPECT_EQ(expanded("$ovwallet($(user)"),
              "failed: Unsupported replacement macro, \"$(user)\", found in credential "
              "information.");
    EXPECT_EQ(sandbox_.takeAsked(), Names{});
}

// The message is text, and text is UTF-8.
TEST_F(MacroExpansion, AnUnsupportedSubMacroThatIsNoTextFailsAllTheSame) {
    EXPECT_EQ(expanded("$ovwallet($(\xff))"), "failed: Invalid UTF-8");
}

TEST_F(MacroExpansion, SeveralReferencesAreReplacedFromLeftToRight) {
    sandbox_.add("a", "long value");
    sandbox_.add("b", "");
    sandbox_.add("c", "z");
    EXPECT_EQ(expanded("$ovwallet(a)-$ovwallet(b)-$ovwallet(c)"), "long value--z");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"a", "b", "c"}));
}

// ---- Values that are expanded in turn.

TEST_F(MacroExpansion, TheScanGoesOnBehindAValueAndOnlyThenStartsAgain) {
    sandbox_.add("a", "$ovwallet(c)");
    sandbox_.add("b", "$ovwallet(d)");
    sandbox_.add("c", "C$ovwallet(e)");
    sandbox_.add("d", "D");
    sandbox_.add("e", "E");
    EXPECT_EQ(expanded("$ovwallet(a)$ovwallet(b)"), "CED");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"a", "b", "c", "d", "e"}));
}

TEST_F(MacroExpansion, AValueCompletesAKeywordWithWhatFollows) {
    sandbox_.add("half", "$ovwal");
    sandbox_.add("whole", "$ovwallet");
    sandbox_.add("b", "B");
    EXPECT_EQ(expanded("$ovwallet(half)let(b)"), "B");
    EXPECT_EQ(expanded("$ovwallet(whole)(b)"), "B");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"half", "b", "whole", "b"}));
}

TEST_F(MacroExpansion, AValueCompletesAKeywordWithWhatStandsBefore) {
    sandbox_.add("half", "allet(b)");
    sandbox_.add("b", "B");
    EXPECT_EQ(expanded("$ovw$ovwallet(half)"), "B");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"half", "b"}));
}

TEST_F(MacroExpansion, AnEmptyValueJoinsItsSurroundings) {
    sandbox_.add("empty", "");
    sandbox_.add("com.orvanta.OV2", "secret");
    EXPECT_EQ(expanded("$ovw$ovwallet(empty)allet"), "secret");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"empty", "com.orvanta.OV2"}));
}

TEST_F(MacroExpansion, AValueClosesANameWithWhatFollows) {
    sandbox_.add("com.orvanta.OV2", "$ovwallet(");
    sandbox_.add("b", "B");
    EXPECT_EQ(expanded("$ovwalletb)"), "B");
}

// ---- Values of any bytes and sizes.

TEST_F(MacroExpansion, AnEmptyValueMayComeWithANullPointer) {
    sandbox_.add("empty", "");
    EXPECT_EQ(expanded("$ovwallet(empty)"), "");
    EXPECT_EQ(expanded("x$ovwallet(empty)y"), "xy");
}

TEST_F(MacroExpansion, NulBytesAreOrdinaryBytes) {
    sandbox_.add("nul", "\0a\0"s);
    EXPECT_EQ(expanded("\0$ovwallet(nul)\0"s), "\0\0a\0\0"s);
}

TEST_F(MacroExpansion, EveryByteOfAValueIsKept) {
    std::string all;
    for (int value = 0; value < 256; ++value) {
        all.push_back(static_cast<char>(value));
    }
    sandbox_.add("all", all);
    EXPECT_EQ(expanded("<$ovwallet(all)>"), "<" + all + ">");
}

TEST_F(MacroExpansion, AValueMayBeMuchLongerThanTheText) {
    const std::string value(100'000, 'v');
    sandbox_.add("long", value);
    EXPECT_EQ(expanded("<$ovwallet(long)>"), "<" + value + ">");
}

TEST_F(MacroExpansion, NoValueAtAllIsAFailure) {
    fetch = [](const std::string&, LockedUTF8Vector** value) -> WalletError* {
        *value = nullptr;
        return nullptr;
    };
    EXPECT_EQ(expanded("$ovwallet(a)"),
              "failed: Attempt to get value from Orvanta Wallet failed because: no value was "
              "returned");
}

// ---- Failures of the wallet.

TEST_F(MacroExpansion, AMissingEntryIsReportedInTheWalletsWords) {
    EXPECT_EQ(expanded("$ovwallet(none)"),
              "failed: Attempt to get value from Orvanta Wallet failed because: There is no string "
              "named \"none\" in the wallet.");
    EXPECT_EQ(sandbox_.counter("calls.OvWallet_freeError"), 1);
}

TEST_F(MacroExpansion, TheWalletsWordsAreNotReadAsATemplate) {
    sandbox_.failCall("OvWallet_getStringValue", 1, "100%s %d %");
    EXPECT_EQ(expanded("$ovwallet(a)"),
              "failed: Attempt to get value from Orvanta Wallet failed because: 100%s %d %");
}

TEST_F(MacroExpansion, AWalletWithoutWordsIsReportedToo) {
    fetch = [](const std::string&, LockedUTF8Vector**) {
        walletFunctions().OvWallet_getErrorDescription = [](WalletError*) -> const char* {
            return nullptr;
        };
        // Any failing call gives an error object.
        return walletFunctions().OvWallet_allocLockedUTF8Vector(nullptr, 1);
    };
    EXPECT_EQ(expanded("$ovwallet(a)"),
              "failed: Attempt to get value from Orvanta Wallet failed because: unknown error");
}

TEST_F(MacroExpansion, TheFirstFailureEndsTheExpansion) {
    sandbox_.add("a", "A");
    EXPECT_EQ(expanded("$ovwallet(a)$ovwallet(none)$ovwallet(a)"),
              "failed: Attempt to get value from Orvanta Wallet failed because: There is no string "
              "named \"none\" in the wallet.");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"a", "none"}));
}

TEST_F(MacroExpansion, AClientLibraryThatThrowsIsReportedInItsWords) {
    sandbox_.throwFromCalls("OvWallet_getStringValue", 1);
    EXPECT_EQ(expanded("$ovwallet(a)"),
              "failed: Attempt to get value from Orvanta Wallet failed because: the client library "
              "threw");
}

// What the client library did not free is its own, and so is the reference for it.
TEST_F(MacroExpansion, AValueThatCannotBeFreedIsReported) {
    sandbox_.add("a", "A");
    sandbox_.throwFromCalls("OvWallet_freeLockedUTF8Vector", 1);
    EXPECT_EQ(expanded("$ovwallet(a)$ovwallet(a)"), "failed: the client library threw");
    EXPECT_EQ(sandbox_.takeAsked(), Names{"a"});
    heldAtEnd_ = "live.locked_vectors 1\nreferences to the library\n";
}

TEST_F(MacroExpansion, WithoutMemoryItFailsAndHoldsNothing) {
    // Long enough to outgrow the text; the memory of the first expansions is kept for later ones.
    sandbox_.add("a", std::string(500, 'v'));
    Wallet* made = nullptr;
    ASSERT_EQ(OvWalletFactory_generateOvWalletV1(&made), nullptr);
    const OwnedWallet wallet(made);
    bool failed = true;
    int failures = 0;
    for (std::uint64_t k = 1; failed; ++k) {
        auto bytes = std::make_unique<SecureByteVector>(0);
        insert(*bytes, "<$ovwallet(a)>");
        const std::int64_t live = FailingHeap::liveAllocations();
        {
            const FailingHeap heap(k);
            try {
                expandMacros(*bytes, wallet.get(), {});
            } catch (const std::exception&) {
                ++failures;
            }
            failed = heap.failed();
        }
        ASSERT_LT(k, 1000U);
        EXPECT_EQ(sandbox_.counter("live.locked_vectors"), 0) << k;
        EXPECT_EQ(sandbox_.counter("live.errors"), 0) << k;
        EXPECT_LE(FailingHeap::liveAllocations() - live, failed ? 1 : 2) << k;
        if (!failed) {
            EXPECT_EQ(bytes->size(), 502U);
        }
    }
    EXPECT_GT(failures, 2);
}

// ---- What is held while the wallet is asked.

TEST_F(MacroExpansion, TheLockIsNotHeldWhileTheWalletIsAsked) {
    const ProcessLockWatch lock;
    std::vector<bool> heldAtFetch;
    fetch = [&](const std::string&, LockedUTF8Vector** value) -> WalletError* {
        heldAtFetch.push_back(lock.isHeld());
        *value = valueOf("v");
        return nullptr;
    };
    EXPECT_EQ(expanded("$ovwallet(a)$ovwallet(b)"), "vv");
    EXPECT_EQ(heldAtFetch, (std::vector<bool>{false, false}));
    EXPECT_FALSE(lock.isHeld());
}

TEST_F(MacroExpansion, OneValueIsFreedBeforeTheNextIsFetched) {
    std::vector<std::int64_t> live;
    fetch = [&](const std::string&, LockedUTF8Vector** value) -> WalletError* {
        live.push_back(sandbox_.counter("live.locked_vectors"));
        *value = valueOf("v");
        return nullptr;
    };
    EXPECT_EQ(expanded("$ovwallet(a)$ovwallet(b)$ovwallet"), "vvv");
    EXPECT_EQ(live, (std::vector<std::int64_t>{0, 0, 0}));
}

// ---- References that lead back to themselves.

// A wallet whose strings lead to one more reference each, so many times; then to "end".
int fetches = 0;
void fetchChainOf(int references) {
    fetches = 0;
    fetch = [references](const std::string&, LockedUTF8Vector** value) -> WalletError* {
        *value = valueOf(++fetches <= references ? "$ovwallet(next)" : "end");
        return nullptr;
    };
}

constexpr const char* kEndless =
    "failed: Orvanta Wallet references in credential information lead back to themselves.";

TEST_F(MacroExpansion, TenThousandNestedReplacementsAreMade) {
    fetchChainOf(10'000);
    EXPECT_EQ(expanded("$ovwallet(a)"), "end");
    EXPECT_EQ(fetches, 10'001);
}

TEST_F(MacroExpansion, TheNextNestedReplacementIsRefusedBeforeItIsFetched) {
    fetchChainOf(10'001);
    EXPECT_EQ(expanded("$ovwallet(a)"), kEndless);
    EXPECT_EQ(fetches, 10'001);
}

TEST_F(MacroExpansion, NestedReplacementsAreCountedOverAllReferencesTogether) {
    sandbox_.add("self", "$ovwallet(self)");
    EXPECT_EQ(expanded("$ovwallet(self)$ovwallet(self)$ovwallet(self)"), kEndless);
    EXPECT_EQ(sandbox_.takeAsked().size(), 10'003U);
}

TEST_F(MacroExpansion, WhatTheUserWroteIsNotCounted) {
    constexpr std::size_t kReferences = 10'500;
    sandbox_.add("a", "v");
    std::string text;
    for (std::size_t i = 0; i < kReferences; ++i) {
        text += "$ovwallet(a)";
    }
    EXPECT_EQ(expanded(text), std::string(kReferences, 'v'));
    EXPECT_EQ(sandbox_.takeAsked().size(), kReferences);
}

TEST_F(MacroExpansion, EachTextIsCountedForItself) {
    fetchChainOf(10'000);
    EXPECT_EQ(expanded("$ovwallet(a)"), "end");
    fetchChainOf(10'000);
    EXPECT_EQ(expanded("$ovwallet(a)"), "end");
}

TEST_F(MacroExpansion, ATextThatDoublesWithEachPassIsRefused) {
    sandbox_.add("double", "$ovwallet(double)$ovwallet(double)");
    EXPECT_EQ(expanded("$ovwallet(double)"), kEndless);
    EXPECT_EQ(sandbox_.takeAsked().size(), 10'001U);
}

}  // namespace
}  // namespace Orvanta_OvWallet
