// The wrappers over the sandbox wallet's client library, opened by the real dynamic loader.
#include <dlfcn.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "doubles/PrivateModuleDir.h"
#include "doubles/SystemCalls.h"
#include "doubles/TemporaryDirectory.h"
#include "sandbox/OvWalletSandbox.h"
#include "wallet/CallDisciplines.h"
#include "wallet/WalletApi.h"

namespace Orvanta_OvWallet {
namespace {

using PrivateStuff::walletFunctions;
using testing::HasSubstr;

// What the sandbox library exports beside the entry points, while it is loaded.
class SandboxControl {
  public:
    explicit SandboxControl(const std::string& library)
        : handle_(real::dlopen(library.c_str(), RTLD_LAZY | RTLD_NOLOAD)) {}
    ~SandboxControl() { real::dlclose(handle_); }
    SandboxControl(const SandboxControl&) = delete;
    SandboxControl& operator=(const SandboxControl&) = delete;

    void throwFromCalls(const char* entry, std::uint32_t kind) const {
        const auto function = reinterpret_cast<decltype(&OvWalletSandbox_throwFromCalls)>(
            real::dlsym(handle_, "OvWalletSandbox_throwFromCalls"));
        ASSERT_EQ(function(entry, kind), 0);
    }

  private:
    void* handle_;
};

class ClientLibrary : public testing::Test {
  protected:
    ClientLibrary() {
        ::setenv("OVWALLET_SANDBOX_HOME", home_.pathname().c_str(), 1);
        writeFile(home_ / "strings", "name\tsecret\n");
        use(sandboxBase());
        command("ledger start");
        systemCalls().dlopen = [this](const char* path, int mode) {
            ++opened_;
            return real::dlopen(path, mode);
        };
        systemCalls().dlclose = [this](void* handle) {
            ++closed_;
            return real::dlclose(handle);
        };
    }

    void use(const std::string& base) {
        linkInstallation(base);
        library_ = base + "/orvanta/client/14.10/ovwallet/redhatlinux-x8664/libovwallet.so";
    }

    static std::string command(const std::string& arguments) {
        const std::string line = sandboxBase() +
                                 "/orvanta/client/14.10/ovwallet/redhatlinux-x8664/ovwallet " +
                                 arguments;
        std::string output;
        FILE* const pipe = ::popen(line.c_str(), "r");
        for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
            output += static_cast<char>(c);
        }
        EXPECT_EQ(::pclose(pipe), 0) << line;
        return output;
    }

    bool isLoaded() const {
        void* const handle = real::dlopen(library_.c_str(), RTLD_LAZY | RTLD_NOLOAD);
        if (handle != nullptr) {
            real::dlclose(handle);
        }
        return handle != nullptr;
    }

    static std::size_t references() {
        const auto& digits = walletFunctions().referenceCount().digits();
        return digits.empty() ? 0 : digits.front();
    }

    static std::string taken(WalletError* error) {
        if (error == nullptr) {
            return "no error";
        }
        std::string contents = std::to_string(OvWallet_getErrorCode(error)) + " " +
                               OvWallet_getErrorDescription(error);
        OvWallet_freeError(error);
        return contents;
    }

    static Wallet* newWallet() {
        Wallet* wallet = nullptr;
        EXPECT_EQ(taken(OvWalletFactory_generateOvWalletV1(&wallet)), "no error");
        return wallet;
    }

    static std::string valueOf(Wallet* wallet, const char* name) {
        LockedUTF8Vector* value = nullptr;
        WalletError* const error = OvWallet_getStringValue(wallet, name, &value);
        if (error != nullptr) {
            return taken(error);
        }
        const auto* const bytes =
            reinterpret_cast<const char*>(OvWallet_getPtrLockedUTF8Vector(value));
        std::string text(bytes, OvWallet_getSizeLockedUTF8Vector(value));
        OvWallet_freeLockedUTF8Vector(value);
        return text;
    }

    // Nothing is left over: neither here nor in the library's own books.
    void expectEverythingGivenBack(int times) const {
        EXPECT_EQ(references(), 0U);
        EXPECT_FALSE(isLoaded());
        EXPECT_EQ(opened_, times);
        EXPECT_EQ(closed_, times);
        EXPECT_THAT(
            command("ledger show"),
            testing::StartsWith("live.wallets 0\nlive.locked_vectors 0\nlive.vectors 0\n"
                                "live.name_lists 0\nlive.errors 0\nloads " +
                                std::to_string(times) + "\nunloads " + std::to_string(times) +
                                "\nbad_frees 0\nbad_uses 0\nleaks 0\n"));
    }

