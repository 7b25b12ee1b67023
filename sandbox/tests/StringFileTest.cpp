#include "sandbox/store/StringFile.h"

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "sandbox/store/Failure.h"
#include "sandbox/store/Files.h"
#include "sandbox/store/PercentCode.h"
#include "sandbox/store/SandboxDirectory.h"
#include "sandbox/tests/TemporaryDirectory.h"

namespace Orvanta_OvWallet::Sandbox {

namespace {

template <class Action>
std::string failureOf(const Action& action) {
    try {
        action();
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "no failure";
}

std::string parseFailure(std::string_view text) {
    return failureOf([&] { parseStrings(text, "/w/strings"); });
}

std::string malformed(int line, const std::string& reason) {
    return "The file \"/w/strings\" is malformed: line " + std::to_string(line) + " " + reason +
           ".";
}

TEST(PercentCode, EveryByteIsCodedAsItselfOrAsTwoUpperCaseDigits) {
    const std::string plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
    for (const char byte : everyByte()) {
        const std::string text(1, byte);
        char coded[4] = {};
        std::snprintf(coded, sizeof(coded), "%%%02X", static_cast<unsigned char>(byte));
        const bool isPlain = plain.find(byte) != std::string::npos;
        EXPECT_EQ(percentEncode(text), isPlain ? text : coded);
        EXPECT_EQ(percentDecode(percentEncode(text)), text);
        // What stands for itself has no second spelling; what does not must not stand plainly.
        EXPECT_FALSE(percentDecode(isPlain ? coded : text)) << coded;
    }
}

TEST(PercentCode, BrokenEscapesAreRefused) {
    for (const char* code : {"%", "%2", "a%", "%2f", "%G0", "%0G", "%%20", "% 0", "%0"}) {
        EXPECT_EQ(percentDecode(code), std::nullopt) << code;
    }
    EXPECT_EQ(percentDecode("%2F%00x"), std::string("/\0x", 3));
    EXPECT_EQ(percentDecode(""), "");
}

TEST(StringFile, TextIsSortedByNameAndCoded) {
    const Strings strings = {{"b", ""}, {"a b", "x\ty"}, {"Z", "1"}};
    EXPECT_EQ(formatStrings(strings), "Z\t1\na%20b\tx%09y\nb\t\n");
}

TEST(StringFile, EveryByteValueSurvivesInNamesAndValues) {
    const Strings strings = {{everyByte(), everyByte()}, {"empty", ""}};
    EXPECT_EQ(parseStrings(formatStrings(strings), "f"), strings);
}

TEST(StringFile, NothingIsAnEmptyWallet) {
    EXPECT_EQ(parseStrings("", "f"), Strings());
    const TemporaryDirectory directory;
    EXPECT_EQ(readStrings(directory / "missing"), Strings());
    EXPECT_FALSE(std::filesystem::exists(directory / "missing"));
}

TEST(StringFile, MalformedLinesAreNamedByTheirNumber) {
    EXPECT_EQ(parseFailure("a\t1\nb\t2"), malformed(2, "does not end in a newline"));
    EXPECT_EQ(parseFailure("a\t1\n\nb\t2\n"), malformed(2, "has no tab"));
    EXPECT_EQ(parseFailure("a 1\n"), malformed(1, "has no tab"));
    EXPECT_EQ(parseFailure("a\t1\nb\t1\n\t3\n"), malformed(3, "has an empty name"));
    EXPECT_EQ(parseFailure("a/b\t1\n"), malformed(1, "has a name that is not percent-encoded"));
    EXPECT_EQ(parseFailure("a\t1\t\n"), malformed(1, "has a value that is not percent-encoded"));
    EXPECT_EQ(parseFailure("a\t1\r\n"), malformed(1, "has a value that is not percent-encoded"));
    EXPECT_EQ(parseFailure("a\t%2f\n"), malformed(1, "has a value that is not percent-encoded"));
    EXPECT_EQ(parseFailure("a\t1\nb\t2\na\t1\n"),
              malformed(3, "has a name that stands on an earlier line"));
}

TEST(StringFile, FirstChangeMakesPrivateDirectoryAndFile) {
    const TemporaryDirectory parent;
    const std::string directory = parent / "wallet";
    changeStrings(directory, [](Strings& strings) { putString(strings, "a", "1"); });
    EXPECT_EQ(modeOf(directory), 0700U);
    EXPECT_EQ(modeOf(directory + "/strings"), 0600U);
    EXPECT_EQ(readText(directory + "/strings"), "a\t1\n");
}

TEST(StringFile, ChangeReplacesAndDeletes) {
    const TemporaryDirectory directory;
    writeText(directory / "strings", "a\t1\nb\t2\n");
    const Strings changed = changeStrings(directory.pathname(), [](Strings& strings) {
        putString(strings, "a", "3");
        deleteString(strings, "b");
    });
    EXPECT_EQ(changed, (Strings{{"a", "3"}}));
    EXPECT_EQ(readText(directory / "strings"), "a\t3\n");
}

TEST(StringFile, FailingChangeLeavesTheFileAlone) {
    const TemporaryDirectory directory;
    writeText(directory / "strings", "a\t1\n");
    EXPECT_EQ(failureOf([&] {
                  changeStrings(directory.pathname(), [](Strings& strings) {
                      putString(strings, "b", "2");
                      deleteString(strings, "c");
                  });
              }),
              "There is no string named \"c\" in the wallet.");
    EXPECT_EQ(readText(directory / "strings"), "a\t1\n");
    EXPECT_EQ(failureOf([] {
                  Strings strings;
                  putString(strings, "", "x");
              }),
              "The name of a string must not be empty.");
}

TEST(StringFile, NothingButTheFileIsLeftBehind) {
    const TemporaryDirectory directory;
    changeStrings(directory.pathname(), [](Strings& strings) { putString(strings, "a", "1"); });
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory.pathname())) {
        names.push_back(entry.path().filename());
    }
    EXPECT_EQ(names, std::vector<std::string>{"strings"});
}

TEST(StringFile, ReplacingThatFailsLeavesNoTemporaryFile) {
    const TemporaryDirectory directory;
    std::filesystem::create_directory(directory / "strings");
    EXPECT_EQ(failureOf([&] { replaceFile(directory / "strings", "x"); }),
              "Cannot write \"" + (directory / "strings") + "\": Is a directory.");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.pathname()), {}), 1);
}

