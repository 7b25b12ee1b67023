// Threads that open and free wallets while nobody else has the client library open, so that it is
// really closed, and opened again, between their calls. Its ledger, a file, outlives it.

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/PrivateModuleDir.h"
#include "doubles/SystemCalls.h"
#include "doubles/TemporaryDirectory.h"
#include "wallet/WalletApi.h"
#include "wallet/WalletFunctionPointers.h"

using namespace Orvanta_OvWallet;

namespace {

class LibraryReload : public ::testing::Test {
  protected:
    LibraryReload() {
        ::setenv("OVWALLET_SANDBOX_HOME", home_.pathname().c_str(), 1);
        writeFile(home_ / "strings", "name\tvalue\n");
        runCommand("ledger start");
        linkInstallation(sandboxBase());
    }

    std::string runCommand(const std::string& arguments) {
        const std::string command = sandboxBase() +
                                    "/orvanta/client/14.10/ovwallet/redhatlinux-x8664/ovwallet " +
                                    arguments;
        std::FILE* const output = ::popen(command.c_str(), "r");
        std::string text;
        for (int byte = std::fgetc(output); byte != EOF; byte = std::fgetc(output)) {
            text += static_cast<char>(byte);
        }
        EXPECT_EQ(::pclose(output), 0) << command;
        return text;
    }

    // The ledger by name.
    std::map<std::string, std::int64_t> ledger() {
        std::istringstream lines(runCommand("ledger show"));
        std::map<std::string, std::int64_t> counters;
        std::string name;
        for (std::int64_t value = 0; lines >> name >> value;) {
            counters[name] = value;
        }
        return counters;
    }

    // Nothing is alive, nothing was misused, and the library is closed.
    void expectAllGivenBack() {
        const auto counters = ledger();
        for (const char* const name : {"live.wallets", "live.locked_vectors", "live.errors",
                                       "bad_frees", "bad_uses", "leaks"}) {
            EXPECT_EQ(counters.at(name), 0) << name;
        }
        EXPECT_EQ(counters.at("loads"), counters.at("unloads"));
        EXPECT_TRUE(PrivateStuff::walletFunctions().referenceCount().isZero());
    }

    TemporaryDirectory home_;
};

// The value of "name" from a wallet of its own, or the description of an error.
std::string fetchOnce() {
    Wallet* wallet = nullptr;
    WalletError* error = OvWalletFactory_generateOvWalletV1(&wallet);
    LockedUTF8Vector* value = nullptr;
    if (error == nullptr) {
        error = OvWallet_getStringValue(wallet, "name", &value);
    }
    std::string text;
    if (error != nullptr) {
        text = OvWallet_getErrorDescription(error);
        OvWallet_freeError(error);
    } else {
        const std::uint8_t* const bytes = OvWallet_getPtrLockedUTF8Vector(value);
        text.assign(bytes, bytes + OvWallet_getSizeLockedUTF8Vector(value));
        OvWallet_freeLockedUTF8Vector(value);
    }
    if (wallet != nullptr) {
        OvWallet_freeV1(wallet);
    }
    return text;
}

void onThreads(int count, const auto& body) {
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number) {
        threads.emplace_back([&body, number] { body(number); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(LibraryReload, ClosesAndOpensTheLibraryOncePerCallWhenCallsDoNotOverlap) {
    constexpr int kRounds = 20;
    for (int round = 0; round < kRounds; ++round) {
        EXPECT_EQ(fetchOnce(), "value");
    }
    EXPECT_EQ(ledger().at("loads"), kRounds);
    expectAllGivenBack();
}

TEST_F(LibraryReload, SurvivesEveryRaceOfOpeningAndClosing) {
    constexpr int kRounds = 200;
    onThreads(4, [](int) {
        for (int round = 0; round < kRounds; ++round) {
            EXPECT_EQ(fetchOnce(), "value");
        }
    });
    const auto counters = ledger();
    EXPECT_GE(counters.at("loads"), 1);
    EXPECT_EQ(counters.at("calls.OvWallet_freeV1"), 4 * kRounds);
    expectAllGivenBack();
}

// Every thread lets its opening of the library fail now and then, at each step of it.
TEST_F(LibraryReload, SurvivesRacesInWhichOpeningFails) {
    constexpr int kRounds = 200;
    static thread_local int stepsUntilFailure = 0;
    const auto failsNow = [] { return stepsUntilFailure > 0 && --stepsUntilFailure == 0; };
    systemCalls().dlopen = [&](const char* path, int mode) {
        return failsNow() ? nullptr : real::dlopen(path, mode);
    };
    systemCalls().dlsym = [&](void* library, const char* name) {
        return failsNow() ? nullptr : real::dlsym(library, name);
    };
    systemCalls().dlerror = [] {
        static std::string reason = "told to fail";
        return reason.data();
    };
    onThreads(4, [](int number) {
        for (int round = 0; round < kRounds; ++round) {
            stepsUntilFailure = (round * 7 + number) % 60;
            const std::string outcome = fetchOnce();
            EXPECT_TRUE(outcome == "value" || outcome.ends_with("because: told to fail"))
                << outcome;
        }
        stepsUntilFailure = 0;
    });
    expectAllGivenBack();
    EXPECT_EQ(fetchOnce(), "value");
}

}  // namespace
