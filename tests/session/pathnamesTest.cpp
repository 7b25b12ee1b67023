#include "session/pathnames.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "doubles/SystemCalls.h"
#include "doubles/TemporaryDirectory.h"
#include "doubles/thrown.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {
namespace {

namespace fs = std::filesystem;
using std::string_literals::operator""s;
using testing::ElementsAre;

// Lets every link hold this text, and notes the sizes of the buffers.
std::vector<std::size_t>& linksHold(const std::string& text) {
    static std::vector<std::size_t> sizes;
    systemCalls().readlink = [text](const char*, char* buffer, std::size_t size) {
        sizes.push_back(size);
        return static_cast<ssize_t>(text.copy(buffer, size));
    };
    return sizes;
}

TEST(SymbolicLink, IsReadAsItStands) {
    const TemporaryDirectory directory;
    fs::create_symlink("../some where/else", directory / "link");
    const SymbolicLink link = readSymbolicLink(directory / "link");
    EXPECT_EQ(link.errnum, 0);
    EXPECT_EQ(link.text, "../some where/else");
}

TEST(SymbolicLink, ThatCannotBeReadGivesItsErrno) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "");
    EXPECT_EQ(readSymbolicLink(directory / "file").errnum, EINVAL);
    EXPECT_EQ(readSymbolicLink(directory / "file").text, "");
    EXPECT_EQ(readSymbolicLink(directory.pathname()).errnum, EINVAL);
    EXPECT_EQ(readSymbolicLink(directory / "missing").errnum, ENOENT);
    EXPECT_EQ(readSymbolicLink(directory / "file/link").errnum, ENOTDIR);
}

TEST(SymbolicLink, OfLessThan4096BytesIsReadOnce) {
    const std::vector<std::size_t>& sizes = linksHold(std::string(4095, 'x'));
    EXPECT_EQ(readSymbolicLink("/link").text, std::string(4095, 'x'));
    EXPECT_THAT(sizes, ElementsAre(4096));
}

TEST(SymbolicLink, ThatFillsTheBufferIsReadAgainWithALargerOne) {
    const std::vector<std::size_t>& sizes = linksHold(std::string(4096, 'x'));
    EXPECT_EQ(readSymbolicLink("/link").text, std::string(4096, 'x'));
    EXPECT_THAT(sizes, ElementsAre(4096, 8192));
}

TEST(SymbolicLink, OfAnyLengthIsReadWhole) {
    const std::vector<std::size_t>& sizes = linksHold(std::string(8192, 'x') + "end");
    EXPECT_EQ(readSymbolicLink("/link").text, std::string(8192, 'x') + "end");
    EXPECT_THAT(sizes, ElementsAre(4096, 8192, 12288));
}

TEST(SymbolicLink, GivesUpWhenReadingAgainFails) {
    linksHold(std::string(4096, 'x'));
    const auto first = systemCalls().readlink;
    systemCalls().readlink = [first](const char* path, char* buffer, std::size_t size) {
        if (size == 4096) {
            return first(path, buffer, size);
        }
        errno = EIO;
        return ssize_t{-1};
    };
    EXPECT_EQ(readSymbolicLink("/link").errnum, EIO);
    EXPECT_EQ(readSymbolicLink("/link").text, "");
}

TEST(SymbolicLink, LosesOneTrailingNul) {
    linksHold("text\0"s);
    EXPECT_EQ(readSymbolicLink("/link").text, "text");
    linksHold("text\0\0"s);
    EXPECT_EQ(readSymbolicLink("/link").text, "text\0"s);
    linksHold(std::string(4095, 'x') + "\0"s);
    EXPECT_EQ(readSymbolicLink("/link").text, std::string(4095, 'x'));
}

TEST(SymbolicLink, IsEmptyWithoutBytesOrBeginningWithNul) {
    for (const std::string& text : {""s, "\0"s, "\0/text"s}) {
        linksHold(text);
        EXPECT_EQ(readSymbolicLink("/link").errnum, 0);
        EXPECT_EQ(readSymbolicLink("/link").text, "");
    }
}

TEST(DirectoryPart, EndsWithTheLastSlash) {
    EXPECT_EQ(directoryPart("/a/b/c"), "/a/b/");
    EXPECT_EQ(directoryPart("/a/b/"), "/a/b/");
    EXPECT_EQ(directoryPart("/a"), "/");
    EXPECT_EQ(directoryPart("a"), "");
    EXPECT_EQ(directoryPart(""), "");
}

TEST(LinkWalk, ShowsEachHop) {
    const TemporaryDirectory directory;
    fs::create_symlink("d/second", directory / "first");
    fs::create_directory(directory / "d");
    fs::create_symlink("../third", directory / "d/second");
    fs::create_symlink(directory / "file", directory / "third");
    writeFile(directory / "file", "");
    std::vector<std::string> hops;
    LinkWalk walk(directory / "first");
    for (; walk.leadsOn(); walk.follow()) {
        hops.push_back(walk.pathname());
        EXPECT_FALSE(walk.isAtFile());
    }
    EXPECT_THAT(hops,
                ElementsAre(directory / "first", directory / "d/second", directory / "d/../third"));
    EXPECT_EQ(walk.pathname(), directory / "file");
    EXPECT_TRUE(walk.isAtFile());
}

TEST(LinkWalk, GoesFromARelativeNameToARelativeName) {
    linksHold("b");
    LinkWalk walk("link");
    walk.follow();
    EXPECT_EQ(walk.pathname(), "b");
}

