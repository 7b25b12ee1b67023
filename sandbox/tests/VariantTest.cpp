// The installations that the build lays out: the good one, and those with one fault each.
#include <dlfcn.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/thrown.h"
#include "sandbox/ledger/EntryPointNames.h"
#include "sandbox/tests/LibraryFixture.h"
#include "sandbox/tests/Process.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

std::set<std::string> exportsOf(const std::string& library) {
    const Outcome symbols = runProcess(
        {"nm", "--dynamic", "--defined-only", "--format=just-symbols", library}, {"PATH=/usr/bin"});
    EXPECT_EQ(symbols.exitCode, 0) << symbols.errors;
    std::istringstream lines(symbols.output);
    std::set<std::string> names;
    for (std::string name; std::getline(lines, name);) {
        names.insert(name);
    }
    return names;
}

std::set<std::string> expectedExports(std::string_view without = {}) {
    std::set<std::string> names(kEntryPointNames.begin(), kEntryPointNames.end());
    names.insert({"OvWalletSandbox_counter", "OvWalletSandbox_delayCalls",
                  "OvWalletSandbox_failCall", "OvWalletSandbox_nameAt", "OvWalletSandbox_nameCount",
                  "OvWalletSandbox_resetLedger", "OvWalletSandbox_setHome",
                  "OvWalletSandbox_throwFromCalls"});
    names.erase(std::string(without));
    return names;
}

class VariantTest : public LibraryFixture {};

TEST_F(VariantTest, GoodLibraryExportsTheEntryPointsAndItsControls) {
    EXPECT_EQ(exportsOf(pathname_), expectedExports());
}

TEST_F(VariantTest, MissingVariantsLackOneEntryPointEach) {
    EXPECT_EQ(exportsOf(libraryPathname(variantBase("missing-getversion"))),
              expectedExports("OvWallet_getVersion"));
    EXPECT_EQ(exportsOf(libraryPathname(variantBase("missing-first"))),
              expectedExports(kEntryPointNames.front()));
    EXPECT_EQ(exportsOf(libraryPathname(variantBase("missing-last"))),
              expectedExports(kEntryPointNames.back()));
    EXPECT_EQ(exportsOf(libraryPathname(variantBase("throwing"))), expectedExports());
}

TEST_F(VariantTest, VariantThatLacksAnEntryPointWorksOtherwise) {
    writeText(directory_ / "strings", "a\t1\n");
    const LoadedSandbox library(libraryPathname(variantBase("missing-getversion")));
    EXPECT_EQ(library.OvWallet_getVersion, nullptr);
    Wallet* const wallet = library.newWallet();
    EXPECT_EQ(library.value(wallet, "a"), "1");
    library.OvWallet_freeV1(wallet);
}

TEST_F(VariantTest, EveryInstallationHasTheSameDirectoriesAndPrograms) {
    for (const std::string& base :
         {std::string(OVWALLET_SANDBOX_BASE), variantBase("missing-getversion"),
          variantBase("missing-first"), variantBase("missing-last"), variantBase("text-file"),
          variantBase("throwing"), variantBase("no-library")}) {
        EXPECT_TRUE(std::filesystem::is_empty(base + "/orvanta/client/ovwallet")) << base;
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(platformDirectory(base))) {
            names.insert(entry.path().filename());
        }
        std::set<std::string> expected = {"libovwallet.so", "ovwallet", "ovwhelper.exe"};
        if (base == variantBase("no-library")) {
            expected.erase("libovwallet.so");
        }
        EXPECT_EQ(names, expected) << base;
        EXPECT_EQ(runProcess({platformDirectory(base) + "/ovwhelper.exe"}, {}),
                  (Outcome{0,
                           "ovwhelper.exe: the sandbox wallet's helper; it has nothing to help "
                           "with.\n",
                           ""}));
        EXPECT_EQ(runProcess({platformDirectory(base) + "/ovwallet", "list"},
                             {"OVWALLET_SANDBOX_HOME=" + directory_.pathname()}),
                  (Outcome{0, "", ""}));
    }
}

TEST_F(VariantTest, TextFileIsThereAndCannotBeLoaded) {
    const std::string pathname = libraryPathname(variantBase("text-file"));
    EXPECT_EQ(readText(pathname),
              "This is a text, not a library: the dynamic loader refuses it. It is longer than an "
              "ELF header.\n");
    EXPECT_EQ(::dlopen(pathname.c_str(), RTLD_LAZY), nullptr);
    EXPECT_EQ(::dlerror(), pathname + ": invalid ELF header");
}

TEST_F(VariantTest, ThrowingVariantThrowsFromFetchingAndFromNothingElse) {
    writeText(directory_ / "strings", "a\t1\n");
    const LoadedSandbox library(libraryPathname(variantBase("throwing")));
    Wallet* const wallet = library.newWallet();
    LockedUTF8Vector* value = nullptr;
    try {
        library.OvWallet_getStringValue(wallet, "a", &value);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "the client library threw");
    }
    UTF8Vector* version = nullptr;
    EXPECT_EQ(library.OvWallet_getVersion(wallet, &version), nullptr);
    library.OvWallet_freeUTF8Vector(version);
    EXPECT_EQ(library.throwFromCalls("OvWallet_getVersion", 2), 0);
    EXPECT_EQ(thrownBy([&] { library.OvWallet_getVersion(wallet, &version); }), "something else");
    library.OvWallet_freeV1(wallet);
}

}  // namespace

}  // namespace Orvanta_OvWallet::Sandbox
