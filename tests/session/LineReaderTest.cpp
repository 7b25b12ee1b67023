#include "session/LineReader.h"

#include <cerrno>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "doubles/SystemCalls.h"
#include "doubles/TemporaryDirectory.h"

namespace Orvanta_OvWallet {
namespace {

using std::string_literals::operator""s;
using testing::ElementsAre;

std::vector<std::string> linesOf(const std::string& content) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", content);
    std::vector<std::string> lines;
    LineReader reader(directory / "file");
    while (const std::optional<std::string> line = reader.next()) {
        lines.push_back(*line);
    }
    EXPECT_EQ(reader.next(), std::nullopt) << "the end stays the end";
    return lines;
}

TEST(LineReader, GivesLinesWithoutTheirNewlines) {
    EXPECT_THAT(linesOf("first\nsecond\n"), ElementsAre("first", "second"));
}

TEST(LineReader, GivesALastLineWithoutNewline) {
    EXPECT_THAT(linesOf("first\nsecond"), ElementsAre("first", "second"));
}

TEST(LineReader, GivesEmptyLines) {
    EXPECT_THAT(linesOf("\n\nthird\n\n"), ElementsAre("", "", "third", ""));
}

TEST(LineReader, GivesNothingForAnEmptyFile) {
    EXPECT_THAT(linesOf(""), ElementsAre());
}

TEST(LineReader, GivesEachLineExactlyAsItStands) {
    EXPECT_THAT(linesOf(" a \t\r\nb\0c\xff\n"s), ElementsAre(" a \t\r", "b\0c\xff"s));
}

TEST(LineReader, GivesLongLinesWhole) {
    const std::string line(100'000, 'x');
    EXPECT_THAT(linesOf(line + "\nshort\n" + line), ElementsAre(line, "short", line));
}

TEST(LineReader, GivesNothingForAFileThatCannotBeOpened) {
    const TemporaryDirectory directory;
    EXPECT_EQ(LineReader(directory / "missing").next(), std::nullopt);
}

TEST(LineReader, GivesNothingForADirectory) {
    const TemporaryDirectory directory;
    EXPECT_EQ(LineReader(directory.pathname()).next(), std::nullopt);
}

TEST(LineReader, GivesNothingMoreWhenReadingFails) {
    const TemporaryDirectory directory;
    writeFile(directory / "file", "first\nsecond\n");
    LineReader reader(directory / "file");
    EXPECT_EQ(reader.next(), "first");
    systemCalls().getline = [](char**, std::size_t*, std::FILE*) {
        errno = EIO;
        return ssize_t{-1};
    };
    EXPECT_EQ(reader.next(), std::nullopt);
}

TEST(LineReader, ClosesItsFile) {
    const auto openFiles = [] {
        const std::filesystem::directory_iterator files("/proc/self/fd");
        return std::distance(begin(files), end(files));
    };
    const auto before = openFiles();
    {
        LineReader reader("/proc/self/maps");
        EXPECT_NE(reader.next(), std::nullopt);
        EXPECT_EQ(openFiles(), before + 1);
    }
    EXPECT_EQ(openFiles(), before);
}

TEST(LineReader, ReadsAFileThatIsNotInheritedByOtherPrograms) {
    std::string openMode;
    systemCalls().fopen = [&](const char* path, const char* mode) {
        openMode = mode;
        return real::fopen(path, mode);
    };
    const LineReader reader("/proc/self/maps");
    EXPECT_EQ(openMode, "re");
}

}  // namespace
}  // namespace Orvanta_OvWallet
