#include "wallet/LibraryLoaderBase.h"

#include <dlfcn.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utf8.h>

#include "doubles/ClientLibraryDouble.h"
#include "doubles/FailingHeap.h"
#include "doubles/PrivateModuleDir.h"
#include "doubles/SystemCalls.h"
#include "doubles/TemporaryDirectory.h"
#include "doubles/thrown.h"
#include "session/ModuleLocator.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet::PrivateStuff {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

constexpr const char* kOpen = "dlopen /14.10/ovwallet/redhatlinux-x8664/libovwallet.so";

// A table of two entry points.
class SmallTable : public LibraryLoaderBase_t<SmallTable> {
  public:
    void resolveEntryPoints() {
        resolve("OvWallet_freeV1", 1, first);
        resolve("OvWallet_freeError", 2, second);
    }

    void (*first)(Wallet*) = nullptr;
    void (*second)(WalletError*) = nullptr;
};

class LibraryLoader : public testing::Test {
  protected:
    ClientLibraryDouble library_;
    SmallTable table_;
};

TEST_F(LibraryLoader, StartsClosedWithoutAPathname) {
    EXPECT_EQ(table_.path(), "");
    EXPECT_TRUE(table_.useCount().isZero());
    EXPECT_EQ(table_.first, nullptr);
}

TEST_F(LibraryLoader, OpensTheLibraryAndResolvesTheTableOnTheFirstUse) {
    table_.load();
    EXPECT_THAT(library_.takeEvents(), ElementsAre(kOpen));
    EXPECT_THAT(library_.resolved(), ElementsAre("OvWallet_freeV1", "OvWallet_freeError"));
    EXPECT_EQ(table_.path(), ClientLibraryDouble::kPath);
    EXPECT_TRUE(table_.useCount().isOne());
    table_.first(nullptr);
    table_.second(nullptr);
    EXPECT_THAT(library_.takeEvents(),
                ElementsAre("call OvWallet_freeV1(0x0)", "call OvWallet_freeError(0x0)"));
}

TEST_F(LibraryLoader, BindsLazily) {
    int openMode = -1;
    systemCalls().dlopen = [&](const char*, int mode) {
        openMode = mode;
        return ClientLibraryDouble::handle();
    };
    table_.load();
    EXPECT_EQ(openMode, RTLD_LAZY);
}

TEST_F(LibraryLoader, OpensOnceAndClosesOnceForTwoUses) {
    table_.load();
    table_.load();
    table_.release();
    EXPECT_TRUE(table_.useCount().isOne());
    EXPECT_THAT(library_.takeEvents(), ElementsAre(kOpen));
    table_.release();
    EXPECT_THAT(library_.takeEvents(), ElementsAre("dlclose"));
    EXPECT_TRUE(table_.useCount().isZero());
}

TEST_F(LibraryLoader, ResolvesEverythingAfreshAfterTheLastRelease) {
    table_.load();
    void (*const before)(Wallet*) = table_.first;
    table_.release();
    EXPECT_EQ(table_.first, before) << "the table is not cleared";
    static char elsewhere;
    std::vector<std::string> names;
    systemCalls().dlsym = [&](void*, const char* name) -> void* {
        names.push_back(name);
        return &elsewhere;
    };
    library_.takeEvents();
    table_.load();
    EXPECT_THAT(library_.takeEvents(), ElementsAre(kOpen));
    EXPECT_THAT(names, ElementsAre("OvWallet_freeV1", "OvWallet_freeError"));
    EXPECT_NE(table_.first, before);
}

TEST_F(LibraryLoader, FindsThePathnameAfreshAfterTheLastRelease) {
    table_.load();
    table_.release();
    systemCalls().realpath = [](const char*, char* buffer) {
        return std::strcpy(buffer, "/moved/libovwallet.so");
    };
    library_.takeEvents();
    table_.load();
    EXPECT_THAT(library_.takeEvents(), ElementsAre("dlopen /moved/libovwallet.so"));
    EXPECT_EQ(table_.path(), "/moved/libovwallet.so");
}