TEST(LinkWalk, EndsAtWhatIsNeitherALinkNorAFile) {
    const TemporaryDirectory directory;
    fs::create_symlink("missing", directory / "link");
    LinkWalk walk(directory / "link");
    walk.followToEnd();
    EXPECT_EQ(walk.pathname(), directory / "missing");
    EXPECT_EQ(walk.link().errnum, ENOENT);
    EXPECT_FALSE(walk.isAtFile());
    linksHold("");
    walk = LinkWalk("/empty");
    walk.followToEnd();
    EXPECT_EQ(walk.pathname(), "/empty");
    EXPECT_FALSE(walk.isAtFile());
}

void expectPath(const CanonicalPath& result, const std::string& path) {
    EXPECT_EQ(result.errnum, 0);
    EXPECT_EQ(result.path, path);
}

// As it was given, with the reason.
void expectFailure(const std::string& pathname, int errnum) {
    const CanonicalPath result = canonicalPath(pathname);
    EXPECT_EQ(result.errnum, errnum);
    EXPECT_EQ(result.path, pathname);
}

TEST(CanonicalPath, ResolvesLinksDotsAndDoubledSlashes) {
    const TemporaryDirectory directory;
    fs::create_directory(directory / "real");
    fs::create_symlink("real", directory / "first");
    fs::create_symlink("first", directory / "second");
    expectPath(canonicalPath(directory / "/real/../second/./"), directory / "real");
    expectPath(canonicalPath("/.."), "/");
}

TEST(CanonicalPath, OfARelativePathnameStartsAtTheCurrentDirectory) {
    const TemporaryDirectory directory;
    fs::create_directory(directory / "here");
    fs::current_path(directory.pathname());
    expectPath(canonicalPath("here"), directory / "here");
    fs::current_path("/");
}

TEST(CanonicalPath, ThatCannotBeResolvedSaysWhy) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "");
    fs::create_symlink("loop", directory / "loop");
    expectFailure("", ENOENT);
    expectFailure(directory / "missing/..", ENOENT);
    expectFailure(directory / "file/below", ENOTDIR);
    expectFailure(directory / "loop", ELOOP);
}

TEST(CanonicalPath, HasRoomForTheLongestPathname) {
    const std::string longest = "/" + std::string(4095, 'x');
    systemCalls().realpath = [&](const char*, char* buffer) {
        return std::strcpy(buffer, longest.c_str());
    };
    expectPath(canonicalPath("any"), longest);
}

TEST(CanonicalPath, IsNotMistakenForAFailureWhenErrnoIsLeftSet) {
    systemCalls().realpath = [](const char* path, char* buffer) {
        char* const resolved = real::realpath(path, buffer);
        errno = EINTR;
        return resolved;
    };
    expectPath(canonicalPath("/"), "/");
}

TEST(CanonicalPath, HidesWhatAFailedResolutionLeftInTheBuffer) {
    systemCalls().realpath = [](const char*, char* buffer) -> char* {
        std::strcpy(buffer, "/half/resolved");
        errno = EACCES;
        return nullptr;
    };
    expectFailure("/half/resolved/name", EACCES);
}

std::string currentDirectoryFailure() {
    return thrownBy<OvWalletException>(CurrentDirectory);
}

TEST(CurrentDirectory, IsTheAbsolutePathnameOfTheWorkingDirectory) {
    const TemporaryDirectory directory;
    fs::current_path(directory.pathname());
    EXPECT_EQ(CurrentDirectory(), directory.pathname());
    fs::current_path("/");
    EXPECT_EQ(CurrentDirectory(), "/");
}

TEST(CurrentDirectory, GrowsItsBufferBy4096UntilThePathnameFits) {
    const std::string pathname = "/" + std::string(3 * 4096 - 2, 'd');
    std::vector<std::size_t> sizes;
    systemCalls().getcwd = [&](char* buffer, std::size_t size) -> char* {
        sizes.push_back(size);
        for (std::size_t i = 0; i < size; ++i) {
            EXPECT_EQ(buffer[i], '\0') << "the buffer is filled with zeros";
        }
        if (size < pathname.size() + 1) {
            std::memset(buffer, 'x', size);
            errno = ERANGE;
            return nullptr;
        }
        return std::strcpy(buffer, pathname.c_str());
    };
    EXPECT_EQ(CurrentDirectory(), pathname);
    EXPECT_EQ(sizes, (std::vector<std::size_t>{4096, 8192, 12288}));
}

TEST(CurrentDirectory, IsReadWholeWhenItIsReallyLong) {
    const TemporaryDirectory directory;
    fs::current_path(directory.pathname());
    std::string expected = directory.pathname();
    const std::string component(250, 'd');
    for (int depth = 0; depth < 20; ++depth) {
        fs::create_directory(component);
        fs::current_path(component);
        expected += "/" + component;
    }
    EXPECT_EQ(CurrentDirectory(), expected);
    fs::current_path("/");
}

TEST(CurrentDirectory, ThrowsWhenThereIsNone) {
    {
        const TemporaryDirectory directory;
        fs::current_path(directory.pathname());
    }
    EXPECT_EQ(currentDirectoryFailure(),
              "Cannot determine the pathname of the current working directory (errno = No such "
              "file or directory).");
}

TEST(CurrentDirectory, NamesTheErrnoOfTheFailureNotOfWhatFollows) {
    systemCalls().getcwd = [](char*, std::size_t) -> char* {
        errno = EACCES;
        return nullptr;
    };
    systemCalls().strerror_r = [](int errnum, char* buffer, std::size_t size) {
        char* const text = real::strerror_r(errnum, buffer, size);
        errno = EIO;
        return text;
    };
    EXPECT_EQ(currentDirectoryFailure(),
              "Cannot determine the pathname of the current working directory (errno = Permission "
              "denied).");
}

}  // namespace
}  // namespace Orvanta_OvWallet
