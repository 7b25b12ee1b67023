#include "sandbox/ledger/Ledger.h"

#include <filesystem>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "sandbox/ledger/LedgerFile.h"
#include "sandbox/store/Failure.h"
#include "sandbox/tests/TemporaryDirectory.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

constexpr const char* kZeroes =
    "live.wallets 0\nlive.locked_vectors 0\nlive.vectors 0\nlive.name_lists 0\nlive.errors 0\n"
    "loads 0\nunloads 0\nbad_frees 0\nbad_uses 0\nleaks 0\n";

class LedgerTest : public testing::Test {
  protected:
    LedgerTest() { resetLedger(*ledger_); }

    const std::unique_ptr<Ledger> ledger_ = std::make_unique<Ledger>();
    Fault& fault_ = ledger_->fault(EntryPoint::OvWallet_getStringValue);
    const TemporaryDirectory directory_;
};

TEST_F(LedgerTest, TextHasEveryCounterAndTheEntryPointsThatWereCalled) {
    EXPECT_EQ(ledgerText(*ledger_), kZeroes);
    ledger_->counter(Counter::loads) = 1;
    ledger_->counter(Counter::liveErrors) = -2;
    ledger_->calls[indexOf(EntryPoint::OvWallet_addPlaintextStringFromTerminal)] = 7;
    ledger_->calls[indexOf(EntryPoint::OvWallet_getErrorDescription)] = 3;
    EXPECT_EQ(ledgerText(*ledger_),
              "live.wallets 0\nlive.locked_vectors 0\nlive.vectors 0\nlive.name_lists 0\n"
              "live.errors -2\nloads 1\nunloads 0\nbad_frees 0\nbad_uses 0\nleaks 0\n"
              "calls.OvWallet_getErrorDescription 3\n"
              "calls.OvWallet_addPlaintextStringFromTerminal 7\n");
}

TEST_F(LedgerTest, CountersAreReadByTheNamesOfTheText) {
    for (std::size_t index = 0; index < kCounterNames.size(); ++index) {
        ledger_->counters[index] = static_cast<std::int64_t>(index) + 10;
        EXPECT_EQ(counterValue(*ledger_, kCounterNames[index]), ledger_->counters[index]);
    }
    ledger_->calls[indexOf(EntryPoint::OvWallet_freeV1)] = 5;
    EXPECT_EQ(counterValue(*ledger_, "calls.OvWallet_freeV1"), 5);
    EXPECT_EQ(counterValue(*ledger_, "calls.OvWallet_freeV2"), std::nullopt);
    EXPECT_EQ(counterValue(*ledger_, "live"), std::nullopt);
    EXPECT_EQ(counterValue(*ledger_, ""), std::nullopt);
}

TEST_F(LedgerTest, OnlyTheRequestedCallFails) {
    ASSERT_TRUE(requestFailure(fault_, 3, "third"));
    EXPECT_EQ(takeFailure(fault_), std::nullopt);
    EXPECT_EQ(takeFailure(fault_), std::nullopt);
    EXPECT_EQ(takeFailure(fault_), "third");
    EXPECT_EQ(takeFailure(fault_), std::nullopt);
}

TEST_F(LedgerTest, RequestedFailureCanBeTakenBack) {
    ASSERT_TRUE(requestFailure(fault_, 1, "first"));
    ASSERT_TRUE(requestFailure(fault_, 0, ""));
    EXPECT_EQ(takeFailure(fault_), std::nullopt);
}

TEST_F(LedgerTest, LongestTextFitsAndALongerOneIsRefused) {
    const std::string longest(kLongestFailText, 'x');
    ASSERT_TRUE(requestFailure(fault_, 2, longest));
    EXPECT_FALSE(requestFailure(fault_, 1, longest + 'x'));
    EXPECT_EQ(takeFailure(fault_), std::nullopt);
    EXPECT_EQ(takeFailure(fault_), longest);
}

TEST_F(LedgerTest, ResetClearsCountersAndFaultsAndChangesTheGeneration) {
    const std::uint64_t generation = ledger_->generation;
    ledger_->counter(Counter::leaks) = 1;
    ledger_->calls[4] = 1;
    fault_.delayMicroseconds = 1;
    fault_.throwKind = 1;
    ASSERT_TRUE(requestFailure(fault_, 1, "x"));
    resetLedger(*ledger_);
    EXPECT_EQ(ledgerText(*ledger_), kZeroes);
    EXPECT_EQ(fault_.delayMicroseconds, 0U);
    EXPECT_EQ(fault_.throwKind, 0U);
    EXPECT_EQ(takeFailure(fault_), std::nullopt);
    EXPECT_NE(ledger_->generation, generation);
}

TEST_F(LedgerTest, FileIsSharedByAllWhoMapIt) {
    EXPECT_FALSE(MappedLedger::open(directory_.pathname()));
    startLedgerFile(directory_.pathname());
    EXPECT_EQ(modeOf(directory_ / "ledger"), 0600U);
    const auto one = MappedLedger::open(directory_.pathname());
    const auto other = MappedLedger::open(directory_.pathname());
    ASSERT_TRUE(one && other);
    EXPECT_NE(&one->ledger(), &other->ledger());
    ++one->ledger().counter(Counter::loads);
    EXPECT_EQ(counterValue(other->ledger(), "loads"), 1);
}

TEST_F(LedgerTest, StartingAgainResetsTheFileThatOthersHaveMapped) {
    startLedgerFile(directory_.pathname());
    const auto mapped = MappedLedger::open(directory_.pathname());
    ASSERT_TRUE(mapped);
    ++mapped->ledger().counter(Counter::loads);
    startLedgerFile(directory_.pathname());
    EXPECT_TRUE(mapped->isFileOf(directory_.pathname()));
    EXPECT_EQ(ledgerText(mapped->ledger()), kZeroes);
}

TEST_F(LedgerTest, RemovedFileStaysMappedButIsNotTheDirectorysAnyMore) {
    startLedgerFile(directory_.pathname());
    const auto mapped = MappedLedger::open(directory_.pathname());
    ASSERT_TRUE(mapped);
    EXPECT_TRUE(stopLedgerFile(directory_.pathname()));
    EXPECT_FALSE(stopLedgerFile(directory_.pathname()));
    EXPECT_FALSE(mapped->isFileOf(directory_.pathname()));
    EXPECT_EQ(ledgerText(mapped->ledger()), kZeroes);
    startLedgerFile(directory_.pathname());
    EXPECT_FALSE(mapped->isFileOf(directory_.pathname()));
}

TEST_F(LedgerTest, FileThatIsNoLedgerIsRefused) {
    const std::string message =
        "The file \"" + (directory_ / "ledger") +
        "\" is not a ledger of this version: remove it and start a new one.";
    for (const std::size_t size : {std::size_t{0}, std::size_t{5}, sizeof(Ledger)}) {
        writeText(directory_ / "ledger", std::string(size, 'x'));
        try {
            startLedgerFile(directory_.pathname());
            ADD_FAILURE() << "a file of " << size << " bytes was taken";
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.what(), message);
        }
    }
}

}  // namespace

}  // namespace Orvanta_OvWallet::Sandbox
