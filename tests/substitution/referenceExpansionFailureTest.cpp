// Expansions that fail, what is held while the wallet is asked, and the limit on nested references.

#include <memory>

#include <gtest/gtest.h>

#include "doubles/FailingHeap.h"
#include "doubles/ProcessLockDouble.h"
#include "substitution/ReferenceExpansionFixture.h"

namespace Orvanta_OvWallet {
namespace {

using PrivateStuff::walletFunctions;

TEST_F(ReferenceExpansion, NoValueAtAllIsAFailure) {
    fetch = [](const std::string&, LockedUTF8Vector** value) -> WalletError* {
        *value = nullptr;
        return nullptr;
    };
    EXPECT_EQ(expanded("$ovwallet(a)"),
              "failed: Attempt to get value from Orvanta Wallet failed because: no value was "
              "returned");
}

TEST_F(ReferenceExpansion, AValueThatHasASizeButNoBytesIsAFailure) {
    fetch = [](const std::string&, LockedUTF8Vector** value) -> WalletError* {
        *value = valueOf("v");
        walletFunctions().OvWallet_getPtrLockedUTF8Vector = [](LockedUTF8Vector*) -> std::uint8_t* {
            return nullptr;
        };
        return nullptr;
    };
    EXPECT_EQ(expanded("$ovwallet(a)"),
              "failed: Attempt to get value from Orvanta Wallet failed because: no value was "
              "returned");
}

TEST_F(ReferenceExpansion, AnEmptyValueNeedsNoBytes) {
    fetch = [](const std::string&, LockedUTF8Vector** value) -> WalletError* {
        *value = valueOf("");
        walletFunctions().OvWallet_getPtrLockedUTF8Vector = [](LockedUTF8Vector*) -> std::uint8_t* {
            return nullptr;
        };
        return nullptr;
    };
    EXPECT_EQ(expanded("a$ovwallet(a)b"), "ab");
}

TEST_F(ReferenceExpansion, AMissingEntryIsReportedInTheWalletsWords) {
    EXPECT_EQ(expanded("$ovwallet(none)"),
              "failed: Attempt to get value from Orvanta Wallet failed because: There is no string "
              "named \"none\" in the wallet.");
    EXPECT_EQ(sandbox_.counter("calls.OvWallet_freeError"), 1);
}

TEST_F(ReferenceExpansion, TheWalletsWordsAreNotReadAsATemplate) {
    sandbox_.failCall("OvWallet_getStringValue", 1, "100%s %d %");
    EXPECT_EQ(expanded("$ovwallet(a)"),
              "failed: Attempt to get value from Orvanta Wallet failed because: 100%s %d %");
}

TEST_F(ReferenceExpansion, AWalletWithoutWordsIsReportedToo) {
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

TEST_F(ReferenceExpansion, TheFirstFailureEndsTheExpansion) {
    sandbox_.add("a", "A");
    EXPECT_EQ(expanded("$ovwallet(a)$ovwallet(none)$ovwallet(a)"),
              "failed: Attempt to get value from Orvanta Wallet failed because: There is no string "
              "named \"none\" in the wallet.");
    EXPECT_EQ(sandbox_.takeAsked(), (Names{"a", "none"}));
}

TEST_F(ReferenceExpansion, AClientLibraryThatThrowsIsReportedInItsWords) {
    sandbox_.throwFromCalls("OvWallet_getStringValue", 1);
    EXPECT_EQ(expanded("$ovwallet(a)"),
              "failed: Attempt to get value from Orvanta Wallet failed because: the client library "
              "threw");
}

// What the client library did not free is its own, and so is the reference for it.
TEST_F(ReferenceExpansion, AValueThatCannotBeFreedIsReported) {
    sandbox_.add("a", "A");
    sandbox_.throwFromCalls("OvWallet_freeLockedUTF8Vector", 1);
    EXPECT_EQ(expanded("$ovwallet(a)$ovwallet(a)"), "failed: the client library threw");
    EXPECT_EQ(sandbox_.takeAsked(), Names{"a"});
    heldAtEnd_ = "live.locked_vectors 1\nuses of the library\n";
}

TEST_F(ReferenceExpansion, WithoutMemoryItFailsAndHoldsNothing) {
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
                expandReferences(*bytes, wallet.get(), {});
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

TEST_F(ReferenceExpansion, TheLockIsNotHeldWhileTheWalletIsAsked) {
    const ProcessLockDouble lock;
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

TEST_F(ReferenceExpansion, OneValueIsFreedBeforeTheNextIsFetched) {
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

TEST_F(ReferenceExpansion, TenThousandNestedReplacementsAreMade) {
    fetchChainOf(10'000);
    EXPECT_EQ(expanded("$ovwallet(a)"), "end");
    EXPECT_EQ(fetches, 10'001);
}

TEST_F(ReferenceExpansion, TheNextNestedReplacementIsRefusedBeforeItIsFetched) {
    fetchChainOf(10'001);
    EXPECT_EQ(expanded("$ovwallet(a)"), kEndless);
    EXPECT_EQ(fetches, 10'001);
}

TEST_F(ReferenceExpansion, NestedReplacementsAreCountedOverAllReferencesTogether) {
    sandbox_.add("self", "$ovwallet(self)");
    EXPECT_EQ(expanded("$ovwallet(self)$ovwallet(self)$ovwallet(self)"), kEndless);
    EXPECT_EQ(sandbox_.takeAsked().size(), 10'003U);
}

TEST_F(ReferenceExpansion, WhatTheUserWroteIsNotCounted) {
    constexpr std::size_t kReferences = 10'500;
    sandbox_.add("a", "v");
    std::string text;
    for (std::size_t i = 0; i < kReferences; ++i) {
        text += "$ovwallet(a)";
    }
    EXPECT_EQ(expanded(text), std::string(kReferences, 'v'));
    EXPECT_EQ(sandbox_.takeAsked().size(), kReferences);
}

TEST_F(ReferenceExpansion, EachTextIsCountedForItself) {
    fetchChainOf(10'000);
    EXPECT_EQ(expanded("$ovwallet(a)"), "end");
    fetchChainOf(10'000);
    EXPECT_EQ(expanded("$ovwallet(a)"), "end");
}

TEST_F(ReferenceExpansion, ATextThatDoublesWithEachPassIsRefused) {
    sandbox_.add("double", "$ovwallet(double)$ovwallet(double)");
    EXPECT_EQ(expanded("$ovwallet(double)"), kEndless);
    EXPECT_EQ(sandbox_.takeAsked().size(), 10'001U);
}

// The texts that nested replacements go through may have 4 GiB together, however few they are. Here
// 4096 texts have exactly that with the names in them: the first has 1069050 bytes, each other 10
// bytes less, and each name has one.
void fetchLongTextWith(std::size_t references) {
    std::string nested(1069050 - references * 12, 'x');
    for (std::size_t i = 0; i < references; ++i) {
        nested += "$ovwallet(a)";
    }
    fetches = 0;
    fetch = [nested](const std::string&, LockedUTF8Vector** value) -> WalletError* {
        *value = valueOf(++fetches == 1 ? nested : "vv");
        return nullptr;
    };
}

TEST_F(ReferenceExpansion, NestedReplacementsInLongTextsAreMade) {
    fetchLongTextWith(4096);
    EXPECT_EQ(expanded("$ovwallet(a)").size(), 1069050U - 4096 * 10);
    EXPECT_EQ(fetches, 1 + 4096);
}

TEST_F(ReferenceExpansion, NestedReplacementsInLongTextsAreRefusedEarlier) {
    fetchLongTextWith(4097);
    EXPECT_EQ(expanded("$ovwallet(a)"), kEndless);
    EXPECT_EQ(fetches, 1 + 4096);
}

// So may their names: with many database ids in it a name is far longer than its text. It is
// refused before there is memory for it.
TEST_F(ReferenceExpansion, NamesOfNestedReplacementsCountToo) {
    databaseId_.assign(std::size_t{1} << 20, 'd');
    std::string nested = "$ovwallet(";
    for (int i = 0; i < 4096; ++i) {
        nested += "$(ovpid)";
    }
    nested += ')';
    fetches = 0;
    fetch = [nested](const std::string&, LockedUTF8Vector** value) -> WalletError* {
        ++fetches;
        *value = valueOf(nested);
        return nullptr;
    };
    EXPECT_EQ(expanded("$ovwallet(a)"), kEndless);
    EXPECT_EQ(fetches, 1);
}

}  // namespace
}  // namespace Orvanta_OvWallet