TEST(StringFile, ConcurrentChangesAreAllKept) {
    const TemporaryDirectory directory;
    constexpr int kThreads = 4;
    constexpr int kChanges = 25;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&directory, thread] {
            for (int change = 0; change < kChanges; ++change) {
                changeStrings(directory.pathname(), [&](Strings& strings) {
                    putString(strings, std::to_string(thread * kChanges + change), "v");
                });
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(readStrings(directory.pathname()).size(), std::size_t{kThreads * kChanges});
}

TEST(StringFile, UnreadableFileSaysWhy) {
    const TemporaryDirectory directory;
    std::filesystem::create_directory(directory / "strings");
    EXPECT_EQ(failureOf([&] { readStrings(directory.pathname()); }),
              "Cannot read \"" + (directory / "strings") + "\": Is a directory.");
    EXPECT_EQ(
        failureOf([&] { changeStrings(directory / "no/where", [](Strings& /*strings*/) {}); }),
        "Cannot make the directory \"" + (directory / "no/where") +
            "\": No such file or directory.");
}

TEST(Journal, FetchesAreAppendedOnlyWhenTheFileIsThere) {
    const TemporaryDirectory directory;
    journalFetch(directory.pathname(), "a");
    EXPECT_FALSE(std::filesystem::exists(directory / "journal"));
    writeText(directory / "journal", "before\n");
    journalFetch(directory.pathname(), "a");
    journalFetch(directory.pathname(), "b c\n");
    journalFetch(directory.pathname(), "");
    EXPECT_EQ(readText(directory / "journal"), "before\nget a\nget b%20c%0A\nget \n");
}

}  // namespace

}  // namespace Orvanta_OvWallet::Sandbox
