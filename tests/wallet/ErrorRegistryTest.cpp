#include "wallet/ErrorRegistry.h"

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/FailingHeap.h"
#include "doubles/ProcessLockDouble.h"
#include "wallet/ProcessLock.h"

namespace Orvanta_OvWallet::PrivateStuff {
namespace {

const std::runtime_error kFailure("a text that is too long for the small string optimisation");

std::string contentsOf(WalletError* error) {
    const ProcessLockGuard lock;
    const auto contents = localErrorContents(error);
    return contents ? std::to_string(std::get<0>(*contents)) + " " + std::get<1>(*contents)
                    : "not ours";
}

bool freed(WalletError* error) {
    const ProcessLockGuard lock;
    return freeLocalError(error);
}

TEST(ErrorRegistry, KeepsCodeAndTextOfTheException) {
    WalletError* const error = errorFromException(kFailure, -12345);
    EXPECT_EQ(contentsOf(error), std::string("-12345 ") + kFailure.what());
    EXPECT_TRUE(freed(error));
}

TEST(ErrorRegistry, ForgetsWhatWasFreed) {
    WalletError* const error = errorFromException(kFailure, kFailureCode);
    EXPECT_TRUE(freed(error));
    EXPECT_EQ(contentsOf(error), "not ours");
    EXPECT_FALSE(freed(error));
}

TEST(ErrorRegistry, DoesNotKnowErrorsOfTheLibrary) {
    int object = 0;
    WalletError* const libraryError = reinterpret_cast<WalletError*>(&object);
    WalletError* const error = errorFromException(kFailure, kFailureCode);
    EXPECT_EQ(contentsOf(libraryError), "not ours");
    EXPECT_EQ(contentsOf(nullptr), "not ours");
    EXPECT_FALSE(freed(libraryError));
    EXPECT_FALSE(freed(nullptr));
    EXPECT_TRUE(freed(error));
}

TEST(ErrorRegistry, TellsManyErrorsApart) {
    std::vector<WalletError*> errors;
    for (int i = 0; i < 100; ++i) {
        errors.push_back(errorFromException(std::runtime_error("text " + std::to_string(i)), i));
    }
    for (int i = 99; i >= 0; --i) {
        const std::string number = std::to_string(i);
        WalletError* const error = errors[static_cast<std::size_t>(i)];
        EXPECT_EQ(contentsOf(error), number + " text " + number);
        EXPECT_TRUE(freed(error));
    }
}

TEST(ErrorRegistry, HasOneOutOfMemoryErrorThatIsNeverFreed) {
    EXPECT_NE(outOfMemoryError(), nullptr);
    EXPECT_EQ(outOfMemoryError(), outOfMemoryError());
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(contentsOf(outOfMemoryError()), "11 An out of memory condition exists.");
        EXPECT_TRUE(freed(outOfMemoryError()));
    }
}

TEST(ErrorRegistry, GivesTheOutOfMemoryErrorWheneverAnAllocationFailsAndLeaksNothing) {
    freed(errorFromException(kFailure, kFailureCode));  // makes what is made once per process
    const std::int64_t before = FailingHeap::liveAllocations();
    for (std::uint64_t k = 1;; ++k) {
        WalletError* error = nullptr;
        bool failed = false;
        {
            const FailingHeap heap(k);
            error = errorFromException(kFailure, kFailureCode);
            failed = heap.failed();
        }
        if (!failed) {
            EXPECT_EQ(contentsOf(error), std::string("11 ") + kFailure.what());
            EXPECT_TRUE(freed(error));
            EXPECT_GT(k, 3U) << "object, text and registry entry are allocated";
            break;
        }
        EXPECT_EQ(error, outOfMemoryError()) << k;
        EXPECT_EQ(FailingHeap::liveAllocations(), before) << k;
    }
    EXPECT_EQ(FailingHeap::liveAllocations(), before);
}

TEST(ErrorRegistry, GivesTheOutOfMemoryErrorWhenTheLockFails) {
    ProcessLockDouble lock;
    lock.failCall("lock guard");
    lock.takeCalls();
    const std::int64_t before = FailingHeap::liveAllocations();
    EXPECT_EQ(errorFromException(kFailure, kFailureCode), outOfMemoryError());
    EXPECT_EQ(lock.takeCalls(), ProcessLockDouble::Calls{"lock guard"}) << "tried once";
    EXPECT_EQ(FailingHeap::liveAllocations(), before);
}

TEST(ErrorRegistry, ServesManyThreadsAtOnce) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            const std::runtime_error failure("thread " + std::to_string(i));
            for (int round = 0; round < 200; ++round) {
                WalletError* const error = errorFromException(failure, round);
                EXPECT_EQ(contentsOf(error), std::to_string(round) + " " + failure.what());
                EXPECT_TRUE(freed(error));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
}  // namespace Orvanta_OvWallet::PrivateStuff