TEST_F(LibraryLoader, ResolvesThePathnameBeforeOpening) {
    std::vector<std::string> resolved;
    systemCalls().realpath = [&](const char* path, char* buffer) {
        resolved.push_back(path);
        return std::strcpy(buffer, "/canonical");
    };
    table_.load();
    EXPECT_THAT(resolved, ElementsAre(ClientLibraryDouble::kPath));
    EXPECT_THAT(library_.takeEvents(), ElementsAre("dlopen /canonical"));
}

TEST_F(LibraryLoader, AsksForTheLoadersReasonBeforeItLooksForTheFile) {
    systemCalls().access = [this](const char* path, int mode) {
        library_.note(std::string("access ") + path + " " + std::to_string(mode));
        return -1;
    };
    library_.openFailures = 1;
    EXPECT_EQ(thrownBy<NotInstalledException>([&] { table_.load(); }),
              "Orvanta Wallet 14.10 is not installed (cannot access "
              "\"/14.10/ovwallet/redhatlinux-x8664/libovwallet.so\")");
    EXPECT_THAT(
        library_.takeEvents(),
        ElementsAre(kOpen, "dlerror", "access /14.10/ovwallet/redhatlinux-x8664/libovwallet.so 0"));
    EXPECT_TRUE(table_.useCount().isZero());
}

TEST_F(LibraryLoader, ReportsALibraryThatIsThereButCannotBeOpened) {
    systemCalls().access = [](const char*, int) { return 0; };
    library_.openFailures = 1;
    library_.reason = "it is 100%s wrong";
    EXPECT_EQ(thrownBy<OvWalletException>([&] { table_.load(); }),
              "Cannot load the \"/14.10/ovwallet/redhatlinux-x8664/libovwallet.so\" library "
              "because: it is 100%s wrong");
    EXPECT_TRUE(table_.useCount().isZero());
    EXPECT_TRUE(library_.resolved().empty());
}

TEST_F(LibraryLoader, LeavesTheReasonOutWhenTheLoaderTellsNone) {
    systemCalls().access = [](const char*, int) { return 0; };
    library_.openFailures = 1;
    library_.reason = nullptr;
    EXPECT_EQ(thrownBy<OvWalletException>([&] { table_.load(); }),
              "Cannot load the \"/14.10/ovwallet/redhatlinux-x8664/libovwallet.so\" library");
}

TEST_F(LibraryLoader, WorksAfterAFailedLoad) {
    library_.openFailures = 1;
    EXPECT_THROW(table_.load(), NotInstalledException);
    table_.load();
    EXPECT_TRUE(table_.useCount().isOne());
    EXPECT_NE(table_.first, nullptr);
}

TEST_F(LibraryLoader, ClosesTheHandleWhenAnEntryPointIsMissing) {
    library_.missing = "OvWallet_freeV1";
    EXPECT_EQ(thrownBy<OvWalletException>([&] { table_.load(); }),
              "Cannot find the \"OvWallet_freeV1\" function in the "
              "\"/14.10/ovwallet/redhatlinux-x8664/libovwallet.so\" library because: why");
    EXPECT_THAT(library_.takeEvents(), ElementsAre(kOpen, "dlerror", "dlclose"));
    EXPECT_THAT(library_.resolved(), ElementsAre("OvWallet_freeV1"));
    EXPECT_TRUE(table_.useCount().isZero());
}

TEST_F(LibraryLoader, ReportsAFailingCloseInPlaceOfTheMissingEntryPoint) {
    library_.missing = "OvWallet_freeError";
    library_.closeFailures = 1;
    EXPECT_EQ(thrownBy<OvWalletException>([&] { table_.load(); }),
              "Cannot unload the \"/14.10/ovwallet/redhatlinux-x8664/libovwallet.so\" library "
              "because: why");
    EXPECT_THAT(library_.takeEvents(), ElementsAre(kOpen, "dlerror", "dlclose", "dlerror"));
    EXPECT_TRUE(table_.useCount().isZero());
}

TEST_F(LibraryLoader, ReportsAFailingCloseAndDropsTheUseAllTheSame) {
    table_.load();
    library_.closeFailures = 1;
    library_.reason = nullptr;
    EXPECT_EQ(thrownBy<OvWalletException>([&] { table_.release(); }),
              "Cannot unload the \"/14.10/ovwallet/redhatlinux-x8664/libovwallet.so\" library");
    EXPECT_TRUE(table_.useCount().isZero());
}

