#include "session/InstallationLocator.h"

#include <stdlib.h>

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

// A module file in "module/" with the link "ovwalletdir" beside it, which leads to
// "base/orvanta/client/ovwallet".
class InstallationLocatorTest : public testing::Test {
  protected:
    InstallationLocatorTest() {
        fs::create_directories(directory_ / "base/orvanta/client/ovwallet");
        writeFile(directory_ / "module/lib.so", "");
        link(directory_ / "base/orvanta/client/ovwallet", "module/ovwalletdir");
    }

    void link(const std::string& target, const std::string& name) {
        fs::remove(directory_ / name);
        fs::create_symlink(target, directory_ / name);
    }

    // The message; the client directory is in clientDir_ then.
    std::string locate(const std::string& moduleName) {
        clientDir_.clear();
        return InstallationLocator(moduleName, clientDir_);
    }

    // Lets every attempt to read this link fail or hold the text.
    static void failRead(const std::string& name, int errnum) {
        systemCalls().readlink = [=](const char* path, char* buffer, std::size_t size) {
            if (path != name) {
                return real::readlink(path, buffer, size);
            }
            errno = errnum;
            return ssize_t{-1};
        };
    }
    static void replaceText(const std::string& name, const std::string& text) {
        systemCalls().readlink = [=](const char* path, char* buffer, std::size_t size) {
            if (path != name) {
                return real::readlink(path, buffer, size);
            }
            text.copy(buffer, size);
            return static_cast<ssize_t>(text.size());
        };
    }
    // Lets errno change again before the message is made.
    static void clobberErrno() {
        systemCalls().realpath = [](const char* path, char* buffer) {
            char* const result = real::realpath(path, buffer);
            if (result != nullptr) {
                errno = EPERM;
            }
            return result;
        };
    }
    static void failResolution() {
        systemCalls().realpath = [](const char*, char*) -> char* {
            errno = EIO;
            return nullptr;
        };
    }

    std::string expectedClientDir() const { return directory_ / "base/orvanta/client"; }

    const TemporaryDirectory directory_;
    const std::string module_ = directory_ / "module/lib.so";
    const std::string moduleDir_ = directory_ / "module";
    std::string clientDir_;
};

TEST_F(InstallationLocatorTest, FindsTheClientDirectoryAboveTheWalletDirectory) {
    EXPECT_EQ(locate(module_), "");
    EXPECT_EQ(clientDir_, expectedClientDir());
}

TEST_F(InstallationLocatorTest, FollowsTheLinksOfTheModuleToWhereItReallyLies) {
    fs::create_directories(directory_ / "links/deeper");
    link(module_, "links/deeper/absolute");
    link("deeper/absolute", "links/relative");
    link("links/relative", "lib.so");
    EXPECT_EQ(locate(directory_ / "lib.so"), "");
    EXPECT_EQ(clientDir_, expectedClientDir());
}

TEST_F(InstallationLocatorTest, TakesARelativeWalletLinkFromTheModulesRealDirectory) {
    link("../base/orvanta/client/ovwallet", "module/ovwalletdir");
    fs::create_directories(directory_ / "far/away/from/it");
    link(module_, "far/away/from/it/lib.so");
    EXPECT_EQ(locate(directory_ / "far/away/from/it/lib.so"), "");
    EXPECT_EQ(clientDir_, expectedClientDir());
}

TEST_F(InstallationLocatorTest, TakesARelativeModuleNameFromTheCurrentDirectory) {
    fs::current_path(directory_.pathname());
    EXPECT_EQ(locate("module/lib.so"), "");
    EXPECT_EQ(clientDir_, expectedClientDir());
    EXPECT_EQ(locate("./module/lib.so"), "");
    EXPECT_EQ(clientDir_, expectedClientDir());
    fs::current_path("/");
}

TEST_F(InstallationLocatorTest, ReadsEachLinkOfTheChainOnceAndThenTheWalletLink) {
    link("module/lib.so", "lib.so");
    std::vector<std::string> read;
    systemCalls().readlink = [&](const char* path, char* buffer, std::size_t size) {
        read.push_back(path);
        return real::readlink(path, buffer, size);
    };
    EXPECT_EQ(locate(directory_ / "lib.so"), "");
    EXPECT_THAT(read, ElementsAre(directory_ / "lib.so", module_, moduleDir_ + "/ovwalletdir"));
}

TEST_F(InstallationLocatorTest, AcceptsAnyKindOfEntryAtTheEndOfTheChain) {
    EXPECT_EQ(locate(moduleDir_ + "/"), "");
    EXPECT_EQ(clientDir_, expectedClientDir());
}

