#include "session/memoryMap.h"

#include <string>

#include <gtest/gtest.h>

namespace Orvanta_OvWallet {
namespace {

constexpr const char* kFields = "7f0c1a200000-7f0c1a228000 r-xp 00028000 fe:01 1835 ";

std::string pathnameIn(const std::string& line) {
    const auto mapping = parseMapLine(line);
    return mapping ? mapping->pathname : "no mapping";
}

TEST(MapLine, GivesAddressesAndPathname) {
    const auto mapping = parseMapLine(std::string(kFields) + "      /usr/lib/libc.so.6");
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

}  // namespace
}  // namespace Orvanta_OvWallet
