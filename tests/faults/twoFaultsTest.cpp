// A failure on the way out of a failure: the first one is reported, and nothing ends the process.

#include <cerrno>
#include <ostream>
#include <set>

#include <gtest/gtest.h>

#include "faults/FaultCounts.h"
#include "faults/WholeCall.h"
#include "faults/expectedOutcome.h"

namespace {

struct FirstFault {
    Scenario scenario;
    Fault fault;
    // Nothing but clean-up follows the fault: what is to be reported is known, down to its text.
    bool isKnown = false;
};

void PrintTo(const FirstFault& first, std::ostream* stream) {
    *stream << first.scenario.name << ", " << describe({first.fault});
}

class TwoFaults : public ::testing::TestWithParam<FirstFault> {
  protected:
    // Adds each second failure of a kind in turn to the first, from its k on, checks each outcome,
    // and returns how many there were.
    static std::uint64_t addEachSecond(Fault second, const auto& check) {
        const std::uint64_t from = second.k;
        for (;; ++second.k) {
            const std::vector<Fault> faults{GetParam().fault, second};
            SCOPED_TRACE(std::string(GetParam().scenario.name) + ", " + describe(faults));
            const CallReport report = callWithFaults(GetParam().scenario, faults);
            if (report.happened.size() < 2) {
                return second.k - from;
            }
            SCOPED_TRACE(report.happened.back());
            check(report);
        }
    }

    static std::string outcomeOfTheFirst() {
        const CallReport report = callWithFaults(GetParam().scenario, {GetParam().fault});
        EXPECT_EQ(report.happened.size(), 1U);
        EXPECT_NE(report.outcome, "");
        return report.outcome;
    }

    // A failure while the report of the first is made may take its place. Nothing else does.
    static std::set<std::string> outcomes(const std::string& second) {
        const std::string first = outcomeOfTheFirst();
        if (GetParam().isKnown) {
            return {first};
        }
        constexpr const char* kNoMemoryForAnError = "An out of memory condition exists.";
        return {first,
                connectorFailure(second),
                cannotUse(second),
                cannotGetValue(second),
                cannotUse(kNoMemoryForAnError),
                cannotGetValue(kNoMemoryForAnError)};
    }
};

// Nothing but clean-up makes these calls after a failure.
TEST_P(TwoFaults, TheFirstIsReportedWhenACallOfTheCleanUpFails) {
    const std::string first = outcomeOfTheFirst();
    std::uint64_t count = 0;
    for (const Fault& second :
         {Fault{"dlclose", 1}, Fault{"munlock", 1, ENOMEM}, Fault{"closedir", 1, EIO},
          Fault{"wallet", 1, kFreeThrowsException}, Fault{"wallet", 1, kFreeThrowsOther}}) {
        count += addEachSecond(second,
                               [&](const CallReport& report) { EXPECT_EQ(report.outcome, first); });
    }
    countInjected("two failures, the second of clean-up", count);
}

TEST_P(TwoFaults, TheFirstIsReportedWhenMemoryRunsOutOnTheWayOut) {
    const std::set<std::string> expected = outcomes("std::bad_alloc");
    const std::uint64_t count = addEachSecond({"allocation", 1}, [&](const CallReport& report) {
        EXPECT_TRUE(expected.contains(report.outcome)) << report.outcome;
    });
    countInjectedIfAny("two failures, the second of allocation", count);
}

INSTANTIATE_TEST_SUITE_P(BeforeTheWalletIsOpen, TwoFaults,
                         ::testing::Values(FirstFault{kPackages, {"readdir", 3, EIO}},
                                           FirstFault{kSecondCall, {"wallet", 1, kReturnsError}},
                                           FirstFault{kSecondCall, {"wallet", 1, kThrowsException}},
                                           FirstFault{kCommandLink, {"allocation", 90}}));

INSTANTIATE_TEST_SUITE_P(OnceTheWalletIsOpen, TwoFaults,
                         ::testing::Values(FirstFault{kCommandLink, {"sysconf", 1, EINVAL}},
                                           FirstFault{kSecondCall, {"wallet", 2, kReturnsError}},
                                           FirstFault{kSecondCall, {"wallet", 7, kReturnsError}},
                                           FirstFault{kSecondCall, {"wallet", 2, kThrowsException}},
                                           FirstFault{kSecondCall, {"wallet", 3, kThrowsException}},
                                           FirstFault{kSecondCall, {"wallet", 4, kThrowsException}},
                                           FirstFault{kSecondCall, {"allocation", 80}},
                                           FirstFault{kSecondCall, {"allocation", 90}},
                                           FirstFault{kSecondCall, {"allocation", 100}}));

INSTANTIATE_TEST_SUITE_P(
    OnceTheReportIsKnown, TwoFaults,
    ::testing::Values(
        FirstFault{kSecondCall, {"wallet", 3, kThrowsOther}, true},
        FirstFault{kSecondCall, {"wallet", 17, kThrowsException}, true},
        FirstFault{kSecondCall, {"JNI", 12}, true}, FirstFault{kSecondCall, {"JNI", 15}, true},
        FirstFault{kSecondCall, {"JNI", 18}, true}, FirstFault{kSecondCall, {"JNI", 19}, true},
        FirstFault{kSecondCall, {"JNI", 22}, true}, FirstFault{kLocksRefused, {"JNI", 44}, true}));

// ---- What the library says and does on purpose when closing fails as well.

TEST(TwoFaultsOfTheLoader, ALibraryThatCannotBeClosedIsWorseNewsThanAnEntryPointThatItLacks) {
    for (const std::uint64_t k : {1U, 41U}) {
        const CallReport report = callWithFaults(kCommandLink, {{"dlsym", k}, {"dlclose", 1}});
        EXPECT_EQ(report.happened.size(), 2U);
        const std::string unloading =
            outcomeOfSystemCall(kCommandLink, "dlclose()", 0).substr(connectorFailure("").size());
        EXPECT_EQ(report.outcome, cannotUse(unloading));
    }
}

}  // namespace
