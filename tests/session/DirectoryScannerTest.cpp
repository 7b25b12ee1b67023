#include "session/DirectoryScanner.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "doubles/FailingHeap.h"
#include "doubles/ProcessLockDouble.h"
#include "doubles/SystemCalls.h"
#include "doubles/TemporaryDirectory.h"
#include "doubles/thrown.h"
#include "support/OvWalletException.h"
#include "wallet/ProcessLock.h"

namespace Orvanta_OvWallet {
namespace {

using Names = std::set<std::string>;
using testing::ElementsAre;

constexpr const char* kCannotLock = "Cannot lock mutex (errno = Invalid argument).";

std::string failureOfScanning(Names& names, const std::string& directory) {
    return thrownBy<OvWalletException>([&] { DirectoryScanner(names, directory); });
}

// Scans a directory whose system calls are replaced: it holds the entries that a test gives it, and
// every call on it is noted in order, what happens to ProcessLock among them.
class DirectoryScannerTest : public testing::Test {
  protected:
    DirectoryScannerTest() {
        systemCalls().opendir = [this](const char* path) {
            calls_.push_back(std::string("opendir ") + path);
            return real::opendir("/");
        };
        systemCalls().readdir = [this](DIR*) { return nextEntry(); };
        systemCalls().closedir = [this](DIR* stream) {
            calls_.push_back("closedir");
            real::closedir(stream);
            errno = closeError_;
            return closeError_ == 0 ? 0 : -1;
        };
        systemCalls().syslog = [this](int priority, const char* text) {
            calls_.push_back("syslog " + std::to_string(priority) + " " + text);
        };
        lock_.note = [this](const std::string& event) { calls_.push_back(event); };
    }
    ~DirectoryScannerTest() override { systemCalls() = SystemCalls{}; }

    std::string scan() { return failureOfScanning(names_, "/some/directory"); }

    ProcessLockDouble lock_;
    std::vector<std::string> calls_;
    std::vector<std::string> entries_;
    int readError_ = 0;  // after the last entry
    int closeError_ = 0;
    Names names_{"before"};

  private:
    dirent* nextEntry() {
        calls_.push_back("readdir");
        EXPECT_EQ(errno, 0) << "errno is cleared before each read";
        if (next_ == entries_.size()) {
            errno = readError_;
            return nullptr;
        }
        std::strcpy(entry_.d_name, entries_[next_++].c_str());
        errno = EOVERFLOW;  // means nothing after a successful read
        return &entry_;
    }

    std::size_t next_ = 0;
    dirent entry_{};
};

TEST(DirectoryScanner, GivesOnlyTheTwoStandardNamesForAnEmptyDirectory) {
    const TemporaryDirectory directory;
    Names names;
    DirectoryScanner(names, directory.pathname());
    EXPECT_THAT(names, ElementsAre(".", ".."));
}

TEST(DirectoryScanner, GivesEveryKindOfEntryInAscendingByteOrder) {
    const TemporaryDirectory directory;
    for (const char* name : {"b", "a", ".hidden", "B", "\xc3\xa4", "a\nb", "10", "9"}) {
        writeFile(directory / name, "");
    }
    std::filesystem::create_directory(directory / "directory");
    std::filesystem::create_symlink("nowhere", directory / "link");
    Names names;
    DirectoryScanner(names, directory.pathname());
    EXPECT_THAT(names, ElementsAre(".", "..", ".hidden", "10", "9", "B", "a", "a\nb", "b",
                                   "directory", "link", "\xc3\xa4"));
}

TEST(DirectoryScanner, ThrowsForAMissingDirectoryAndLeavesTheNamesUntouched) {
    const TemporaryDirectory directory;
    Names names{"before"};
    EXPECT_EQ(failureOfScanning(names, directory / "missing"),
              "Cannot open directory \"" + (directory / "missing") +
                  "\" (errno = No such file or directory)");
    EXPECT_THAT(names, ElementsAre("before"));
}

TEST(DirectoryScanner, ThrowsForAPlainFile) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "");
    Names names;
    EXPECT_EQ(failureOfScanning(names, directory / "file"),
              "Cannot open directory \"" + (directory / "file") + "\" (errno = Not a directory)");
}

TEST_F(DirectoryScannerTest, ReadsUnderTheLockAndClosesAfterIt) {
    entries_ = {"b", "a"};
    EXPECT_EQ(scan(), "nothing");
    EXPECT_THAT(calls_, ElementsAre("opendir /some/directory", "lock", "readdir", "readdir",
                                    "readdir", "unlock", "closedir"));
    EXPECT_THAT(names_, ElementsAre("a", "b", "before"));
}

TEST_F(DirectoryScannerTest, SortsWhateverTheOrderOfTheStream) {
    entries_ = {"ovwallet9", "ovwallet", "ovwallet10", "Z"};
    names_.clear();
    EXPECT_EQ(scan(), "nothing");
    EXPECT_THAT(names_, ElementsAre("Z", "ovwallet", "ovwallet10", "ovwallet9"));
}

TEST_F(DirectoryScannerTest, ThrowsForAnUnreadableDirectoryWithTheErrnoOfOpening) {
    systemCalls().opendir = [this](const char* path) -> DIR* {
        calls_.push_back(std::string("opendir ") + path);
        errno = EACCES;
        return nullptr;
    };
    EXPECT_EQ(scan(), "Cannot open directory \"/some/directory\" (errno = Permission denied)");
    EXPECT_THAT(calls_, ElementsAre("opendir /some/directory"));
    EXPECT_THAT(names_, ElementsAre("before"));
}

