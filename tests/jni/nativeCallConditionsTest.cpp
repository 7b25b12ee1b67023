// Whole calls under the conditions of a busy process: the lock, many threads, little memory.

#include <gtest/gtest.h>

#include <barrier>
#include <thread>

#include "doubles/ProcessLockDouble.h"
#include "jni/NativeCall.h"

namespace {

class NativeCallConditions : public NativeCall {};

TEST_F(NativeCallConditions, TheLockIsNotHeldWhileJavaMethodsRun) {
    const ProcessLockDouble lock;
    CallRecord methods;
    CallRecord methodsUnderLock;
    job_.onJavaMethod = [&](const std::string& method) {
        methods.push_back(method);
        if (lock.isHeld()) {
            methodsUnderLock.push_back(method);
        }
    };
    EXPECT_EQ(call(), "");
    EXPECT_EQ(
        methods,
        (CallRecord{"getConfiguration", "getInputJdbcUrl", "getBytes", "getInputOrvantaUserName",
                    "setInputOrvantaUserName", "getInputOrvantaPassword", "setInputOrvantaPassword",
                    "getOutputJdbcUrl", "getOutputOrvantaUserName", "setOutputOrvantaUserName",
                    "getOutputOrvantaPassword", "setOutputOrvantaPassword"}));
    EXPECT_EQ(methodsUnderLock, CallRecord{});
}

TEST_F(NativeCallConditions, OfAllJniCallsOnlyTheSetUpsComeUnderTheLock) {
    const ProcessLockDouble lock;
    CallRecord callsUnderLock;
    jvm_.onCall = [&](const std::string& jniCall) {
        if (lock.isHeld()) {
            callsUnderLock.push_back(jniCall);
        }
    };
    EXPECT_EQ(call(), "");
    EXPECT_EQ(callsUnderLock, setUpCalls());
    EXPECT_FALSE(lock.isHeld());
}

TEST_F(NativeCallConditions, AFailedSetUpLeavesTheLockFree) {
    const ProcessLockDouble lock;
    EXPECT_NE(job_.performSubstitutions(std::nullopt), "");
    EXPECT_FALSE(lock.isHeld());
}

TEST_F(NativeCallConditions, ManyThreadsMayCallAtOnce) {
    constexpr int kThreads = 4;
    constexpr int kCalls = 25;
    std::barrier start(kThreads);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&start, thread] {
            StrictJni jvm;
            ConnectorJob job(jvm);
            const bool fails = thread % 2 == 1;
            start.arrive_and_wait();
            for (int i = 0; i < kCalls; ++i) {
                job.properties = {
                    {"InputOrvantaUserName", "$ovwallet(un)"},
                    {"OutputOrvantaPassword", fails ? "$ovwallet(none)" : "$ovwallet"}};
                EXPECT_EQ(job.performSubstitutions(privateModuleDir()),
                          fails ? connectorException("Attempt to get value from Orvanta Wallet "
                                                     "failed because: There is no string named "
                                                     "\"none\" in the wallet.")
                                : "");
                EXPECT_EQ(job.properties["InputOrvantaUserName"], "name");
                EXPECT_EQ(job.properties["OutputOrvantaPassword"],
                          fails ? "$ovwallet(none)" : "default");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(sandbox_.counter("calls.OvWallet_freeV1"), kThreads * kCalls);
}

TEST_F(NativeCallConditions, WithoutMemoryACallFailsAndTheNextOneWorks) {
    do {
        resetJob();
        ++job_.failingAllocation;
        const std::string outcome = call();
        const std::string failure = std::to_string(job_.failingAllocation) + ": " + outcome;
        EXPECT_EQ(outcome.starts_with(connectorException("")), job_.allocationFailed) << failure;
        EXPECT_EQ(sandbox_.held(), "") << failure;
    } while (job_.allocationFailed);
    EXPECT_EQ(credentials(), kExpanded);
    EXPECT_GT(job_.failingAllocation, 50U);
}

}  // namespace
