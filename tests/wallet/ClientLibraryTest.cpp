// The wrappers over the sandbox wallet's client library, opened by the real dynamic loader.
#include <dlfcn.h>

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "doubles/PrivateModuleDir.h"
#include "doubles/SystemCalls.h"
#include "doubles/thrown.h"
#include "sandbox/OvWalletSandbox.h"
#include "wallet/CallDisciplines.h"
#include "wallet/LibraryReload.h"
#include "wallet/WalletApi.h"

namespace Orvanta_OvWallet {
namespace {

using PrivateStuff::walletFunctions;

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

class ClientLibrary : public LibraryReload {
  protected:
    ClientLibrary() {
        use(sandboxBase());
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

    bool isLoaded() const {
        void* const handle = real::dlopen(library_.c_str(), RTLD_LAZY | RTLD_NOLOAD);
        if (handle != nullptr) {
            real::dlclose(handle);
        }
        return handle != nullptr;
    }

    static std::size_t uses() {
        const auto& digits = walletFunctions().useCount().digits();
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
    void expectEverythingGivenBack(int times) {
        expectAllGivenBack();
        EXPECT_FALSE(isLoaded());
        EXPECT_EQ(opened_, times);
        EXPECT_EQ(closed_, times);
        EXPECT_EQ(ledger().at("loads"), times);
    }

    std::string library_;
    int opened_ = 0;
    int closed_ = 0;
};

TEST_F(ClientLibrary, IsOpenExactlyAsLongAsOneOfItsObjectsLives) {
    Wallet* const wallet = newWallet();
    EXPECT_TRUE(isLoaded());
    EXPECT_EQ(uses(), 1U);
    LockedUTF8Vector* value = nullptr;
    ASSERT_EQ(OvWallet_getStringValue(wallet, "name", &value), nullptr);
    EXPECT_EQ(uses(), 2U);
    OvWallet_freeV1(wallet);
    EXPECT_EQ(uses(), 1U);
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
        EXPECT_EQ(valueOf(wallet, "name"), "value");
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
    EXPECT_EQ(uses(), 4U);
    EXPECT_EQ(OvWallet_getSizeLockedUTF8Vector(locked), 5U);
    EXPECT_NE(OvWallet_getPtrUTF8Vector(version), nullptr);
    EXPECT_NE(OvWallet_getSizeUTF8Vector(version), 0U);
    OvWallet_freeStringNames(names);
    OvWallet_freeUTF8Vector(version);
    OvWallet_freeLockedUTF8Vector(locked);
    OvWallet_freeV1(wallet);
    expectEverythingGivenBack(1);
}

TEST_F(ClientLibrary, GivesTheUseOfAFailedFactoryCallToTheErrorObject) {
    runCommand("fail OvWalletFactory_generateOvWalletV1 1 'told to fail'");
    Wallet* wallet = nullptr;
    WalletError* const error = OvWalletFactory_generateOvWalletV1(&wallet);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(uses(), 1U);
    EXPECT_STREQ(OvWallet_getErrorDescription(error), "told to fail");
    OvWallet_freeError(error);
    expectEverythingGivenBack(1);
}

TEST_F(ClientLibrary, IsClosedWhenTheFirstCallThrows) {
    runCommand("throw OvWalletFactory_generateOvWalletV1 std");
    Wallet* wallet = nullptr;
    WalletError* const error = OvWalletFactory_generateOvWalletV1(&wallet);
    EXPECT_FALSE(isLoaded());
    EXPECT_EQ(taken(error), "11 the client library threw");
    expectEverythingGivenBack(1);
}

// Whoever catches it has to destroy it, with code of the library.
TEST_F(ClientLibrary, StaysOpenWhenTheFirstCallThrowsWhatIsNoStandardException) {
    runCommand("throw OvWalletFactory_generateOvWalletV1 other");
    Wallet* wallet = nullptr;
    EXPECT_EQ(thrownBy([&] { OvWalletFactory_generateOvWalletV1(&wallet); }), "something else");
    EXPECT_TRUE(isLoaded());
    EXPECT_EQ(uses(), 1U);
    runCommand("throw OvWalletFactory_generateOvWalletV1 none");
    OvWallet_freeV1(newWallet());
    EXPECT_TRUE(isLoaded());
}

TEST_F(ClientLibrary, MayThrowFromEveryCallThatReturnsAnError) {
    Wallet* const wallet = newWallet();
    const SandboxControl control(library_);
    control.throwFromCalls("OvWallet_getStringValue", 1);
    control.throwFromCalls("OvWallet_deleteString", 1);
    EXPECT_EQ(valueOf(wallet, "name"), "11 the client library threw");
    EXPECT_EQ(taken(OvWallet_deleteString(wallet, "name")), "11 the client library threw");
    EXPECT_EQ(uses(), 1U);
    control.throwFromCalls("OvWallet_getStringValue", 2);
    control.throwFromCalls("OvWallet_deleteString", 2);
    LockedUTF8Vector* value = nullptr;
    EXPECT_EQ(thrownBy([&] { OvWallet_getStringValue(wallet, "name", &value); }), "something else");
    EXPECT_EQ(thrownBy([&] { OvWallet_deleteString(wallet, "name"); }), "something else");
    EXPECT_EQ(uses(), 1U);
    OvWallet_freeV1(wallet);
}

TEST_F(ClientLibrary, MayThrowInAnInstallationThatAlwaysDoes) {
    use(sandboxVariant("throwing"));
    Wallet* const wallet = newWallet();
    EXPECT_EQ(valueOf(wallet, "name"), "11 the client library threw");
    OvWallet_freeV1(wallet);
    expectEverythingGivenBack(1);
}

// Its exception is the first of the process: nobody has set up libgcc_s before.
TEST_F(ClientLibrary, MayThrowFromACppRunTimeOfItsOwn) {
    use(sandboxVariant("own-unwinder"));
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
    EXPECT_EQ(uses(), 0U);
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
        EXPECT_EQ(uses(), 0U);
    }
}

TEST_F(ClientLibrary, IsReportedWithTheLoadersReasonWhenItsFileIsNoLibrary) {
    use(sandboxVariant("text-file"));
    Wallet* wallet = nullptr;
    EXPECT_EQ(taken(OvWalletFactory_generateOvWalletV1(&wallet)),
              "11 Cannot load the \"" + library_ + "\" library because: " + library_ +
                  ": invalid ELF header");
    EXPECT_EQ(uses(), 0U);
}

TEST_F(ClientLibrary, IsFoundAgainWhenAnotherInstallationIsLinked) {
    use(sandboxVariant("no-library"));
    Wallet* wallet = nullptr;
    OvWallet_freeError(OvWalletFactory_generateOvWalletV1(&wallet));
    use(sandboxBase());
    OvWallet_freeV1(newWallet());
    EXPECT_FALSE(isLoaded());
}

}  // namespace
}  // namespace Orvanta_OvWallet
