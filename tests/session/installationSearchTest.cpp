#include "session/installationSearch.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "doubles/FailingHeap.h"
#include "doubles/SystemCalls.h"
#include "doubles/TemporaryDirectory.h"
#include "doubles/thrown.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

constexpr const char* kNotInstalled =
    "The Orvanta Wallet software is not installed; install version 14.10 of the Orvanta Wallet "
    "software (available from https://downloads.orvanta.example/ovwallet) in order to use Orvanta "
    "Wallet.";

class InstallationSearch : public testing::Test {
  protected:
    InstallationSearch() { fs::create_directory(packages_); }

    std::string find() {
        return outcomeOf<OvWalletException>([&] { return findInstallation(command_, packages_); });
    }

    void link(const std::string& target, const std::string& name) {
        fs::create_directories(fs::path(name).parent_path());
        fs::create_symlink(target, name);
    }
    void record(const std::string& name, const std::string& content) {
        writeFile(packages_ + "/" + name + "/inst.dir", content);
    }
    std::string directory(const std::string& name) {
        fs::create_directories(directory_ / name);
        return directory_ / name;
    }

    const TemporaryDirectory directory_;
    const std::string command_ = directory_ / "bin/ovwallet";
    const std::string packages_ = directory_ / "rpm";
    const std::string commandFile_ =
        directory_ / "base/orvanta/client/14.10/ovwallet/platform/ovwallet";
};

using CommandLink = InstallationSearch;

TEST_F(CommandLink, LeadsToTheDirectoryFiveLevelsAboveThatOfTheCommand) {
    writeFile(commandFile_, "");
    link(commandFile_, command_);
    EXPECT_EQ(find(), directory_ / "base");
}

TEST_F(CommandLink, IsFollowedThroughAbsoluteAndRelativeLinks) {
    writeFile(commandFile_, "");
    link(directory_ / "etc/alternatives/ovwallet", command_);
    link("../more/ovwallet", directory_ / "etc/alternatives/ovwallet");
    link("deeper/ovwallet", directory_ / "etc/more/ovwallet");
    link(commandFile_, directory_ / "etc/more/deeper/ovwallet");
    std::vector<std::string> read;
    systemCalls().readlink = [&](const char* path, char* buffer, std::size_t size) {
        read.push_back(path);
        return real::readlink(path, buffer, size);
    };
    EXPECT_EQ(find(), directory_ / "base");
    EXPECT_THAT(read,
                ElementsAre(command_, directory_ / "etc/alternatives/ovwallet",
                            directory_ / "etc/alternatives/../more/ovwallet",
                            directory_ / "etc/alternatives/../more/deeper/ovwallet", commandFile_));
}

