// Each allocation of a whole call in turn, those of the client library included.

#include <gtest/gtest.h>

#include "faults/FaultCounts.h"
#include "faults/WholeCall.h"
#include "faults/expectedOutcome.h"

namespace {

class AllocationFaults : public ::testing::TestWithParam<Scenario> {};

TEST_P(AllocationFaults, AreReportedAndLeaveNothingBehind) {
    const std::string usual = callWithFaults(GetParam(), {}).outcome;
    std::set<std::string> expected = outcomesAnywhere("std::bad_alloc");
    expected.erase("");
    if (!succeeds(GetParam())) {
        expected.insert(cannotUse("An out of memory condition exists."));
    }
    std::uint64_t count = 0;
    for (;; ++count) {
        const std::vector<Fault> faults{{"allocation", count + 1}};
        SCOPED_TRACE(describe(faults));
        const CallReport report = callWithFaults(GetParam(), faults);
        if (report.happened.empty()) {
            EXPECT_EQ(report.outcome, usual);
            break;
        }
        EXPECT_TRUE(expected.contains(report.outcome)) << report.outcome;
        EXPECT_FALSE(report.everythingWritten);
    }
    countInjected("allocation", count);
}

INSTANTIATE_TEST_SUITE_P(Of, AllocationFaults,
                         ::testing::Values(kCommandLink, kPackages, kSecondCall, kLocksRefused,
                                           kForAnotherUser, kLibraryRefused, kDirectoryLost),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace
