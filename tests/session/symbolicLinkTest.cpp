#include "session/symbolicLink.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/SystemCalls.h"
#include "doubles/TemporaryDirectory.h"

namespace Orvanta_OvWallet {
namespace {

using std::string_literals::operator""s;

// Lets every link hold this text, and notes the sizes of the buffers.
std::vector<std::size_t>& linksHold(const std::string& text) {
    static std::vector<std::size_t> sizes;
    systemCalls().readlink = [text](const char*, char* buffer, std::size_t size) {
        sizes.push_back(size);
        const std::size_t length = std::min(size, text.size());
        std::memcpy(buffer, text.data(), length);
        return static_cast<ssize_t>(length);
    };
    return sizes;
}

TEST(SymbolicLink, IsReadAsItStands) {
    const TemporaryDirectory directory;
    std::filesystem::create_symlink("../some where/else", directory / "link");
    const SymbolicLink link = readSymbolicLink(directory / "link");
    EXPECT_EQ(link.errnum, 0);
    EXPECT_EQ(link.text, "../some where/else");
}

TEST(SymbolicLink, IsNotAPlainFile) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "");
    EXPECT_EQ(readSymbolicLink(directory / "file").errnum, EINVAL);
    EXPECT_EQ(readSymbolicLink(directory / "file").text, "");
    EXPECT_EQ(readSymbolicLink(directory.pathname()).errnum, EINVAL);
}

TEST(SymbolicLink, ThatIsMissingGivesItsErrno) {
    const TemporaryDirectory directory;
    EXPECT_EQ(readSymbolicLink(directory / "missing").errnum, ENOENT);
    writeFile(directory / "file", "");
    EXPECT_EQ(readSymbolicLink(directory / "file/link").errnum, ENOTDIR);
}

TEST(SymbolicLink, IsReadWholeWhereTheBufferEnds) {
    const TemporaryDirectory directory;
    const std::string longest(4095, 'x');  // the longest that the file system takes
    std::filesystem::create_symlink(longest, directory / "link");
    EXPECT_EQ(readSymbolicLink(directory / "link").text, longest);
}

TEST(SymbolicLink, OfLessThan4096BytesIsReadOnce) {
    const std::vector<std::size_t>& sizes = linksHold(std::string(4095, 'x'));
    EXPECT_EQ(readSymbolicLink("/link").text, std::string(4095, 'x'));
    EXPECT_EQ(sizes, (std::vector<std::size_t>{4096}));
}

TEST(SymbolicLink, ThatFillsTheBufferIsReadAgainWithALargerOne) {
    const std::vector<std::size_t>& sizes = linksHold(std::string(4096, 'x'));
    EXPECT_EQ(readSymbolicLink("/link").text, std::string(4096, 'x'));
    EXPECT_EQ(sizes, (std::vector<std::size_t>{4096, 8192}));
}

TEST(SymbolicLink, OfAnyLengthIsReadWhole) {
    const std::vector<std::size_t>& sizes = linksHold(std::string(8192, 'x') + "end");
    EXPECT_EQ(readSymbolicLink("/link").text, std::string(8192, 'x') + "end");
    EXPECT_EQ(sizes, (std::vector<std::size_t>{4096, 8192, 12288}));
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
}

TEST(SymbolicLink, LosesATrailingNulThatFillsTheBuffer) {
    linksHold(std::string(4095, 'x') + "\0"s);
    EXPECT_EQ(readSymbolicLink("/link").text, std::string(4095, 'x'));
}

TEST(SymbolicLink, IsEmptyWithoutBytesOrBeginningWithNul) {
    linksHold("");
    EXPECT_EQ(readSymbolicLink("/link").errnum, 0);
    EXPECT_EQ(readSymbolicLink("/link").text, "");
    linksHold("\0"s);
    EXPECT_EQ(readSymbolicLink("/link").text, "");
    linksHold("\0/text"s);
    EXPECT_EQ(readSymbolicLink("/link").text, "");
}

TEST(DirectoryPart, EndsWithTheLastSlash) {
    EXPECT_EQ(directoryPart("/a/b/c"), "/a/b/");
    EXPECT_EQ(directoryPart("/a/b/"), "/a/b/");
    EXPECT_EQ(directoryPart("/a"), "/");
    EXPECT_EQ(directoryPart("a/b"), "a/");
    EXPECT_EQ(directoryPart("a"), "");
    EXPECT_EQ(directoryPart(""), "");
}

TEST(LinkTarget, IsRelativeToTheDirectoryOfTheLink) {
    EXPECT_EQ(linkTarget("/a/link", "/b/c"), "/b/c");
    EXPECT_EQ(linkTarget("/a/link", "../b"), "/a/../b");
    EXPECT_EQ(linkTarget("link", "b"), "b");
}

}  // namespace
}  // namespace Orvanta_OvWallet