TEST_F(InstallationLocatorTest, KeepsTheUnresolvedClientDirectoryThatCannotBeResolved) {
    link("/no/such/ovwallet", "module/ovwalletdir");
    EXPECT_EQ(locate(module_), "") << "real and effective user are the same";
    EXPECT_EQ(clientDir_, "/no/such/ovwallet/..");
    link("none", "module/ovwalletdir");
    EXPECT_EQ(locate(module_), "");
    EXPECT_EQ(clientDir_, moduleDir_ + "/none/..");
}

TEST_F(InstallationLocatorTest, DoesNotMissAHelperWhenRealAndEffectiveUserAreTheSame) {
    int checks = 0;
    systemCalls().lstat = [&](const char*, struct stat*) { return ++checks; };
    EXPECT_EQ(locate(module_), "");
    EXPECT_EQ(checks, 0);
}

TEST_F(InstallationLocatorTest, ChecksTheHelperWhenRealAndEffectiveUserDiffer) {
    systemCalls().getuid = [] { return uid_t{1}; };
    systemCalls().geteuid = [] { return uid_t{2}; };
    EXPECT_EQ(thrownBy<NotInstalledException>([&] { locate(module_); }),
              "Orvanta Wallet 14.10 is not installed (cannot access \"" + expectedClientDir() +
                  "/14.10/ovwallet/redhatlinux-x8664/ovwhelper.exe\")");
}

