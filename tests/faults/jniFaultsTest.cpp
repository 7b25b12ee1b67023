// Each JNI call of a whole call in turn: with the Java exception of its failure, and null alone
// where that can be told from success.

#include <gtest/gtest.h>

#include "faults/FaultCounts.h"
#include "faults/WholeCall.h"
#include "faults/expectedOutcome.h"

namespace {

class JniFaults : public ::testing::TestWithParam<Scenario> {};

TEST_P(JniFaults, LeaveTheExceptionOfJavaPending) {
    std::uint64_t count = 0;
    for (;; ++count) {
        const std::vector<Fault> faults{
            {"JNI", count + 1, static_cast<int>(StrictJni::Failure::withException)}};
        SCOPED_TRACE(describe(faults));
        const CallReport report = callWithFaults(GetParam(), faults);
        if (report.happened.empty()) {
            EXPECT_EQ(report.outcome, "");
            break;
        }
        EXPECT_EQ(report.outcome, outcomeOfJniCall(report.happened.front(), true));
        EXPECT_FALSE(report.everythingWritten);
    }
    countInjected("JNI", count);
}

// Whether null without an exception is a failure of this call, and not one of its answers.
bool failsSilently(const std::string& call) {
    return call.starts_with("GetStringUTFChars") || call.starts_with("NewByteArray");
}

TEST_P(JniFaults, AreReportedWhenJavaSaysNothing) {
    std::uint64_t count = 0;
    for (std::uint64_t k = 1;; ++k) {
        const CallReport thrown = callWithFaults(GetParam(), {{"JNI", k}});
        if (thrown.happened.empty()) {
            break;
        }
        if (!failsSilently(thrown.happened.front())) {
            continue;
        }
        const std::vector<Fault> faults{{"JNI", k, static_cast<int>(StrictJni::Failure::silent)}};
        SCOPED_TRACE(describe(faults));
        const CallReport report = callWithFaults(GetParam(), faults);
        EXPECT_EQ(report.happened, thrown.happened);
        EXPECT_EQ(report.outcome, outcomeOfJniCall(report.happened.front(), false));
        EXPECT_FALSE(report.everythingWritten);
        ++count;
    }
    countInjected("JNI", count);
}

INSTANTIATE_TEST_SUITE_P(Of, JniFaults, ::testing::Values(kCommandLink, kPackages, kSecondCall),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace
