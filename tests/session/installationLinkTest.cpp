#include "session/installationLink.h"

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utf8.h>

#include "doubles/ConnectorJob.h"
#include "doubles/ProcessLockDouble.h"
#include "doubles/StrictJni.h"
#include "doubles/SystemCalls.h"
#include "doubles/TemporaryDirectory.h"
#include "doubles/thrown.h"
#include "session/OperatingSystemDouble.h"
#include "session/installationSearch.h"
#include "support/OvWalletException.h"
#include "wallet/ProcessLock.h"

namespace Orvanta_OvWallet {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::SizeIs;

constexpr const char* kNotInstalled =
    "The Orvanta Wallet software is not installed; install version 14.10 of the Orvanta Wallet "
    "software (available from https://downloads.orvanta.example/ovwallet) in order to use Orvanta "
    "Wallet.";

// A machine without a command link, with one package record.
class InstallationLink : public testing::Test {
  protected:
    InstallationLink() {
        fs::create_directories(base_);
        writeFile(system_.root / "var/lib/rpm/ovwallet1410/inst.dir", base_ + "\n");
    }

    // The text of the failure, or "nothing".
    std::string establish(const std::optional<std::string>& tempDir) {
        StrictJni jvm;
        ConnectorJob job(jvm);
        std::string failure;
        const std::string pending = jvm.inNativeFrame([&] {
            failure = thrownBy<OvWalletException>([&] {
                establishInstallationLink(jvm.env(), job.stringReference(tempDir, "tempDir"));
            });
        });
        EXPECT_EQ(pending, "");
        jniCalls_ = jvm.takeCalls();
        return failure;
    }
    static void link(const std::string& tempDir) {
        createLink(plannedLink(tempDir, findInstallation(kCommandLink, kPackageDatabase)));
    }
    static std::string create(const std::string& tempDir) {
        return thrownBy<OvWalletException>([&] { link(tempDir); });
    }

    std::string target() const { return base_ + "/orvanta/client/ovwallet"; }
    std::string symlinkCall() const {
        return "symlink " + target() + " " + tempDir_.pathname() + "/ovwalletdir";
    }

