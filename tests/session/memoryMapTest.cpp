#include "session/memoryMap.h"

#include <fcntl.h>

#include <cerrno>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "doubles/SystemCalls.h"
#include "doubles/TemporaryDirectory.h"

namespace Orvanta_OvWallet {
namespace {

using std::string_literals::operator""s;

constexpr const char* kFields = "7f0c1a200000-7f0c1a228000 r-xp 00028000 fe:01 1835 ";

std::string pathnameIn(const std::string& line) {
    const auto mapping = parseMapLine(line);
    return mapping ? std::string(mapping->pathname) : "no mapping";
}

TEST(MapLine, GivesAddressesAndPathname) {
    const std::string line = std::string(kFields) + "      /usr/lib/libc.so.6";
    const auto mapping = parseMapLine(line);
    ASSERT_TRUE(mapping.has_value());
    EXPECT_EQ(mapping->begin, 0x7f0c1a200000U);
    EXPECT_EQ(mapping->end, 0x7f0c1a228000U);
    EXPECT_EQ(mapping->pathname, "/usr/lib/libc.so.6");
}

TEST(MapLine, GivesAddressesOf64Bits) {
    const auto mapping = parseMapLine("fedcba9876543210-ffffffffffffffff r-xp 0 0:0 0 /x");
    ASSERT_TRUE(mapping.has_value());
    EXPECT_EQ(mapping->begin, 0xfedcba9876543210U);
    EXPECT_EQ(mapping->end, 0xffffffffffffffffU);
}

TEST(MapLine, GivesAPathnameWithBlanksWhole) {
    EXPECT_EQ(pathnameIn(std::string(kFields) + "/private dir/ my  lib.so "),
              "/private dir/ my  lib.so ");
}

TEST(MapLine, GivesTheMarkOfADeletedFileAsPartOfThePathname) {
    EXPECT_EQ(pathnameIn(std::string(kFields) + "/tmp/lib.so (deleted)"), "/tmp/lib.so (deleted)");
}

TEST(MapLine, GivesNothingWithoutAPathname) {
    EXPECT_EQ(pathnameIn(kFields), "no mapping");
    EXPECT_EQ(pathnameIn(""), "no mapping");
    EXPECT_EQ(pathnameIn(std::string(kFields) + "[stack]"), "no mapping");
    EXPECT_EQ(pathnameIn(std::string(kFields) + "anon_inode:[perf_event]"), "no mapping");
}

TEST(MapLine, GivesNothingWithoutTwoAddresses) {
    EXPECT_EQ(pathnameIn("/usr/lib/libc.so.6"), "no mapping");
    EXPECT_EQ(pathnameIn("xyz-7f0c1a228000 r-xp /a"), "no mapping");
    EXPECT_EQ(pathnameIn(" 7f0c-7f0d /a"), "no mapping");
    EXPECT_EQ(pathnameIn("7f0c-xyz /a"), "no mapping");
    EXPECT_EQ(pathnameIn("7f0c--7f0d /a"), "no mapping");
    EXPECT_EQ(pathnameIn("7f0c/x"), "no mapping");
}

TEST(MapLine, GivesNothingForAddressesOfMoreThan64Bits) {
    EXPECT_EQ(pathnameIn("10000000000000000-10000000000000001 r-xp /a"), "no mapping");
    EXPECT_EQ(pathnameIn("1000-10000000000000001 r-xp /a"), "no mapping");
}

constexpr const char* kHere = "10-20 r-xp 0 0:0 0 /here";
constexpr const char* kElsewhere = "20-30 r-xp 0 0:0 0 /elsewhere\n";

std::optional<std::string> foundIn(const std::string& map) {
    const TemporaryDirectory directory;
    writeFile(directory / "map", map);
    return pathnameMappedAt(0x1f, (directory / "map").c_str());
}

TEST(MemoryMap, GivesTheFirstFileThatCoversTheAddress) {
    EXPECT_EQ(foundIn(kElsewhere + std::string(kHere) + "\n0-ff r-xp 0 0:0 0 /later\n"), "/here");
    EXPECT_EQ(foundIn(kElsewhere), std::nullopt);
    EXPECT_EQ(foundIn(""), std::nullopt);
}

TEST(MemoryMap, MayEndWithoutANewline) {
    EXPECT_EQ(foundIn(kHere), "/here");
    EXPECT_EQ(foundIn(kElsewhere + std::string(kHere)), "/here");
}

TEST(MemoryMap, IsReadExactlyAsItStands) {
    EXPECT_EQ(foundIn("\n\n" + std::string(kHere) + " \t\r\n"), "/here \t\r");
    EXPECT_EQ(foundIn("\0\n"s + kHere + "\0\xff\n"s), "/here\0\xff"s);
}

TEST(MemoryMap, HasLinesOfAnyLengthWhereverTheyAreCut) {
    for (const std::size_t length : {4000U, 4095U, 4096U, 4097U, 8192U, 100'000U}) {
        const std::string skipped = std::string(length, '/') + "\n";
        const std::string longest = kHere + std::string(length, 'x');
        EXPECT_EQ(foundIn(skipped + kHere), "/here") << length;
        EXPECT_EQ(foundIn(skipped + longest + "\n"), longest.substr(longest.find('/'))) << length;
    }
}

TEST(MemoryMap, IsSearchedWholeHoweverFewBytesARead) {
    systemCalls().read = [](int descriptor, void* buffer, std::size_t) {
        return real::read(descriptor, buffer, 7);
    };
    EXPECT_EQ(foundIn(std::string(kElsewhere) + kElsewhere + kHere + "\n"), "/here");
}

TEST(MemoryMap, IsNotReadBeyondTheLineThatIsLookedFor) {
    int reads = 0;
    systemCalls().read = [&](int descriptor, void* buffer, std::size_t size) {
        ++reads;
        return real::read(descriptor, buffer, size);
    };
    EXPECT_EQ(foundIn(kHere + ("\n" + std::string(100'000, '\n'))), "/here");
    EXPECT_EQ(reads, 1);
}

TEST(MemoryMap, GivesNothingWhenItCannotBeOpenedOrRead) {
    EXPECT_EQ(pathnameMappedAt(0x1f, "/no/such/file"), std::nullopt);
    EXPECT_EQ(pathnameMappedAt(0x1f, "/"), std::nullopt);
}

TEST(MemoryMap, EndsWhereReadingFails) {
    systemCalls().read = [first = true](int descriptor, void* buffer, std::size_t) mutable {
        if (std::exchange(first, false)) {
            return real::read(descriptor, buffer, 7);
        }
        errno = EIO;
        return ssize_t{-1};
    };
    EXPECT_EQ(foundIn(std::string(kElsewhere) + kHere), std::nullopt);
}

TEST(MemoryMap, IsClosedAndNotInheritedByOtherPrograms) {
    int descriptor = -1;
    systemCalls().open = [&](const char* path, int flags, mode_t mode) {
        EXPECT_EQ(flags, O_RDONLY | O_CLOEXEC);
        return descriptor = real::open(path, flags, mode);
    };
    EXPECT_NE(pathnameMappedAt(reinterpret_cast<std::uint64_t>(&foundIn), "/proc/self/maps"),
              std::nullopt);
    EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
}

}  // namespace
}  // namespace Orvanta_OvWallet
