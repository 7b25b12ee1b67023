// Each call of an entry point of the client library in turn: an error object, a null object, a
// useless description, a standard exception and something else that is thrown.

#include <ostream>

#include <gtest/gtest.h>

#include "faults/FaultCounts.h"
#include "faults/WholeCall.h"
#include "faults/expectedOutcome.h"

namespace {

constexpr const char* kThrown = "the client library threw";

class WalletFaults : public ::testing::TestWithParam<Scenario> {
  protected:
    // Has each call that can do so misbehave in turn.
    static void misbehaveInTurn(int how, const auto& check) {
        std::uint64_t count = 0;
        for (;; ++count) {
            const std::vector<Fault> faults{{"wallet", count + 1, how}};
            SCOPED_TRACE(std::string(GetParam().name) + ", " + describe(faults));
            const CallReport report = callWithFaults(GetParam(), faults);
            if (report.happened.empty()) {
                break;
            }
            SCOPED_TRACE(report.happened.front());
            check(report);
        }
        countInjected("wallet", count);
    }
};

bool isOf(const CallReport& report, const char* entry) {
    return report.happened.front() == std::string("wallet(") + entry + ")";
}

TEST_P(WalletFaults, AnErrorObjectIsReportedAndFreed) {
    misbehaveInTurn(kReturnsError, [](const CallReport& report) {
        EXPECT_EQ(report.outcome, isOf(report, "OvWallet_getStringValue")
                                      ? cannotGetValue(kWalletErrorText)
                                      : cannotUse(kWalletErrorText));
        EXPECT_FALSE(report.everythingWritten);
    });
}

// The calls that report errors turn it into one; what the others throw is reported as it is.
TEST_P(WalletFaults, AnExceptionIsReportedWithItsMessage) {
    misbehaveInTurn(kThrowsException, [](const CallReport& report) {
        std::string expected = connectorFailure(kThrown);
        if (isOf(report, "OvWallet_getStringValue")) {
            expected = cannotGetValue(kThrown);
        } else if (isOf(report, "OvWalletFactory_generateOvWalletV1")) {
            expected = cannotUse(kThrown);
        }
        EXPECT_EQ(report.outcome, expected);
        EXPECT_EQ(report.everythingWritten, isOf(report, "OvWallet_freeV1"));
    });
}

TEST_P(WalletFaults, AnythingElseThatIsThrownPassesThroughAndEverythingIsFreed) {
    misbehaveInTurn(kThrowsOther, [](const CallReport& report) {
        EXPECT_EQ(report.outcome, kOtherPassed);
        EXPECT_EQ(report.everythingWritten, isOf(report, "OvWallet_freeV1"));
    });
}

TEST_P(WalletFaults, ANullObjectIsReportedWhereItIsUsed) {
    misbehaveInTurn(kHandsOutNull, [](const CallReport& report) {
        EXPECT_EQ(report.outcome, isOf(report, "OvWallet_getStringValue")
                                      ? cannotGetValue("no value was returned")
                                      : cannotGetValue("The wallet is null."));
        EXPECT_FALSE(report.everythingWritten);
    });
}

INSTANTIATE_TEST_SUITE_P(Of, WalletFaults, ::testing::Values(kCommandLink, kPackages, kSecondCall),
                         [](const auto& each) { return std::string(each.param.name); });

// ---- Errors whose description is of no use, or cannot be had.

struct DescriptionCase {
    int how;
    const char* name;
    std::string fetching;  // the outcome when a value is asked for
    std::string opening;   // and when the wallet is
};

class DescriptionFaults : public ::testing::TestWithParam<DescriptionCase> {};

void PrintTo(const DescriptionCase& each, std::ostream* stream) {
    *stream << each.name;
}

TEST_P(DescriptionFaults, LeaveAMessageAndFreeTheErrorObject) {
    const auto& [how, name, fetching, opening] = GetParam();
    std::uint64_t count = 0;
    for (std::uint64_t k = 1;; ++k) {
        const std::vector<Fault> faults{{"wallet", k, kReturnsError}, {"wallet", 1, how}};
        SCOPED_TRACE(describe(faults));
        const CallReport report = callWithFaults(kCommandLink, faults);
        if (report.happened.empty()) {
            break;
        }
        ASSERT_EQ(report.happened.size(), 2U);
        EXPECT_EQ(report.happened.back(), "wallet(OvWallet_getErrorDescription)");
        EXPECT_EQ(report.outcome, isOf(report, "OvWallet_getStringValue") ? fetching : opening);
        ++count;
    }
    countInjected("wallet", count);
}

INSTANTIATE_TEST_SUITE_P(
    Of, DescriptionFaults,
    ::testing::Values(
        DescriptionCase{kDescribesNothing, "ANullDescription", cannotGetValue("unknown error"),
                        cannotUse("unknown error")},
        DescriptionCase{kDescribesInvalidUtf8, "ADescriptionThatIsNoUtf8",
                        connectorFailure("Invalid UTF-8"), connectorFailure("Invalid UTF-8")},
        DescriptionCase{kThrowsException, "AnExceptionInItsPlace", connectorFailure(kThrown),
                        connectorFailure(kThrown)},
        DescriptionCase{kThrowsOther, "SomethingElseThrownInItsPlace", kOtherPassed, kOtherPassed}),
    [](const auto& each) { return std::string(each.param.name); });

}  // namespace