    OperatingSystemDouble system_;
    const TemporaryDirectory tempDir_;
    const std::string base_ = system_.root / "base";
    std::vector<std::string> jniCalls_;
};

TEST_F(InstallationLink, LeadsToTheWalletDirectory) {
    EXPECT_EQ(create(tempDir_ / ""), "nothing");
    EXPECT_EQ(fs::read_symlink(tempDir_ / "ovwalletdir"), target());
    EXPECT_THAT(system_.takeCalls(),
                ElementsAre("readlink /usr/bin/ovwallet", "opendir /var/lib/rpm",
                            "fopen /var/lib/rpm/ovwallet1410/inst.dir", symlinkCall()));
}

TEST_F(InstallationLink, LeadsThroughTheRootWhenTheCommandIsAFileInItsDirectory) {
    writeFile(system_.root / "usr/bin/ovwallet", "");
    EXPECT_EQ(create(tempDir_ / ""), "nothing");
    EXPECT_THAT(fs::read_symlink(tempDir_ / "ovwalletdir").string(),
                testing::AnyOf("//orvanta/client/ovwallet", "/orvanta/client/ovwallet"));
}

TEST_F(InstallationLink, LiesBesideADirectoryThatIsNamedWithoutASlash) {
    EXPECT_EQ(create(tempDir_ / "private"), "nothing");
    EXPECT_EQ(fs::read_symlink(tempDir_ / "privateovwalletdir"), target());
}

TEST_F(InstallationLink, LiesInADirectoryOfAnyName) {
    for (const char* name : {"gr\xC3\xBC\xC3\x9F", "100%s %d%", "\xF0\x9F\x98\x80"}) {
        fs::create_directory(tempDir_ / name);
        EXPECT_EQ(create(tempDir_ / name + "/"), "nothing");
        EXPECT_EQ(fs::read_symlink(tempDir_ / name + "/ovwalletdir"), target());
        EXPECT_EQ(create(tempDir_ / name + "/"), "An attempt to create a symbolic link named " +
                                                     (tempDir_ / name) +
                                                     "/ovwalletdir failed (errno = File exists)");
    }
}

// The JVM tells a character beyond the basic plane as two surrogates of three bytes each.
TEST_F(InstallationLink, LiesInADirectoryThatTheJvmTellsInItsOwnForm) {
    const std::string directory = tempDir_ / "\xED\xA0\xBD\xED\xB8\x80/";
    EXPECT_THROW(link(directory), utf8::invalid_code_point) << "there is no such directory";
    fs::create_directory(directory);
    EXPECT_EQ(create(directory), "nothing");
    EXPECT_EQ(fs::read_symlink(directory + "ovwalletdir"), target());
}

TEST_F(InstallationLink, CutsATargetAtANul) {
    writeFile(system_.root / "var/lib/rpm/ovwallet1410/inst.dir",
              base_ + std::string("\0ment\n", 6));
    EXPECT_EQ(create(tempDir_ / ""), "nothing");
    EXPECT_EQ(fs::read_symlink(tempDir_ / "ovwalletdir"), base_);
}

TEST_F(InstallationLink, IsNotPutInPlaceOfAnExistingEntry) {
    writeFile(tempDir_ / "ovwalletdir", "");
    const std::string linkName = tempDir_ / "ovwalletdir";
    EXPECT_EQ(create(tempDir_ / ""), "An attempt to create a symbolic link named " + linkName +
                                         " failed (errno = File exists)");
    EXPECT_TRUE(fs::is_regular_file(linkName));
}

TEST_F(InstallationLink, CannotBeMadeInAMissingDirectory) {
    const std::string linkName = tempDir_ / "missing/ovwalletdir";
    EXPECT_EQ(create(tempDir_ / "missing/"), "An attempt to create a symbolic link named " +
                                                 linkName +
                                                 " failed (errno = No such file or directory)");
}

TEST_F(InstallationLink, IsEstablishedOncePerProcess) {
    EXPECT_EQ(establish(tempDir_ / ""), "nothing");
    EXPECT_THAT(system_.takeCalls(), SizeIs(4));
    EXPECT_THAT(jniCalls_,
                ElementsAre("GetStringUTFChars(tempDir, null)", "ReleaseStringUTFChars(tempDir)"));
    fs::remove_all(system_.root / "var");
    fs::remove(tempDir_ / "ovwalletdir");
    EXPECT_EQ(establish(tempDir_ / "elsewhere/"), "nothing");
    EXPECT_EQ(establish(std::nullopt), "nothing");
    EXPECT_THAT(system_.takeCalls(), ElementsAre());
    EXPECT_THAT(jniCalls_, ElementsAre());
}

TEST_F(InstallationLink, ReleasesTheCharactersBeforeItSearches) {
    StrictJni jvm;
    ConnectorJob job(jvm);
    jvm.onCall = [&](const std::string& call) { system_.note(call); };
    jvm.inNativeFrame([&] {
        establishInstallationLink(jvm.env(), job.stringReference(tempDir_ / "", "tempDir"));
    });
    const std::vector<std::string> calls = system_.takeCalls();
    ASSERT_THAT(calls, SizeIs(6));
    EXPECT_EQ(calls[1], "ReleaseStringUTFChars(tempDir)");
    EXPECT_EQ(calls[2], "readlink /usr/bin/ovwallet");
    EXPECT_EQ(calls[5], symlinkCall());
}

TEST_F(InstallationLink, IsNotEstablishedForANullPathname) {
    EXPECT_EQ(establish(std::nullopt),
              "Cannot retrieve the pathname to the private temporary directory.");
    EXPECT_THAT(jniCalls_, ElementsAre());
    EXPECT_THAT(system_.takeCalls(), ElementsAre());
}

TEST_F(InstallationLink, IsNotEstablishedForAPathnameThatTheJvmCannotTell) {
    StrictJni jvm;
    ConnectorJob job(jvm);
    std::string failure;
    const std::string pending = jvm.inNativeFrame([&] {
        jvm.failCall(1);
        failure = thrownBy<OvWalletException>([&] {
            establishInstallationLink(jvm.env(), job.stringReference(tempDir_ / "", "tempDir"));
        });
    });
    EXPECT_EQ(failure, "Cannot retrieve the pathname to the private temporary directory.");
    EXPECT_EQ(pending, "java/lang/OutOfMemoryError: Java heap space");
    EXPECT_THAT(jvm.calls(), ElementsAre("GetStringUTFChars(tempDir, null)"));
}

TEST_F(InstallationLink, IsTriedAgainAfterEveryFailure) {
    fs::rename(system_.root / "var", system_.root / "away");
    EXPECT_EQ(establish(tempDir_ / ""),
              "Cannot open directory \"/var/lib/rpm\" (errno = No such file or directory)");
    fs::create_directories(system_.root / "var/lib/rpm");
    EXPECT_EQ(establish(tempDir_ / ""), kNotInstalled);
    fs::remove_all(system_.root / "var");
    fs::rename(system_.root / "away", system_.root / "var");
    writeFile(tempDir_ / "ovwalletdir", "");
    EXPECT_EQ(establish(tempDir_ / ""), "An attempt to create a symbolic link named " +
                                            (tempDir_ / "ovwalletdir") +
                                            " failed (errno = File exists)");
    fs::remove(tempDir_ / "ovwalletdir");
    system_.takeCalls();
    EXPECT_EQ(establish(tempDir_ / ""), "nothing");
    EXPECT_THAT(system_.takeCalls(), SizeIs(4));
    EXPECT_EQ(establish(tempDir_ / ""), "nothing");
    EXPECT_THAT(system_.takeCalls(), ElementsAre());
}

TEST_F(InstallationLink, SavesTheErrnoOfTheLinkBeforeAnythingElse) {
    systemCalls().symlink = [](const char*, const char*) {
        errno = EROFS;
        return -1;
    };
    systemCalls().strerror_r = [](int errnum, char* buffer, std::size_t size) {
        char* const text = real::strerror_r(errnum, buffer, size);
        errno = EIO;
        return text;
    };
    EXPECT_EQ(create("/t/"),
              "An attempt to create a symbolic link named /t/ovwalletdir failed "
              "(errno = Read-only file system)");
}

TEST_F(InstallationLink, IsEstablishedUnderTheLockWhichIsFreeAfterwards) {
    const ProcessLockDouble lock;
    const auto symlink = systemCalls().symlink;
    systemCalls().symlink = [&](const char* linkTarget, const char* path) {
        EXPECT_TRUE(lock.isHeld());
        return symlink(linkTarget, path);
    };
    writeFile(tempDir_ / "ovwalletdir", "");
    EXPECT_NE(establish(tempDir_ / ""), "nothing");
    EXPECT_FALSE(lock.isHeld());
    fs::remove(tempDir_ / "ovwalletdir");
    EXPECT_EQ(establish(tempDir_ / ""), "nothing");
    EXPECT_FALSE(lock.isHeld());
}

TEST_F(InstallationLink, IsNotEstablishedWithoutTheLock) {
    ProcessLockDouble lock;
    lock.failCall("lock guard");
    EXPECT_EQ(establish(tempDir_ / ""), "Cannot lock mutex (errno = Invalid argument).");
    EXPECT_THAT(jniCalls_, ElementsAre());
}

TEST_F(InstallationLink, IsEstablishedByOneOfManyThreads) {
    // All threads are past the first look at the flag before one of them gets the lock.
    ProcessLockDouble lock;
    ProcessLock::lock();
    std::atomic<int> waiting = 0;
    lock.onCall = [&](const std::string& call) { waiting += call == "lock hold" ? 1 : 0; };
    std::vector<std::thread> threads;
    std::atomic<int> failures = 0;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            StrictJni jvm;
            ConnectorJob job(jvm);
            jvm.inNativeFrame([&] {
                failures += thrownBy<OvWalletException>([&] {
                                establishInstallationLink(
                                    jvm.env(), job.stringReference(tempDir_ / "", "tempDir"));
                            }) == "nothing"
                                ? 0
                                : 1;
            });
        });
    }
    while (waiting < 4) {
        std::this_thread::yield();
    }
    ProcessLock::unlock();
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
    EXPECT_THAT(system_.takeCalls(), SizeIs(4));
}

TEST_F(InstallationLink, IsKnownToAThreadThatNothingElseTellsOfIt) {
    // Relaxed: the flag of the link itself is all that orders the two threads.
    std::atomic<bool> established = false;
    std::string failure = "not called";
    std::thread other([&] {
        while (!established.load(std::memory_order_relaxed)) {
            std::this_thread::yield();
        }
        StrictJni jvm;
        failure =
            thrownBy<OvWalletException>([&] { establishInstallationLink(jvm.env(), nullptr); });
    });
    EXPECT_EQ(establish(tempDir_ / ""), "nothing");
    established.store(true, std::memory_order_relaxed);
    other.join();
    EXPECT_EQ(failure, "nothing");
}

}  // namespace
}  // namespace Orvanta_OvWallet
