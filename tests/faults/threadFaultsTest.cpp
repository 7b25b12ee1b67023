// Many Java threads in whole calls at once, with failures at random.

#include <cerrno>
#include <filesystem>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/ChildProcess.h"
#include "doubles/PrivateModuleDir.h"
#include "faults/FaultCounts.h"
#include "faults/Machine.h"
#include "faults/ProcessState.h"
#include "faults/ReferenceJob.h"
#include "faults/WholeCall.h"
#include "faults/expectedOutcome.h"

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 100;

// A failure of a call that is made in most calls. What throws does so in whichever thread comes
// next, which then cannot be told from a failure of its own, so the client library only returns.
Fault anyFault(std::mt19937& random) {
    static const std::vector<Fault> mostOfEach{
        {"allocation", 160},
        {"JNI", 44, static_cast<int>(StrictJni::Failure::withException)},
        {"wallet", 10, kReturnsError},
        {"wallet", 10, kHandsOutNull},
        {"readlink", 2, EIO},
        {"read", 2, EIO},
        {"dlopen", 1},
        {"dlsym", 41},
        {"dlclose", 1},
        {"mlock", 3, ENOMEM},
        {"munlock", 3, ENOMEM},
    };
    Fault fault = mostOfEach[random() % mostOfEach.size()];
    fault.k = random() % fault.k + 1;
    return fault;
}

// Whether the outcome is one of this fault, or of an error that another thread asked for.
bool isExpected(const CallReport& report, const Fault& fault) {
    static const std::set<std::string> ofOthers{"", cannotUse(kWalletErrorText),
                                                cannotGetValue(kWalletErrorText)};
    if (ofOthers.contains(report.outcome) || report.happened.empty()) {
        return ofOthers.contains(report.outcome);
    }
    if (fault.kind == "allocation") {
        const std::string noMemory = "An out of memory condition exists.";
        return outcomesAnywhere("std::bad_alloc").contains(report.outcome) ||
               report.outcome == cannotUse(noMemory) || report.outcome == cannotGetValue(noMemory);
    }
    if (fault.kind == "wallet") {
        return report.outcome == cannotGetValue("no value was returned") ||
               report.outcome == cannotGetValue("The wallet is null.");
    }
    return report.outcome ==
           (fault.kind == "JNI"
                ? outcomeOfJniCall(report.happened.front(), true)
                : outcomeOfSystemCall(kSecondCall, report.happened.front(), fault.how));
}

// One Java thread; returns how many failures it met.
std::uint64_t callAgainAndAgain(unsigned seed) {
    std::mt19937 random(seed);
    ReferenceJob job;
    std::uint64_t injected = 0;
    for (int round = 0; round < kRounds; ++round) {
        const Fault fault = anyFault(random);
        job.reset();
        const CallReport report = job.call({fault});
        EXPECT_TRUE(isExpected(report, fault)) << describe({fault}) << ": " << report.outcome;
        EXPECT_TRUE(report.everythingWritten || !report.outcome.empty());
        injected += report.happened.size();
    }
    return injected;
}

TEST(ThreadFaults, LeaveNothingBehindHoweverManyMeetThemAtOnce) {
    machine();
    const std::string injected = inChildProcess([] {
        ReferenceJob first;
        std::filesystem::remove(privateModuleDir() + "ovwalletdir");
        first.callUndisturbed();
        const std::string before = processState();
        std::vector<std::uint64_t> counts(kThreads);
        std::vector<std::thread> threads;
        for (unsigned number = 0; number < kThreads; ++number) {
            threads.emplace_back(
                [&counts, number] { counts[number] = callAgainAndAgain(number + 1); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(machine().wallet.held(), "");
        EXPECT_EQ(processState(), before);
        expectLockFree();
        // An error that was asked for and not returned yet.
        machine().wallet.failCall("OvWalletFactory_generateOvWalletV1", 0, "");
        machine().wallet.failCall("OvWallet_getStringValue", 0, "");
        first.callUndisturbed();
        expectNoLeaks();
        std::uint64_t total = 0;
        for (const std::uint64_t count : counts) {
            total += count;
        }
        return std::to_string(total);
    });
    ASSERT_NE(injected, "");
    countInjected("one of many threads", std::stoull(injected));
}

}  // namespace
