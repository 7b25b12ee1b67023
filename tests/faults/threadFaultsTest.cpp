// Many Java threads in whole calls at once, with failures at random.

#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "doubles/ChildProcess.h"
#include "faults/WholeCall.h"
#include "faults/expectedOutcome.h"

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 100;
constexpr std::uint64_t kAllocations = 150;  // about as many as a call makes

// Not of what gives an object back, which would then stay, nor a number that the factory throws,
// whose use of the library would.
Fault anyFault(std::mt19937& random, const std::vector<std::string>& calls) {
    if (random() % 4 == 0) {
        return {kAllocation, random() % kAllocations + 1};
    }
    for (;;) {
        const std::string& call = calls[random() % calls.size()];
        const std::vector<int> ways = waysToFail(call);
        const int how = ways[random() % ways.size()];
        const bool stays = call.starts_with("OvWallet_free") ||
                           (call.starts_with("OvWalletFactory") && how == kThrowsNumber);
        if (!stays) {
            return {call, 1, how};
        }
    }
}

// Which thread's call returns an error that was asked for cannot be told.
bool isExpected(const CallReport& report, const Fault& fault) {
    static const std::set<std::string> ofOthers{"", cannotUse(kWalletText),
                                                cannotGetValue(kWalletText)};
    if (ofOthers.contains(report.outcome) || report.failed.empty()) {
        return ofOthers.contains(report.outcome);
    }
    if (fault.call == kAllocation) {
        return outcomesAnywhere("std::bad_alloc").contains(report.outcome);
    }
    return report.outcome == outcomeOf(kSecondCall, report.failed.front(), fault.how);
}

// One Java thread; returns how many failures it met.
std::size_t callAgainAndAgain(unsigned seed, const std::vector<std::string>& calls) {
    std::mt19937 random(seed);
    ReferenceJob job;
    std::size_t injected = 0;
    for (int round = 0; round < kRounds; ++round) {
        const Fault fault = anyFault(random, calls);
        job.reset();
        const CallReport report = job.call({fault});
        EXPECT_TRUE(isExpected(report, fault)) << describe({fault}) << ": " << report.outcome;
        EXPECT_TRUE(report.everythingWritten || !report.outcome.empty());
        injected += report.failed.size();
    }
    return injected;
}

TEST(ThreadFaults, LeaveNothingBehindHoweverManyMeetThemAtOnce) {
    machine();
    const std::string injected = inChildProcess([] {
        machine().enter(kCommandLink);
        ReferenceJob first;
        first.callUndisturbed();
        first.reset();
        const std::vector<std::string> calls = first.call({}).calls;
        const std::string before = machine().processState();
        std::vector<std::size_t> counts(kThreads);
        std::vector<std::thread> threads;
        for (unsigned number = 0; number < kThreads; ++number) {
            threads.emplace_back([&counts, &calls, number] {
                counts[number] = callAgainAndAgain(number + 1, calls);
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(machine().wallet.held(), "");
        EXPECT_EQ(machine().processState(), before);
        expectLockFree();
        // An error that was asked for and not returned yet.
        machine().wallet.failCall("OvWalletFactory_generateOvWalletV1", 0, "");
        machine().wallet.failCall("OvWallet_getStringValue", 0, "");
        first.callUndisturbed();
        expectNoLeaks();
        std::size_t total = 0;
        for (const std::size_t count : counts) {
            total += count;
        }
        return std::to_string(total);
    });
    ASSERT_NE(injected, "");
    EXPECT_GT(std::stoul(injected), 400U) << "failures";
}

}  // namespace
