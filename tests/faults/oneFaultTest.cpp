// Each call that a whole call makes fails in turn: it is reported or overcome, and nothing is left.

#include <cerrno>
#include <map>
#include <ostream>

#include <gtest/gtest.h>

#include "faults/WholeCall.h"
#include "faults/expectedOutcome.h"
#include "support/formatMessage.h"

namespace {

// Of calls with the same name, the locking of memory for instance, that many are made to fail.
constexpr std::uint64_t kMostOfOneName = 4;

struct Group {
    Scenario scenario;
    const char* name;
    std::vector<std::string> functions;  // their calls are made to fail
};

void PrintTo(const Group& group, std::ostream* stream) {
    *stream << group.scenario.name << " " << group.name;
}

class OneFault : public ::testing::TestWithParam<Group> {
  protected:
    static bool isOfTheGroup(const std::string& call) {
        for (const std::string& function : GetParam().functions) {
            if (call.starts_with(function)) {
                return true;
            }
        }
        return false;
    }
};

// dlclose and freeing the wallet come last, when all is written.
bool isTheEnd(const std::string& call) {
    return call.starts_with("dlclose") || call.starts_with("OvWallet_freeV1");
}

void checkReport(const Scenario& scenario, const CallReport& report, int how) {
    ASSERT_EQ(report.failed.size(), 1U) << "what was to fail was not called";
    const std::string& call = report.failed.front();
    EXPECT_EQ(report.outcome, outcomeOf(scenario, call, how));
    EXPECT_EQ(report.everythingWritten, report.outcome.empty() || isTheEnd(call));
    EXPECT_EQ(report.log, call.starts_with("closedir")
                              ? "An attempt to close a directory stream failed (errno = " +
                                    Orvanta_OvWallet::errnoText(how) + ")."
                              : "");
}

TEST_P(OneFault, IsReportedOrOvercomeAndLeavesNothing) {
    const Scenario& scenario = GetParam().scenario;
    const CallReport usual = callWithFaults(scenario, {});
    std::map<std::string, std::uint64_t> seen;
    std::map<std::string, int> injected;
    for (const std::string& call : usual.calls) {
        if (!isOfTheGroup(call) || ++seen[call] > kMostOfOneName) {
            continue;
        }
        for (const int how : waysToFail(call)) {
            const std::vector<Fault> faults{{call, seen[call], how}};
            SCOPED_TRACE(describe(faults));
            const CallReport report = callWithFaults(scenario, faults);
            // How often memory is locked depends on where the heap has it.
            if (seen[call] > 1 && report.failed.empty()) {
                continue;
            }
            checkReport(scenario, report, how);
            ++injected[call.substr(0, call.find('('))];
        }
    }
    for (const std::string& function : GetParam().functions) {
        const auto first = injected.lower_bound(function);
        EXPECT_TRUE(first != injected.end() && first->first.starts_with(function))
            << function << " was never called";
    }
}

const std::vector<std::string> kJni{"FindClass", "Get", "Call", "New", "SetByteArrayRegion"};
const std::vector<std::string> kWallet{
    "OvWalletFactory_generateOvWalletV1", "OvWallet_getStringValue",
    "OvWallet_getSizeLockedUTF8Vector",   "OvWallet_getPtrLockedUTF8Vector",
    "OvWallet_freeLockedUTF8Vector",      "OvWallet_freeV1"};

INSTANTIATE_TEST_SUITE_P(
    Of, OneFault,
    ::testing::Values(Group{kCommandLink,
                            "SystemCalls",
                            {"readlink", "realpath", "symlink", "open", "read", "dlopen", "dlsym",
                             "dlclose", "mlock", "munlock", "sysconf"}},
                      Group{kCommandLink, "Jni", kJni}, Group{kCommandLink, "Wallet", kWallet},
                      Group{kPackages,
                            "SystemCalls",
                            {"readlink", "realpath", "symlink", "opendir", "readdir", "closedir",
                             "stat", "fopen"}},
                      Group{kSecondCall,
                            "SystemCalls",
                            {"readlink", "realpath", "open", "read", "dlopen", "dlclose", "mlock",
                             "munlock"}},
                      Group{kSecondCall, "Jni", kJni}, Group{kSecondCall, "Wallet", kWallet},
                      Group{kLocksRefused,
                            "SystemCalls",
                            {"mlock", "munlock", "getrlimit", "setrlimit", "setreuid"}},
                      Group{kForAnotherUser, "SystemCalls", {"readlink", "realpath", "lstat"}},
                      Group{kLibraryRefused, "SystemCalls", {"access"}},
                      Group{kDirectoryLost, "SystemCalls", {"getcwd"}}),
    [](const auto& test) { return std::string(test.param.scenario.name) + test.param.name; });

// A working directory whose pathname does not fit is asked for again with more room.
TEST(OneFaultThatIsNone, AWorkingDirectoryThatDoesNotFitIsAskedForAgain) {
    const CallReport report = callWithFaults(kDirectoryLost, {{"getcwd", 1, ERANGE}});
    EXPECT_EQ(report.failed, std::vector<std::string>{"getcwd()"});
    EXPECT_EQ(report.outcome, callWithFaults(kDirectoryLost, {}).outcome);
}

// ---- Allocations have no names, so they fail one after the other, until there are no more.

class EachAllocation : public ::testing::TestWithParam<Scenario> {};

TEST_P(EachAllocation, ThatFailsIsReportedAndLeavesNothing) {
    const std::set<std::string> expected = outcomesAnywhere("std::bad_alloc");
    std::uint64_t nth = 1;
    for (;; ++nth) {
        const std::vector<Fault> faults{{kAllocation, nth}};
        SCOPED_TRACE(describe(faults));
        const CallReport report = callWithFaults(GetParam(), faults);
        if (report.failed.empty()) {
            break;
        }
        EXPECT_TRUE(expected.contains(report.outcome)) << report.outcome;
        EXPECT_FALSE(report.everythingWritten);
    }
    EXPECT_GT(nth, 40U);
}

INSTANTIATE_TEST_SUITE_P(Of, EachAllocation,
                         ::testing::Values(kPackages, kForAnotherUser, kLibraryRefused),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
