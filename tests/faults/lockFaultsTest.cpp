// Each attempt of a whole call to lock one of the two mutexes of ProcessLock in turn.

#include <cerrno>

#include <gtest/gtest.h>

#include "faults/FaultCounts.h"
#include "faults/WholeCall.h"
#include "faults/expectedOutcome.h"
#include "support/formatMessage.h"

namespace {

struct LockCase {
    Scenario scenario;
    int error;
};

void PrintTo(const LockCase& each, std::ostream* stream) {
    *stream << each.scenario.name << " " << each.error;
}

class LockFaults : public ::testing::TestWithParam<LockCase> {};

// Only what gives something back does without a report. An own failure of what succeeded already,
// as giving the lock up, may come when all is written.
TEST_P(LockFaults, AreReportedAndLeaveTheLockFree) {
    const auto& [scenario, error] = GetParam();
    std::set<std::string> expected =
        outcomesAnywhere("Cannot lock mutex (errno = " + Orvanta_OvWallet::errnoText(error) + ").");
    const std::string usual = callWithFaults(scenario, {}).outcome;
    if (!succeeds(scenario)) {
        // What stands for an error that cannot be registered.
        expected.insert(cannotUse("An out of memory condition exists."));
    }
    std::uint64_t count = 0;
    for (;; ++count) {
        const std::vector<Fault> faults{{"pthread_mutex_lock", count + 1, error}};
        SCOPED_TRACE(describe(faults));
        const CallReport report = callWithFaults(scenario, faults);
        if (report.happened.empty()) {
            EXPECT_EQ(report.outcome, usual);
            break;
        }
        EXPECT_TRUE(expected.contains(report.outcome) || report.outcome == usual) << report.outcome;
        EXPECT_TRUE(report.everythingWritten || !report.outcome.empty());
    }
    countInjected("pthread_mutex_lock", count);
}

std::string nameOfCase(const ::testing::TestParamInfo<LockCase>& info) {
    return std::string(info.param.scenario.name) + "_" + std::to_string(info.param.error);
}

INSTANTIATE_TEST_SUITE_P(
    Of, LockFaults,
    ::testing::Values(LockCase{kCommandLink, EINVAL}, LockCase{kCommandLink, EAGAIN},
                      LockCase{kCommandLink, EDEADLK}, LockCase{kCommandLink, ENOTRECOVERABLE},
                      LockCase{kPackages, EINVAL}, LockCase{kSecondCall, EINVAL},
                      LockCase{kLocksRefused, EINVAL}, LockCase{kForAnotherUser, EINVAL},
                      LockCase{kLibraryRefused, EINVAL}, LockCase{kDirectoryLost, EINVAL}),
    nameOfCase);

// Nothing but the first use of the lock needs memory, and that use leaves the mutexes free.
TEST(LockFault, TheFirstUseOfTheLockMayFindNoMemory) {
    const CallReport report = callWithFaults(kCommandLink, {{"allocation", 1}});
    EXPECT_EQ(report.outcome, connectorFailure("std::bad_alloc"));
}

}  // namespace