TEST_F(CommandLink, IsFollowedThroughAnyNumberOfLinks) {
    writeFile(commandFile_, "");
    int links = 0;
    systemCalls().readlink = [&](const char* path, char* buffer, std::size_t size) {
        if (path != command_) {
            return real::readlink(path, buffer, size);
        }
        const std::string next = ++links < 10'000 ? std::string("ovwallet") : commandFile_;
        return static_cast<ssize_t>(next.copy(buffer, size));
    };
    EXPECT_EQ(find(), directory_ / "base");
    EXPECT_EQ(links, 10'000);
}

TEST_F(CommandLink, MayBeTheCommandItself) {
    writeFile(directory_ / "1/2/3/4/5/ovwallet", "");
    EXPECT_EQ(findInstallation(directory_ / "1/2/3/4/5/ovwallet", packages_),
              directory_.pathname());
}

TEST_F(CommandLink, ToAPlainFileNearTheRootGivesTheRoot) {
    EXPECT_EQ(findInstallation("/usr/bin/env", packages_), "/");
}

TEST_F(CommandLink, GivesTheUnresolvedDirectoryThatCannotBeResolved) {
    writeFile(commandFile_, "");
    link(commandFile_, command_);
    record("ovwallet1", directory("package") + "\n");
    systemCalls().realpath = [](const char*, char*) -> char* {
        errno = EACCES;
        return nullptr;
    };
    EXPECT_EQ(find(), fs::path(commandFile_).parent_path().string() + "/../../../../..")
        << "the packages are not asked any more";
}

TEST_F(CommandLink, IsPreferredToThePackages) {
    writeFile(commandFile_, "");
    link(commandFile_, command_);
    record("ovwallet1", directory("package") + "\n");
    systemCalls().opendir = [](const char* path) -> DIR* {
        ADD_FAILURE() << "opened " << path;
        return nullptr;
    };
    EXPECT_EQ(find(), directory_ / "base");
}

TEST_F(CommandLink, OfAnyLengthIsReadWhole) {
    writeFile(commandFile_, "");
    for (const std::size_t length : {4095U, 4096U, 8191U, 8192U, 9000U}) {
        std::string text = commandFile_;
        text.insert(0, length - text.size(), '/');
        systemCalls().readlink = [&](const char* path, char* buffer, std::size_t size) {
            if (path == text) {
                errno = EINVAL;
                return ssize_t{-1};
            }
            EXPECT_EQ(path, command_);
            return static_cast<ssize_t>(text.copy(buffer, size));
        };
        systemCalls().realpath = [&](const char* path, char* buffer) {
            EXPECT_EQ(path, fs::path(text).parent_path().string() + "/../../../../..");
            return std::strcpy(buffer, "/base");
        };
        EXPECT_EQ(find(), "/base") << length;
    }
}

TEST_F(CommandLink, LosesOneTrailingNul) {
    writeFile(commandFile_, "");
    systemCalls().readlink = [&](const char* path, char* buffer, std::size_t size) {
        if (path != command_) {
            return real::readlink(path, buffer, size);
        }
        return static_cast<ssize_t>((commandFile_ + '\0').copy(buffer, size));
    };
    EXPECT_EQ(find(), directory_ / "base");
}

using PackageRecords = InstallationSearch;

TEST_F(PackageRecords, AreUsedWithoutACommandLink) {
    const std::string base = directory("base");
    record("ovwallet1410", base + "\nsecond line\n");
    EXPECT_EQ(find(), base);
}

TEST_F(PackageRecords, AreUsedWhenTheCommandLinkLeadsNowhere) {
    const std::string base = directory("base");
    record("ovwallet1410", base);
    link("nowhere", command_);
    EXPECT_EQ(find(), base);
}

TEST_F(PackageRecords, AreUsedWhenTheCommandLinkCannotBeRead) {
    const std::string base = directory("base");
    record("ovwallet1410", base);
    for (const int errnum : {EACCES, ENOTDIR, ELOOP, EIO, ENAMETOOLONG}) {
        systemCalls().readlink = [errnum](const char*, char*, std::size_t) {
            errno = errnum;
            return ssize_t{-1};
        };
        EXPECT_EQ(find(), base) << errnum;
    }
}

TEST_F(PackageRecords, AreUsedWhenALinkIsEmpty) {
    const std::string base = directory("base");
    record("ovwallet1410", base);
    for (const std::string& text : {std::string(), std::string(1, '\0'), std::string("\0/a", 3)}) {
        systemCalls().readlink = [&](const char*, char* buffer, std::size_t size) {
            return static_cast<ssize_t>(text.copy(buffer, size));
        };
        EXPECT_EQ(find(), base);
    }
}

TEST_F(PackageRecords, AreThoseNamedForThePackageAndDigitsInAscendingByteOrder) {
    for (const char* name : {"ovwallet", "ovwallet1410", "ovwallet9", "ovwallet0", "ovwallet1410x",
                             "ovwallet-1", "ovwalle", "Ovwallet1", "xovwallet1", "ovwallet 1"}) {
        record(name, "/no/such/directory\n");
    }
    std::vector<std::string> opened;
    systemCalls().fopen = [&](const char* path, const char* mode) {
        opened.push_back(path);
        return real::fopen(path, mode);
    };
    EXPECT_EQ(find(), std::string("failed: ") + kNotInstalled);
    EXPECT_THAT(
        opened,
        ElementsAre(packages_ + "/ovwallet/inst.dir", packages_ + "/ovwallet0/inst.dir",
                    packages_ + "/ovwallet1410/inst.dir", packages_ + "/ovwallet9/inst.dir"));
}

TEST_F(PackageRecords, SayWhetherTheyCountOrWhyNot) {
    using State = PackageRecord::State;
    const std::string base = directory("base");
    const auto expect = [&](const std::string& content, State state, const std::string& found) {
        record("ovwallet1", content);
        const PackageRecord read = readPackageRecord(packages_ + "/ovwallet1");
        EXPECT_EQ(read.state, state) << content;
        EXPECT_EQ(read.base, found);
    };
    EXPECT_EQ(readPackageRecord(packages_ + "/missing").state, State::hasNoFirstLine);
    expect("", State::hasNoFirstLine, "");
    expect("\n" + base, State::hasNoFirstLine, "");
    expect(base + "2\n", State::namesNoDirectory, base + "2");
    expect(base + "\nmore", State::counts, base);
}

TEST_F(PackageRecords, AreTakenInByteOrderWithoutComparingVersions) {
    const std::string first = directory("first");
    record("ovwallet9", directory("newer by its digit"));
    record("ovwallet1410", first);
    EXPECT_EQ(find(), first);
    record("ovwallet", directory("without a digit"));
    EXPECT_EQ(find(), directory_ / "without a digit");
}

TEST_F(PackageRecords, AreSkippedUntilOneNamesADirectory) {
    const std::string base = directory("base");
    writeFile(directory_ / "file", "");
    fs::create_directory(packages_ + "/ovwallet1");             // no inst.dir
    fs::create_directories(packages_ + "/ovwallet2/inst.dir");  // no file
    record("ovwallet3", "");
    record("ovwallet4", "\n" + base + "\n");
    record("ovwallet5", (directory_ / "file") + "\n");
    record("ovwallet6", (directory_ / "missing") + "\n");
    record("ovwallet7", base + "\n");
    EXPECT_EQ(find(), base);
}

TEST_F(PackageRecords, AreTakenExactlyAsTheyStand) {
    const std::string base = directory("base");
    for (const std::string& line : {base + "\r\n", base + " \n", " " + base + "\n", base + "\t"}) {
        record("ovwallet1", line);
        EXPECT_EQ(find(), std::string("failed: ") + kNotInstalled);
        const std::string exact = line.substr(0, line.find('\n'));
        if (exact.front() == '/') {
            fs::create_directories(exact);
            EXPECT_EQ(find(), exact) << "a directory of exactly that name";
        }
    }
}

TEST_F(PackageRecords, MayNameADirectoryRelativeToTheCurrentOne) {
    directory("base");
    record("ovwallet1", "base\n");
    EXPECT_EQ(find(), std::string("failed: ") + kNotInstalled);
    fs::current_path(directory_.pathname());
    EXPECT_EQ(find(), "base");
    fs::current_path("/");
}

// The file system sees the pathname up to the NUL.
TEST_F(PackageRecords, MayHaveANulInTheirLine) {
    const std::string line = directory("base") + std::string("\0ment", 5);
    record("ovwallet1", line + "\n");
    EXPECT_EQ(find(), line);
}

TEST_F(PackageRecords, MayHaveALineOfAnyLength) {
    const std::string base = directory("base") + std::string(2000, '/');
    record("ovwallet1", std::string(100'000, '/') + "no/such/directory\n");
    record("ovwallet2", base + "\n");
    EXPECT_EQ(find(), base);
}

TEST_F(PackageRecords, MayNameADirectoryThroughALink) {
    fs::create_symlink(directory("base"), directory_ / "link");
    record("ovwallet1", directory_ / "link");
    EXPECT_EQ(find(), directory_ / "link");
}

TEST_F(PackageRecords, GiveNoneInAnEmptyDatabase) {
    EXPECT_EQ(find(), std::string("failed: ") + kNotInstalled);
}

TEST_F(PackageRecords, MustBeInADirectory) {
    fs::remove(packages_);
    EXPECT_EQ(find(), "failed: Cannot open directory \"" + packages_ +
                          "\" (errno = No such file or directory)");
}

TEST_F(InstallationSearch, LooksInTheOperatingSystemsPlaces) {
    EXPECT_STREQ(kCommandLink, "/usr/bin/ovwallet");
    EXPECT_STREQ(kPackageDatabase, "/var/lib/rpm");
}

TEST_F(InstallationSearch, LeaksNothingWheneverAnAllocationFails) {
    const std::string base = directory("a directory whose name is not short");
    record("ovwallet1", base);
    // The lock keeps what it needed to be taken for the first time.
    findInstallation(command_, packages_);
    for (std::uint64_t k = 1;; ++k) {
        const std::int64_t before = FailingHeap::liveAllocations();
        bool failed = false;
        try {
            const FailingHeap heap(k);
            EXPECT_EQ(findInstallation(command_, packages_), base);
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        EXPECT_LE(FailingHeap::liveAllocations(), before) << k;
        if (!failed) {
            EXPECT_GT(k, 5U);
            break;
        }
    }
}

}  // namespace
}  // namespace Orvanta_OvWallet