    const TemporaryDirectory home_;
    std::string library_;
    int opened_ = 0;
    int closed_ = 0;
};

TEST_F(ClientLibrary, IsOpenExactlyAsLongAsOneOfItsObjectsLives) {
    Wallet* const wallet = newWallet();
    EXPECT_TRUE(isLoaded());
    EXPECT_EQ(references(), 1U);
    LockedUTF8Vector* value = nullptr;
    ASSERT_EQ(OvWallet_getStringValue(wallet, "name", &value), nullptr);
    EXPECT_EQ(references(), 2U);
    OvWallet_freeV1(wallet);
    EXPECT_EQ(references(), 1U);
    EXPECT_TRUE(isLoaded());
    OvWallet_freeLockedUTF8Vector(value);
    expectEverythingGivenBack(1);
}

TEST_F(ClientLibrary, StaysOpenForAnErrorObject) {
    Wallet* const wallet = newWallet();
    LockedUTF8Vector* value = nullptr;
    WalletError* const error = OvWallet_getStringValue(wallet, "other", &value);
    ASSERT_NE(error, nullptr);
    OvWallet_freeV1(wallet);
    EXPECT_TRUE(isLoaded());
    EXPECT_STREQ(OvWallet_getErrorDescription(error),
                 "There is no string named \"other\" in the wallet.");
    EXPECT_STREQ(OvWallet_getStringName(error), "other");
    OvWallet_freeError(error);
    expectEverythingGivenBack(1);
}

TEST_F(ClientLibrary, IsOpenedAndResolvedAfreshAfterItWasClosed) {
    for (int times = 1; times <= 3; ++times) {
        Wallet* const wallet = newWallet();
        EXPECT_EQ(valueOf(wallet, "name"), "secret");
        OvWallet_freeV1(wallet);
        expectEverythingGivenBack(times);
    }
}

TEST_F(ClientLibrary, HandsOutEveryKindOfObject) {
    Wallet* wallet = nullptr;
    ASSERT_EQ(OvWalletFactory_generateLocaleOvWalletV1(&wallet, nullptr), nullptr);
    LockedUTF8Vector* locked = nullptr;
    ASSERT_EQ(OvWallet_allocLockedUTF8Vector(&locked, 5), nullptr);
    UTF8Vector* version = nullptr;
    ASSERT_EQ(OvWallet_getVersion(wallet, &version), nullptr);
    StringNames* names = nullptr;
    ASSERT_EQ(OvWallet_getStringNames(wallet, &names), nullptr);
    EXPECT_EQ(references(), 4U);
    EXPECT_EQ(OvWallet_getSizeLockedUTF8Vector(locked), 5U);
    EXPECT_NE(OvWallet_getPtrUTF8Vector(version), nullptr);
    EXPECT_NE(OvWallet_getSizeUTF8Vector(version), 0U);
    OvWallet_freeStringNames(names);
    OvWallet_freeUTF8Vector(version);
    OvWallet_freeLockedUTF8Vector(locked);
    OvWallet_freeV1(wallet);
    expectEverythingGivenBack(1);
}

TEST_F(ClientLibrary, GivesTheReferenceOfAFailedFactoryCallToTheErrorObject) {
    command("fail OvWalletFactory_generateOvWalletV1 1 'told to fail'");
    Wallet* wallet = nullptr;
    WalletError* const error = OvWalletFactory_generateOvWalletV1(&wallet);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(references(), 1U);
    EXPECT_STREQ(OvWallet_getErrorDescription(error), "told to fail");
    OvWallet_freeError(error);
    expectEverythingGivenBack(1);
}

TEST_F(ClientLibrary, IsClosedWhenTheFirstCallThrows) {
    command("throw OvWalletFactory_generateOvWalletV1 std");
    Wallet* wallet = nullptr;
    WalletError* const error = OvWalletFactory_generateOvWalletV1(&wallet);
    EXPECT_FALSE(isLoaded());
    EXPECT_EQ(taken(error), "11 the client library threw");
    expectEverythingGivenBack(1);
}

TEST_F(ClientLibrary, IsClosedWhenTheFirstCallThrowsSomethingElse) {
    command("throw OvWalletFactory_generateOvWalletV1 other");
    Wallet* wallet = nullptr;
    EXPECT_THROW(OvWalletFactory_generateOvWalletV1(&wallet), int);
    expectEverythingGivenBack(1);
}

TEST_F(ClientLibrary, MayThrowFromEveryCallThatReturnsAnError) {
    Wallet* const wallet = newWallet();
    const SandboxControl control(library_);
    control.throwFromCalls("OvWallet_getStringValue", 1);
    control.throwFromCalls("OvWallet_deleteString", 1);
    EXPECT_EQ(valueOf(wallet, "name"), "11 the client library threw");
    EXPECT_EQ(taken(OvWallet_deleteString(wallet, "name")), "11 the client library threw");
    EXPECT_EQ(references(), 1U);
    control.throwFromCalls("OvWallet_getStringValue", 2);
    control.throwFromCalls("OvWallet_deleteString", 2);
    LockedUTF8Vector* value = nullptr;
    EXPECT_THROW(OvWallet_getStringValue(wallet, "name", &value), int);
    EXPECT_THROW(OvWallet_deleteString(wallet, "name"), int);
    EXPECT_EQ(references(), 1U);
    OvWallet_freeV1(wallet);
}

TEST_F(ClientLibrary, MayThrowInAnInstallationThatAlwaysDoes) {
    use(sandboxVariant("throwing"));
    Wallet* const wallet = newWallet();
    EXPECT_EQ(valueOf(wallet, "name"), "11 the client library threw");
    OvWallet_freeV1(wallet);
    expectEverythingGivenBack(1);
}

class IncompleteClientLibrary
    : public ClientLibrary,
      public testing::WithParamInterface<std::pair<const char*, const char*>> {};

TEST_P(IncompleteClientLibrary, IsRefusedByNameAndClosedAgain) {
    const auto [variant, entry] = GetParam();
    use(sandboxVariant(variant));
    Wallet* wallet = nullptr;
    WalletError* const error = OvWalletFactory_generateOvWalletV1(&wallet);
    EXPECT_EQ(wallet, nullptr);
    EXPECT_EQ(taken(error), std::string("11 Cannot find the \"") + entry + "\" function in the \"" +
                                library_ + "\" library because: " + library_ +
                                ": undefined symbol: " + entry);
    EXPECT_FALSE(isLoaded());
    EXPECT_EQ(references(), 0U);
    EXPECT_EQ(opened_, 1);
    EXPECT_EQ(closed_, 1);
}

INSTANTIATE_TEST_SUITE_P(Variants, IncompleteClientLibrary,
                         testing::Values(std::pair("missing-first", "OvWallet_getErrorDescription"),
                                         std::pair("missing-getversion", "OvWallet_getVersion"),
                                         std::pair("missing-last",
                                                   "OvWallet_addPlaintextStringFromTerminal")),
                         [](const auto& variant) {
                             std::string name = variant.param.first;
                             name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                             return name;
                         });

TEST_F(ClientLibrary, IsReportedAsNotInstalledWhenItsFileIsMissing) {
    use(sandboxVariant("no-library"));
    for (int i = 0; i < 2; ++i) {
        Wallet* wallet = nullptr;
        EXPECT_EQ(taken(OvWalletFactory_generateOvWalletV1(&wallet)),
                  "12 Orvanta Wallet 14.10 is not installed (cannot access \"" + library_ + "\")");
        EXPECT_EQ(references(), 0U);
    }
}

TEST_F(ClientLibrary, IsReportedWithTheLoadersReasonWhenItsFileIsNoLibrary) {
    use(sandboxVariant("text-file"));
    Wallet* wallet = nullptr;
    EXPECT_EQ(taken(OvWalletFactory_generateOvWalletV1(&wallet)),
              "11 Cannot load the \"" + library_ + "\" library because: " + library_ +
                  ": invalid ELF header");
    EXPECT_EQ(references(), 0U);
}

TEST_F(ClientLibrary, IsFoundAgainWhenAnotherInstallationIsLinked) {
    use(sandboxVariant("no-library"));
    Wallet* wallet = nullptr;
    OvWallet_freeError(OvWalletFactory_generateOvWalletV1(&wallet));
    use(sandboxBase());
    OvWallet_freeV1(newWallet());
    EXPECT_FALSE(isLoaded());
}

TEST_F(ClientLibrary, ServesManyThreadsAtOnce) {
    systemCalls().dlopen = nullptr;
    systemCalls().dlclose = nullptr;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 25; ++round) {
                Wallet* const wallet = newWallet();
                EXPECT_EQ(valueOf(wallet, "name"), "secret");
                EXPECT_THAT(valueOf(wallet, "other"), HasSubstr("no string named \"other\""));
                OvWallet_freeV1(wallet);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(references(), 0U);
    EXPECT_FALSE(isLoaded());
    const std::string ledger = command("ledger show");
    EXPECT_THAT(ledger, HasSubstr("live.wallets 0\nlive.locked_vectors 0\n"));
    EXPECT_THAT(ledger, HasSubstr("live.errors 0\n"));
    EXPECT_THAT(ledger, HasSubstr("bad_frees 0\nbad_uses 0\nleaks 0\n"));
    EXPECT_THAT(ledger, HasSubstr("calls.OvWallet_getStringValue 200\n"));
}

}  // namespace
}  // namespace Orvanta_OvWallet