TEST_F(InstallationLocatorTest, FollowsAnyNumberOfLinks) {
    int links = 0;
    systemCalls().readlink = [&](const char* path, char* buffer, std::size_t size) {
        if (std::strcmp(path, "/cycle") != 0) {
            return real::readlink(path, buffer, size);
        }
        const std::string next = ++links < 10'000 ? std::string("cycle") : module_;
        return static_cast<ssize_t>(next.copy(buffer, size));
    };
    EXPECT_EQ(locate("/cycle"), "");
    EXPECT_EQ(links, 10'000);
    EXPECT_EQ(clientDir_, expectedClientDir());
}

TEST_F(InstallationLocatorTest, ReportsAMissingModule) {
    const std::string missing = directory_ / "module/missing.so";
    EXPECT_EQ(locate(missing), "\"" + missing + "\" does not name an existing file.");
}

TEST_F(InstallationLocatorTest, ReportsAMissingModuleByTheNameThatWasGiven) {
    link("nowhere", "lib.so");
    EXPECT_EQ(locate(directory_ / "lib.so"),
              "\"" + (directory_ / "lib.so") + "\" does not name an existing file.");
}

TEST_F(InstallationLocatorTest, ReportsAnInaccessibleModuleByTheLinkWhereTheWalkEnded) {
    writeFile(directory_ / "file", "");
    link("file/lib.so", "lib.so");
    EXPECT_EQ(locate(directory_ / "lib.so"), "A failure accessing \"" +
                                                 (directory_ / "file/lib.so") +
                                                 "\" occurred (errno = Not a directory).");
}

TEST_F(InstallationLocatorTest, ReportsAnEmptyLinkOfTheModule) {
    for (const std::string& text : {std::string(), std::string("\0/x", 3), std::string(1, '\0')}) {
        replaceText(module_, text);
        EXPECT_EQ(locate(module_), "The symbolic link at \"" + module_ + "\" is empty.");
    }
}

TEST_F(InstallationLocatorTest, ReportsAMissingWalletLink) {
    fs::remove(moduleDir_ + "/ovwalletdir");
    clobberErrno();
    EXPECT_EQ(locate(module_),
              "The ovwalletdir symbolic link is not present in \"" + moduleDir_ + "\".");
}

TEST_F(InstallationLocatorTest, ReportsAWalletLinkThatIsNoLink) {
    fs::remove(moduleDir_ + "/ovwalletdir");
    fs::create_directory(moduleDir_ + "/ovwalletdir");
    clobberErrno();
    EXPECT_EQ(locate(module_), "Cannot read the contents of the ovwalletdir symbolic link (in \"" +
                                   moduleDir_ + "\") (errno = Invalid argument).");
}

TEST_F(InstallationLocatorTest, ReportsAWalletLinkThatCannotBeRead) {
    failRead(moduleDir_ + "/ovwalletdir", EACCES);
    clobberErrno();
    EXPECT_EQ(locate(module_), "Cannot read the contents of the ovwalletdir symbolic link (in \"" +
                                   moduleDir_ + "\") (errno = Permission denied).");
}

TEST_F(InstallationLocatorTest, ReadsLongLinksWhole) {
    std::string wayBack;
    while (wayBack.size() < 4096) {
        wayBack += "./";
    }
    replaceText(moduleDir_ + "/ovwalletdir", wayBack);
    const auto whole = systemCalls().readlink;
    std::vector<std::size_t> sizes;
    systemCalls().readlink = [&](const char* path, char* buffer, std::size_t size) {
        if (std::strcmp(path, module_.c_str()) == 0) {
            return real::readlink(path, buffer, size);
        }
        sizes.push_back(size);
        return std::min(whole(path, buffer, size), static_cast<ssize_t>(size));
    };
    failResolution();
    EXPECT_EQ(locate(module_), "");
    EXPECT_EQ(clientDir_, moduleDir_ + "/" + wayBack + "/..");
    EXPECT_THAT(sizes, ElementsAre(4096U, 8192U));
}

// How messages name the directory of the module.
using ShownDirectory = InstallationLocatorTest;

TEST_F(ShownDirectory, IsCanonical) {
    fs::remove(moduleDir_ + "/ovwalletdir");
    EXPECT_EQ(locate(directory_ / "base/../module/./lib.so"),
              "The ovwalletdir symbolic link is not present in \"" + moduleDir_ + "\".");
    fs::current_path(directory_.pathname());
    EXPECT_EQ(locate("module/lib.so"),
              "The ovwalletdir symbolic link is not present in \"" + moduleDir_ + "\".");
    fs::current_path("/");
}

// The three messages about the wallet link that stands in a directory of this name.
class WalletLinkMessages : public InstallationLocatorTest {
  protected:
    void expectShown(const std::string& moduleDir, const std::string& shown) {
        const std::string name = moduleDir + "/ovwalletdir";
        failRead(name, ENOENT);
        EXPECT_EQ(locate(moduleDir + "/lib.so"),
                  "The ovwalletdir symbolic link is not present in \"" + shown + "\".");
        failRead(name, EACCES);
        EXPECT_EQ(locate(moduleDir + "/lib.so"),
                  "Cannot read the contents of the ovwalletdir symbolic link (in \"" + shown +
                      "\") (errno = Permission denied).");
        replaceText(name, "");
        EXPECT_EQ(locate(moduleDir + "/lib.so"),
                  "The ovwalletdir symbolic link (in \"" + shown + "\") is empty.");
    }
};

TEST_F(WalletLinkMessages, ShowTheDirectoryCanonically) {
    expectShown(directory_ / "base/../module/.", moduleDir_);
}

TEST_F(WalletLinkMessages, ShowADirectoryThatCannotBeResolvedWithoutItsSlash) {
    failResolution();
    expectShown(directory_ / "base/../module", directory_ / "base/../module");
}

TEST_F(WalletLinkMessages, ShowARelativeDirectoryThatCannotBeResolvedBelowTheCurrentOne) {
    failResolution();
    fs::current_path(directory_.pathname());
    expectShown("base/../module", directory_ / "base/../module");
    fs::current_path("/");
}

TEST_F(ShownDirectory, IsTheRootDirectoryItselfWhenItCannotBeResolved) {
    failResolution();
    EXPECT_EQ(locate("/tmp"), "The ovwalletdir symbolic link is not present in \"/\".");
}

TEST_F(ShownDirectory, FollowsTheCurrentDirectoryWhenItIsRelativeAndCannotBeResolved) {
    fs::remove(moduleDir_ + "/ovwalletdir");
    failResolution();
    fs::current_path(directory_.pathname());
    EXPECT_EQ(locate("module/lib.so"),
              "The ovwalletdir symbolic link is not present in \"" + moduleDir_ + "\".");
    fs::current_path("/");
    EXPECT_EQ(locate(module_.substr(1)),
              "The ovwalletdir symbolic link is not present in \"" + moduleDir_ + "\".");
}

TEST_F(ShownDirectory, LosesItsSlashHoweverShortItIs) {
    fs::create_directory(directory_ / "m");
    writeFile(directory_ / "m/lib.so", "");
    failResolution();
    fs::current_path(directory_.pathname());
    EXPECT_EQ(locate("m/lib.so"),
              "The ovwalletdir symbolic link is not present in \"" + (directory_ / "m") + "\".");
    fs::current_path("/");
}

TEST_F(ShownDirectory, NeedsACurrentDirectoryWhenItIsRelative) {
    fs::current_path(moduleDir_);
    failRead("./ovwalletdir", ENOENT);
    failResolution();
    systemCalls().getcwd = [](char*, std::size_t) -> char* {
        errno = ENOENT;
        return nullptr;
    };
    EXPECT_EQ(thrownBy<OvWalletException>([&] { locate("./lib.so"); }),
              "Cannot determine the pathname of the current working directory (errno = No "
              "such file or directory).");
    fs::current_path("/");
}

// Module names without a "/".
class SearchPathTest : public InstallationLocatorTest {
  protected:
    // What is read when "PATH" has this value; the name is found nowhere.
    std::vector<std::string> readsFor(const char* path) {
        std::vector<std::string> read;
        setPath(path);
        systemCalls().readlink = [&](const char* name, char*, std::size_t) {
            read.push_back(name);
            errno = ENOENT;
            return ssize_t{-1};
        };
        EXPECT_EQ(locate("name"), "Failed to find \"name\" in directories listed in $PATH.");
        systemCalls().readlink = nullptr;
        return read;
    }
    void setPath(const char* path) {
        path_ = path == nullptr ? "" : path;
        systemCalls().getenv = [this, path](const char* name) {
            return std::strcmp(name, "PATH") == 0 && path != nullptr ? path_.data() : nullptr;
        };
    }

  private:
    std::string path_;
};

TEST_F(SearchPathTest, TriesEachElementInOrderAndTheRootDirectoryForAnEmptyOne) {
    EXPECT_THAT(readsFor("/a::/b"), ElementsAre("/a/name", "/name", "/b/name"));
}

TEST_F(SearchPathTest, TriesAnEmptyElementOnlyBeforeAColon) {
    EXPECT_THAT(readsFor(":/a"), ElementsAre("/name", "/a/name"));
    EXPECT_THAT(readsFor("/a:"), ElementsAre("/a/name"));
    EXPECT_THAT(readsFor(":"), ElementsAre("/name"));
    EXPECT_THAT(readsFor("/a/:b"), ElementsAre("/a//name", "b/name"));
}

TEST_F(SearchPathTest, FindsNothingWithoutAValue) {
    EXPECT_THAT(readsFor(""), ElementsAre());
    EXPECT_THAT(readsFor(nullptr), ElementsAre());
}

TEST_F(SearchPathTest, EndsAtTheFirstElementWithSuchAnEntry) {
    writeFile(directory_ / "other/lib.so", "");
    const std::string path = "/nowhere:" + moduleDir_ + ":" + (directory_ / "other");
    setPath(path.c_str());
    EXPECT_EQ(locate("lib.so"), "");
    EXPECT_EQ(clientDir_, expectedClientDir());
}

TEST_F(SearchPathTest, UsesTheEnvironmentOfTheProcess) {
    ASSERT_EQ(::setenv("PATH", moduleDir_.c_str(), 1), 0);
    EXPECT_EQ(locate("lib.so"), "");
    EXPECT_EQ(clientDir_, expectedClientDir());
    EXPECT_STREQ(::getenv("PATH"), moduleDir_.c_str()) << "the environment is left alone";
}

TEST_F(SearchPathTest, IsNotUsedForAnyNameWithASlash) {
    setPath(moduleDir_.c_str());
    EXPECT_EQ(locate("./lib.so"), "\"./lib.so\" does not name an existing file.");
}

TEST_F(SearchPathTest, EndsAtALinkThatLeadsNowhere) {
    link("nowhere", "lib.so");
    const std::string path = directory_.pathname() + ":" + moduleDir_;
    setPath(path.c_str());
    EXPECT_EQ(locate("lib.so"), "\"lib.so\" does not name an existing file.");
}

TEST_F(SearchPathTest, EndsAtAnElementThatCannotBeRead) {
    writeFile(directory_ / "file", "");
    const std::string path = (directory_ / "file") + ":" + moduleDir_;
    setPath(path.c_str());
    EXPECT_EQ(locate("lib.so"), "A failure accessing \"" + (directory_ / "file/lib.so") +
                                    "\" occurred (errno = Not a directory).");
}

TEST_F(SearchPathTest, EndsAtAnEmptyLink) {
    setPath(moduleDir_.c_str());
    replaceText(module_, "");
    EXPECT_EQ(locate("lib.so"), "The symbolic link at \"" + module_ + "\" is empty.");
}

TEST_F(InstallationLocatorTest, LeaksNothingWheneverAnAllocationFails) {
    link("../base/orvanta/client/ovwallet", "module/ovwalletdir");
    link("module/lib.so", "lib.so");
    const std::string name = directory_ / "lib.so";
    for (std::uint64_t k = 1;; ++k) {
        const std::int64_t before = FailingHeap::liveAllocations();
        bool failed = false;
        try {
            std::string clientDir;
            const FailingHeap heap(k);
            EXPECT_EQ(InstallationLocator(name, clientDir), "");
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        EXPECT_EQ(FailingHeap::liveAllocations(), before) << k;
        if (!failed) {
            EXPECT_GT(k, 5U);
            break;
        }
    }
}

}  // namespace
}  // namespace Orvanta_OvWallet
