// Many threads inside the client library, up to the end of the process.
#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "sandbox/tests/LibraryFixture.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

class LibraryThreadTest : public LibraryFixture {
  protected:
    LibraryThreadTest() { writeText(directory_ / "strings", "a\t1\n"); }

    LoadedSandbox library_{pathname_};
};

TEST_F(LibraryThreadTest, ThreadsWithTheirOwnWalletsDoNotDisturbEachOther) {
    constexpr int kThreads = 8;
    constexpr int kRounds = 50;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([this] {
            for (int round = 0; round < kRounds; ++round) {
                Wallet* const wallet = library_.newWallet();
                EXPECT_EQ(library_.value(wallet, "a"), "1");
                EXPECT_EQ(library_.taken(library_.OvWallet_deleteString(wallet, "b")),
                          "There is no string named \"b\" in the wallet.");
                library_.OvWallet_freeV1(wallet);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(library_.counter("calls.OvWallet_getStringValue"), kThreads * kRounds);
    EXPECT_EQ(library_.counter("live.wallets"), 0);
    EXPECT_EQ(library_.counter("live.errors"), 0);
    EXPECT_EQ(library_.counter("bad_frees"), 0);
    EXPECT_TRUE(library_.unload());
}

TEST_F(LibraryThreadTest, ThreadsMayShareAWallet) {
    Wallet* const wallet = library_.newWallet();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            const std::string name = "t" + std::to_string(thread);
            LockedUTF8Vector* const vector = library_.newVector(name);
            EXPECT_EQ(library_.OvWallet_addString(wallet, name.c_str(), vector), nullptr);
            EXPECT_EQ(library_.value(wallet, name.c_str()), name);
            library_.OvWallet_freeLockedUTF8Vector(vector);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(readText(directory_ / "strings"), "a\t1\nt0\tt0\nt1\tt1\nt2\tt2\nt3\tt3\n");
    library_.OvWallet_freeV1(wallet);
}

// Ends the process while other threads go in and out of the library.
[[noreturn]] void exitInTheMiddleOfCalls(const std::string& pathname) {
    const auto* const library = std::make_unique<LoadedSandbox>(pathname).release();
    static std::atomic<int> rounds = 0;
    for (int thread = 0; thread < 4; ++thread) {
        std::thread([library] {
            for (;;) {
                Wallet* const wallet = library->newWallet();
                static_cast<void>(library->value(wallet, "a"));
                library->OvWallet_freeV1(wallet);
                ++rounds;
            }
        }).detach();
    }
    while (rounds < 20) {
        std::this_thread::yield();
    }
    std::exit(3);
}

TEST_F(LibraryThreadTest, ProcessMayEndInTheMiddleOfCalls) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    for (int process = 0; process < 5; ++process) {
        EXPECT_EXIT(exitInTheMiddleOfCalls(pathname_), testing::ExitedWithCode(3), "");
    }
}

}  // namespace

}  // namespace Orvanta_OvWallet::Sandbox