TEST_F(LibraryLoader, ClosesTheHandleWhenTheReasonIsNotUtf8) {
    library_.missing = "OvWallet_freeV1";
    library_.reason = "\xff";
    EXPECT_THROW(table_.load(), utf8::invalid_utf8);
    EXPECT_THAT(library_.takeEvents(), ElementsAre(kOpen, "dlerror", "dlclose"));
    EXPECT_TRUE(table_.useCount().isZero());
}

TEST_F(LibraryLoader, ClosesNothingWhenItIsDestroyed) {
    {
        SmallTable table;
        table.load();
        library_.takeEvents();
    }
    EXPECT_THAT(library_.takeEvents(), ElementsAre());
}

TEST_F(LibraryLoader, PassesOnWhyTheClientDirectoryIsNotFound) {
    moduleLocationEnabled = true;
    std::string directory = privateModuleDir();
    directory.pop_back();
    EXPECT_EQ(thrownBy<OvWalletException>([&] { table_.load(); }),
              "The ovwalletdir symbolic link is not present in \"" + directory + "\".");
    EXPECT_THAT(library_.takeEvents(), ElementsAre());
    EXPECT_TRUE(table_.useCount().isZero());
}

TEST_F(LibraryLoader, OpensTheLibraryBelowTheClientDirectoryByItsCanonicalPathname) {
    const TemporaryDirectory base;
    const std::string real = base / "elsewhere/libovwallet.so";
    writeFile(real, "");
    const fs::path directory = base / "orvanta/client/14.10/ovwallet/redhatlinux-x8664";
    fs::create_directories(directory);
    fs::create_directories(base / "orvanta/client/ovwallet");
    fs::create_symlink(real, directory / "libovwallet.so");
    linkInstallation(base.pathname());
    moduleLocationEnabled = true;
    table_.load();
    EXPECT_THAT(library_.takeEvents(), ElementsAre("dlopen " + real));
    EXPECT_EQ(table_.path(), real);
}

TEST_F(LibraryLoader, NamesTheComposedPathnameWhenTheLibraryIsMissing) {
    const TemporaryDirectory base;
    fs::create_directories(base / "orvanta/client/ovwallet");
    linkInstallation(base.pathname());
    moduleLocationEnabled = true;
    library_.openFailures = 1;
    EXPECT_EQ(thrownBy<NotInstalledException>([&] { table_.load(); }),
              "Orvanta Wallet 14.10 is not installed (cannot access \"" + base.pathname() +
                  "/orvanta/client/14.10/ovwallet/redhatlinux-x8664/libovwallet.so\")");
    EXPECT_TRUE(table_.useCount().isZero());
}

TEST_F(LibraryLoader, StaysClosedAndLeaksNothingWheneverAnAllocationFails) {
    int open = 0;
    systemCalls().dlopen = [&](const char*, int) {
        ++open;
        return ClientLibraryDouble::handle();
    };
    systemCalls().dlclose = [&](void*) {
        --open;
        return 0;
    };
    static char address;
    systemCalls().dlsym = [](void*, const char*) -> void* { return &address; };
    table_.load();  // what is made once per process is made now
    table_.release();
    for (std::uint64_t k = 1;; ++k) {
        const std::int64_t before = FailingHeap::liveAllocations();
        bool failed = false;
        try {
            const FailingHeap heap(k);
            table_.load();
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        if (!failed) {
            EXPECT_GT(k, 1U);
            break;
        }
        EXPECT_TRUE(table_.useCount().isZero()) << k;
        EXPECT_EQ(open, 0) << k;
        EXPECT_LE(FailingHeap::liveAllocations(), before) << k;
    }
    EXPECT_TRUE(table_.useCount().isOne());
    EXPECT_EQ(open, 1);
}

TEST_F(LibraryLoader, KeepsItsMessageTemplatesApartFromWhatIsInserted) {
    library_.reason = "%s %d";
    EXPECT_EQ(loaderMessage("A \"%s\" B%s", "/a%sb"), "A \"/a%sb\" B because: %s %d");
}

}  // namespace
}  // namespace Orvanta_OvWallet::PrivateStuff
