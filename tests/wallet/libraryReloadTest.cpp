// Threads that open and free wallets while nobody else has the client library open, so that it is
// really closed, and opened again, between their calls. Its ledger, a file, outlives it.

#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/SystemCalls.h"
#include "wallet/LibraryReload.h"
#include "wallet/WalletApi.h"

using namespace Orvanta_OvWallet;

namespace {

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

TEST_F(LibraryReload, SurvivesEveryRaceOfOpeningAndClosing) {
    constexpr int kRounds = 200;
    EXPECT_EQ(fetchOnce(), "value");
    onThreads(4, [](int) {
        for (int round = 0; round < kRounds; ++round) {
            EXPECT_EQ(fetchOnce(), "value");
        }
    });
    EXPECT_EQ(fetchOnce(), "value");
    const auto counters = ledger();
    EXPECT_GE(counters.at("loads"), 3) << "before, during and after";
    EXPECT_EQ(counters.at("calls.OvWallet_freeV1"), 1 + 4 * kRounds + 1);
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
    stepsUntilFailure = 1;
    EXPECT_TRUE(fetchOnce().ends_with("because: told to fail"));
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
