// Blocks of zero bytes: an address and nothing else, wherever it lies by the time it is released.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "securemem/PoolFixture.h"

namespace Orvanta_OvWallet {
namespace {

using Calls = std::vector<std::string>;
using ZeroBytes = PoolFixture;

TEST_F(ZeroBytes, OfAnEmptyPoolMakeARegionThatIsWhollyFree) {
    placeRegion(0, 16);
    EXPECT_EQ(allocate(0), 4096U);
    EXPECT_EQ(regions(), "16:4096 locked");
    EXPECT_EQ(freeBlocks(), "4096@4096");
    release(4096, 0);
    EXPECT_EQ(regions(), "");
    EXPECT_EQ(freeBlocks(), "");
    EXPECT_EQ(takeCalls(), (Calls{"mlock 4096:4096", "munlock 4096:4096"}));
    EXPECT_FALSE(heapHolds(16));
}

TEST_F(ZeroBytes, LieAtTheEndOfAFreeBlockWhichStaysAsItIs) {
    placeRegion(16, 0);
    allocate(16);
    const std::uint64_t high = allocate(32);
    EXPECT_EQ(allocate(0), high);
    EXPECT_EQ(freeBlocks(), "8144@16");
    release(high, 0);
    EXPECT_EQ(freeBlocks(), "8144@16");
    EXPECT_EQ(regions(), "0:8192 locked");
}

class ZeroBytesAmongSmallBlocks : public SmallBlocks {};
class ZeroBytesAmongNeighbouringRegions : public NeighbouringRegions {};

TEST_F(ZeroBytesAmongSmallBlocks, PutTheFreeBlockAfterOthersOfItsSize) {
    release(128, 16);
    release(0, 16);
    EXPECT_EQ(freeBlocks(), "16@128, 16@0");
    EXPECT_EQ(allocate(0), 144U);
    EXPECT_EQ(freeBlocks(), "16@0, 16@128");
    EXPECT_EQ(allocate(0), 16U);
    EXPECT_EQ(freeBlocks(), "16@128, 16@0");
    release(144, 0);
    EXPECT_EQ(freeBlocks(), "16@0, 16@128");
    release(16, 0);
    EXPECT_EQ(freeBlocks(), "16@128, 16@0");
}

TEST_F(ZeroBytesAmongSmallBlocks, InsideWhatIsFreeByNowAreGone) {
    release(16, 64);
    EXPECT_EQ(allocate(0), 80U);
    release(80, 16);
    EXPECT_EQ(freeBlocks(), "80@16");
    release(80, 0);
    EXPECT_EQ(freeBlocks(), "80@16");
}

TEST_F(ZeroBytesAmongSmallBlocks, AtTheStartOfWhatIsFreeByNowAreGone) {
    release(16, 64);
    EXPECT_EQ(allocate(0), 80U);
    EXPECT_EQ(allocate(64), 16U);
    release(80, 16);
    EXPECT_EQ(freeBlocks(), "16@80");
    release(80, 0);
    EXPECT_EQ(freeBlocks(), "16@80");
}

TEST_F(ZeroBytesAmongSmallBlocks, BetweenBlocksInUseAreNotListedAsFree) {
    release(16, 64);
    EXPECT_EQ(allocate(0), 80U);
    EXPECT_EQ(allocate(64), 16U);
    release(80, 0);
    EXPECT_EQ(freeBlocks(), "");
    release(80, 16);
    release(16, 64);
    EXPECT_EQ(freeBlocks(), "80@16");
    release(0, 16);
    release(96, 32);
    release(128, 16);
    release(144, 8048);
    EXPECT_EQ(regions(), "");
    EXPECT_EQ(freeBlocks(), "");
}

TEST_F(ZeroBytesAmongSmallBlocks, InsideABlockInUseAreGone) {
    release(16, 64);
    EXPECT_EQ(allocate(0), 80U);
    release(80, 16);
    EXPECT_EQ(allocate(80), 16U);
    release(80, 0);
    EXPECT_EQ(freeBlocks(), "");
    release(16, 80);
    EXPECT_EQ(freeBlocks(), "80@16");
}

TEST_F(ZeroBytes, AtTheLockedEndAreReleasedBeforeTheirNeighbour) {
    placeRegion(16, 0);
    allocate(16);
    EXPECT_EQ(allocate(0), 8192U);
    release(8192, 0);
    EXPECT_EQ(regions(), "0:8192 locked");
    EXPECT_EQ(freeBlocks(), "8176@16");
    release(0, 16);
    EXPECT_EQ(regions(), "");
}

TEST_F(ZeroBytes, AtTheLockedEndOfAFullRegionAreNotListedAsFree) {
    placeRegion(16, 0);
    allocate(16);
    EXPECT_EQ(allocate(0), 8192U);
    EXPECT_EQ(allocate(8176), 16U);
    release(8192, 0);
    EXPECT_EQ(freeBlocks(), "");
    EXPECT_EQ(regions(), "0:8192 locked");
}

TEST_F(ZeroBytes, WhoseRegionANeighbourGaveBackAreIgnored) {
    placeRegion(16, 0);
    allocate(16);
    EXPECT_EQ(allocate(0), 8192U);
    release(0, 16);
    EXPECT_EQ(regions(), "");
    takeCalls();
    release(8192, 0);
    EXPECT_EQ(regions(), "");
    EXPECT_EQ(freeBlocks(), "");
    EXPECT_EQ(takeCalls(), Calls{});
}

TEST_F(ZeroBytes, DoNotKeepTheirRegion) {
    placeRegion(0, 0);
    EXPECT_EQ(allocate(0), 0U);
    EXPECT_EQ(allocate(16), 8176U);
    release(8176, 16);
    EXPECT_EQ(regions(), "");
    release(0, 0);
    EXPECT_EQ(regions(), "");
}

TEST_F(ZeroBytes, OfAWhollyFreeRegionGiveItBackAtEitherEnd) {
    for (const bool lowFirst : {true, false}) {
        placeRegion(0, 0);
        EXPECT_EQ(allocate(0), 0U);
        EXPECT_EQ(allocate(0), 8192U);
        EXPECT_EQ(freeBlocks(), "8192@0");
        takeCalls();
        release(lowFirst ? 0 : 8192, 0);
        EXPECT_EQ(regions(), "");
        EXPECT_EQ(freeBlocks(), "");
        EXPECT_EQ(takeCalls(), Calls{"munlock 0:8192"});
        release(lowFirst ? 8192 : 0, 0);
        EXPECT_EQ(regions(), "");
        EXPECT_EQ(takeCalls(), Calls{});
    }
}

TEST_F(ZeroBytes, DoNotDisturbABlockThatTookTheirWholeRegion) {
    placeRegion(0, 0);
    EXPECT_EQ(allocate(0), 0U);
    EXPECT_EQ(allocate(8192), 0U);
    EXPECT_EQ(freeBlocks(), "");
    release(0, 0);
    EXPECT_EQ(freeBlocks(), "");
    EXPECT_EQ(regions(), "0:8192 locked");
    release(0, 8192);
    EXPECT_EQ(regions(), "");
}

TEST_F(ZeroBytes, WhoseRegionIsGoneLeaveRegionsAboveAndBelowAlone) {
    placeRegion(16, 64 * kPage);
    EXPECT_EQ(allocate(16), 262144U);
    EXPECT_EQ(allocate(0), 270336U);
    placeRegion(8192, 0);
    allocate(8192);
    placeRegion(12288, 128 * kPage);
    allocate(12288);
    release(262144, 16);
    const std::string regionsBefore = "0:16384 locked, 524288:20480 locked";
    EXPECT_EQ(regions(), regionsBefore);
    EXPECT_EQ(freeBlocks(), "8192@8192, 8192@536576");
    takeCalls();
    release(270336, 0);
    release(262144, 0);
    EXPECT_EQ(regions(), regionsBefore);
    EXPECT_EQ(freeBlocks(), "8192@8192, 8192@536576");
    EXPECT_EQ(takeCalls(), Calls{});
}

TEST_F(ZeroBytes, WhoseRegionIsGoneAndWasTheLowestAreIgnored) {
    placeRegion(16, 0);
    allocate(16);
    EXPECT_EQ(allocate(0), 8192U);
    placeRegion(8192, 64 * kPage);
    allocate(8192);
    release(0, 16);
    EXPECT_EQ(regions(), "262144:16384 locked");
    release(8192, 0);
    EXPECT_EQ(regions(), "262144:16384 locked");
    EXPECT_EQ(freeBlocks(), "8192@270336");
}

// A region is at the address of one that is gone, and a zero-byte block of the old one is released:
// at the start of a block in use, inside one, between two, at the start of a free block, inside
// one, at the new region's end, in the slack before its locked range.
TEST_F(ZeroBytes, WhoseRegionWasReplacedAtItsAddressLeaveTheNewOneAlone) {
    struct Replacement {
        std::uint64_t raw;
        std::uint64_t size;
        std::string regions;
        std::string freeBlocks;
    };
    const std::vector<Replacement> replacements = {
        {8192, 100, "8192:8192 locked", "8080@8304"},
        {0, 16384, "0:24576 locked", "8192@16384"},
        {4096, 4096, "4096:12288 locked", "8192@8192"},
        {4096, 16, "4096:8192 locked", "8176@4112"},
        {0, 16, "0:8192 locked", "8176@16"},
        {8192 - 16, 16, "8176:8192 locked", "8176@8208"},
        {8192 - 4080, 16, "4112:4096 locked", "4080@8208"},
        {4096 + 16, 5000, "4112:8192 locked", "3184@13200"},
    };
    for (const Replacement& replacement : replacements) {
        placeRegion(16, 0);
        EXPECT_EQ(allocate(16), 0U);
        EXPECT_EQ(allocate(0), 8192U);
        release(0, 16);

        placeRegion(replacement.size, replacement.raw);
        const std::uint64_t block = allocate(replacement.size);
        EXPECT_EQ(regions(), replacement.regions);
        EXPECT_EQ(freeBlocks(), replacement.freeBlocks);
        takeCalls();
        release(8192, 0);
        EXPECT_EQ(regions(), replacement.regions);
        EXPECT_EQ(freeBlocks(), replacement.freeBlocks);
        EXPECT_EQ(takeCalls(), Calls{});
        release(block, replacement.size);
        EXPECT_EQ(regions(), "");
    }
}

TEST_F(ZeroBytes, InTheSlackBeforeANewLockedRangeAreIgnored) {
    placeRegion(16, 0);
    allocate(16);
    EXPECT_EQ(allocate(0), 8192U);
    release(0, 16);
    placeRegion(16, 8192 - 16 + 32);
    EXPECT_EQ(allocate(16), 12288U);
    release(8192 + 32, 0);
    release(8192, 0);
    EXPECT_EQ(regions(), "8208:4096 locked");
    EXPECT_EQ(freeBlocks(), "4080@12304");
}

TEST_F(ZeroBytesAmongNeighbouringRegions, AtTheStartOfTheNextRegionLeaveItsBlockAlone) {
    release(8176, 16);
    EXPECT_EQ(allocate(0), 8192U);
    EXPECT_EQ(freeBlocks(), "16@8176, 4112@16368");
    release(8192, 0);
    EXPECT_EQ(freeBlocks(), "16@8176, 4112@16368");
    EXPECT_EQ(regions(), "0:8192 locked, 8192:12288 locked");
}

TEST_F(ZeroBytesAmongNeighbouringRegions, AtTheStartOfTheNextRegionLeaveItsFreeBlockListedOnce) {
    release(8176, 16);
    EXPECT_EQ(allocate(0), 8192U);
    EXPECT_EQ(allocate(4112), 16368U);
    release(8192, 8176);
    release(8192, 0);
    EXPECT_EQ(freeBlocks(), "16@8176, 8176@8192");
}

TEST_F(ZeroBytes, OverAndOverOutliveTheirRegions) {
    systemCalls() = {};
    PoolTables tables;
    for (int round = 0; round < 5'000; ++round) {
        const std::uint64_t neighbour = tables.allocate(64);
        const std::uint64_t first = tables.allocate(0);
        const std::uint64_t second = tables.allocate(0);
        tables.release(neighbour, 64);
        ASSERT_TRUE(tables.regions().empty());
        tables.release(first, 0);
        tables.release(second, 0);
        ASSERT_TRUE(tables.regions().empty());
        ASSERT_TRUE(tables.freeSizes().empty());
        ASSERT_TRUE(tables.freeAddresses().empty());
    }
}

}  // namespace
}  // namespace Orvanta_OvWallet