TEST_F(DirectoryScannerTest, EmptiesTheNamesWhenReadingFails) {
    entries_ = {"a"};
    readError_ = EIO;
    EXPECT_EQ(scan(), "An attempt to read a directory failed (errno = Input/output error)");
    EXPECT_THAT(calls_, ElementsAre("opendir /some/directory", "lock", "readdir", "readdir",
                                    "unlock", "closedir"));
    EXPECT_THAT(names_, ElementsAre());
}

TEST_F(DirectoryScannerTest, LogsAFailingCloseAndSucceeds) {
    entries_ = {"a"};
    closeError_ = EIO;
    EXPECT_EQ(scan(), "nothing");
    EXPECT_EQ(LOG_WARNING, 4);
    EXPECT_EQ(calls_.back(),
              "syslog 4 An attempt to close a directory stream failed (errno = Input/output "
              "error).");
    EXPECT_THAT(names_, ElementsAre("a", "before"));
}

TEST_F(DirectoryScannerTest, ThrowsTheFirstFailureWhenReadingAndClosingFail) {
    readError_ = EIO;
    closeError_ = EBADF;
    EXPECT_EQ(scan(), "An attempt to read a directory failed (errno = Input/output error)");
    EXPECT_THAT(calls_,
                ElementsAre("opendir /some/directory", "lock", "readdir", "unlock", "closedir",
                            "syslog 4 An attempt to close a directory stream failed "
                            "(errno = Bad file descriptor)."));
    EXPECT_THAT(names_, ElementsAre());
}

TEST_F(DirectoryScannerTest, ClosesTheStreamWhenTheLockCannotBeTaken) {
    lock_.failCall("lock guard");
    EXPECT_EQ(scan(), kCannotLock);
    EXPECT_THAT(calls_, ElementsAre("opendir /some/directory", "lock fails", "closedir"));
    EXPECT_THAT(names_, ElementsAre());
}

TEST_F(DirectoryScannerTest, EmptiesTheNamesWhenTheLockCannotBeReleased) {
    entries_ = {"a"};
    lock_.failCall("lock guard", 3);  // two take the lock
    EXPECT_EQ(scan(), kCannotLock);
    EXPECT_THAT(calls_, ElementsAre("opendir /some/directory", "lock", "readdir", "readdir",
                                    "lock fails", "closedir"));
    EXPECT_THAT(names_, ElementsAre());
}

TEST_F(DirectoryScannerTest, ThrowsTheReadFailureWhenTheLockCannotBeReleasedEither) {
    readError_ = EIO;
    lock_.failCall("lock guard", 3);
    EXPECT_EQ(scan(), "An attempt to read a directory failed (errno = Input/output error)");
}

TEST_F(DirectoryScannerTest, MayBeUsedByAThreadThatHoldsTheLock) {
    entries_ = {"a"};
    const ProcessLockGuard lock;
    calls_.clear();
    EXPECT_EQ(scan(), "nothing");
    EXPECT_THAT(calls_, ElementsAre("opendir /some/directory", "readdir", "readdir", "closedir"));
}

TEST_F(DirectoryScannerTest, KeepsToItselfThatACloseFailureCannotBeLoggedForWantOfMemory) {
    closeError_ = EIO;
    systemCalls().closedir = [](DIR* stream) {
        real::closedir(stream);
        static FailingHeap heap(1);
        errno = EIO;
        return -1;
    };
    EXPECT_EQ(scan(), "nothing");
    EXPECT_THAT(names_, ElementsAre("before"));
}

TEST(DirectoryScannerUnderMemoryPressure, ClosesTheStreamAndReleasesTheLock) {
    const TemporaryDirectory directory;
    writeFile(directory / "a name that is too long for the small string optimisation", "");
    int open = 0;
    systemCalls().opendir = [&](const char* path) {
        ++open;
        return real::opendir(path);
    };
    systemCalls().closedir = [&](DIR* stream) {
        --open;
        return real::closedir(stream);
    };
    Names names;
    // The lock keeps what it needed to be taken for the first time.
    ProcessLock::lock();
    ProcessLock::unlock();
    for (std::uint64_t k = 1;; ++k) {
        names.clear();
        const std::int64_t before = FailingHeap::liveAllocations();
        bool failed = false;
        try {
            const FailingHeap heap(k);
            DirectoryScanner(names, directory.pathname());
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        EXPECT_EQ(open, 0) << k;
        if (!failed) {
            EXPECT_GT(k, 3U);
            break;
        }
        EXPECT_TRUE(names.empty()) << k;
        EXPECT_LE(FailingHeap::liveAllocations(), before) << k;
    }
    EXPECT_EQ(names.size(), 3U);
    std::thread([] { const ProcessLockGuard lockIsFree; }).join();
}

TEST(DirectoryScannerInManyThreads, GivesEachThreadItsNames) {
    const TemporaryDirectory directory;
    writeFile(directory / "a", "");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                Names names;
                DirectoryScanner(names, directory.pathname());
                EXPECT_EQ(names, (Names{".", "..", "a"}));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
}  // namespace Orvanta_OvWallet
