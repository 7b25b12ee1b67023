#include "securemem/PoolTables.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "securemem/PoolFixture.h"

namespace Orvanta_OvWallet {
namespace {

using Calls = std::vector<std::string>;
using PoolTablesTest = PoolFixture;

TEST_F(PoolTablesTest, StartEmpty) {
    EXPECT_EQ(regions(), "");
    EXPECT_EQ(freeBlocks(), "");
}

TEST_F(PoolTablesTest, TheFirstRequestMakesARegionAndTakesItsFirstBytes) {
    placeRegion(100, 16);
    EXPECT_EQ(allocate(100), 4096U);
    EXPECT_EQ(regions(), "16:4096 locked");
    EXPECT_EQ(freeBlocks(), "3984@4208");
    EXPECT_EQ(takeCalls(), Calls{"mlock 4096:4096"});
}

TEST_F(PoolTablesTest, ARegionThatStartsOnAPageBoundaryIsLockedFromThere) {
    placeRegion(100, 4096);
    EXPECT_EQ(allocate(100), 4096U);
    EXPECT_EQ(regions(), "4096:8192 locked");
    EXPECT_EQ(freeBlocks(), "8080@4208");
}

TEST_F(PoolTablesTest, ARegionThatStartsShortlyBeforeAPageBoundaryIsLockedFromThere) {
    placeRegion(100, 4080);
    EXPECT_EQ(allocate(100), 4096U);
    EXPECT_EQ(regions(), "4080:8192 locked");
}

TEST_F(PoolTablesTest, WhereverARegionStartsItsWholePagesHoldMoreThanTheRequest) {
    for (const std::uint64_t size : {0U, 1U, 16U, 4080U, 4096U, 4097U, 12288U}) {
        for (std::uint64_t raw = 0; raw < kPage; raw += 16) {
            const std::uint64_t start = raw == 0 ? 0 : kPage;
            const std::uint64_t end = raw + rounded(size) + 2 * kPage;
            const std::uint64_t length = (end - start) / kPage * kPage;
            placeRegion(size, raw);
            ASSERT_EQ(allocate(size), start);
            ASSERT_GT(length, rounded(size));
            ASSERT_EQ(regions(), std::to_string(raw) + ":" + std::to_string(length) + " locked");
            ASSERT_EQ(freeBlocks(), std::to_string(length - rounded(size)) + "@" +
                                        std::to_string(start + rounded(size)));
            release(start, size);
            ASSERT_EQ(regions(), "");
        }
    }
}

TEST_F(PoolTablesTest, FollowTheSystemsPageSize) {
    systemCalls().sysconf = [](int) { return 16384L; };
    PlacedHeap::placeNext(16 + 2 * 16384, memory() + 16384 + 16);
    const std::uint64_t block = allocate(1);
    EXPECT_EQ((ground() + block) % 16384, 0U);
    EXPECT_EQ(takeCalls(), Calls{"mlock " + std::to_string(block) + ":16384"});
}

TEST_F(PoolTablesTest, OneToSixteenBytesTakeSixteen) {
    for (const std::uint64_t size : {1U, 15U, 16U}) {
        placeRegion(size, 0);
        EXPECT_EQ(allocate(size), 0U);
        EXPECT_EQ(freeBlocks(), "8176@16") << size;
        release(0, size);
    }
}

TEST_F(PoolTablesTest, SeventeenBytesTakeThirtyTwo) {
    placeRegion(17, 0);
    allocate(17);
    EXPECT_EQ(freeBlocks(), "8160@32");
}

TEST_F(PoolTablesTest, ASizeThatRoundsToTheSameReleasesTheSame) {
    for (const std::uint64_t size : {17U, 31U, 32U}) {
        placeRegion(32, 0);
        allocate(32);
        release(0, size);
        EXPECT_EQ(regions(), "") << size;
    }
}

TEST_F(PoolTablesTest, ALargerFreeBlockGivesItsHighEnd) {
    placeRegion(16, 0);
    allocate(16);
    EXPECT_EQ(allocate(100), 8080U);
    EXPECT_EQ(freeBlocks(), "8064@16");
    EXPECT_EQ(allocate(1), 8064U);
    EXPECT_EQ(freeBlocks(), "8048@16");
    EXPECT_EQ(takeCalls(), Calls{"mlock 0:8192"});
}

TEST_F(PoolTablesTest, AFreeBlockOfTheSizeIsTakenWhole) {
    placeRegion(16, 0);
    allocate(16);
    EXPECT_EQ(allocate(8176), 16U);
    EXPECT_EQ(freeBlocks(), "");
    EXPECT_EQ(regions(), "0:8192 locked");
}

TEST_F(SmallBlocks, TheSmallestFreeBlockThatIsLargeEnoughIsUsed) {
    release(16, 64);
    release(96, 32);
    EXPECT_EQ(freeBlocks(), "32@96, 64@16");
    EXPECT_EQ(allocate(17), 96U);
    EXPECT_EQ(allocate(17), 48U);
    EXPECT_EQ(freeBlocks(), "32@16");
}

TEST_F(SmallBlocks, OfEqualSizesTheOneFreedFirstIsUsedFirst) {
    release(128, 16);
    release(0, 16);
    release(80, 16);
    EXPECT_EQ(freeBlocks(), "16@128, 16@0, 16@80");
    EXPECT_EQ(allocate(16), 128U);
    EXPECT_EQ(allocate(16), 0U);
    EXPECT_EQ(allocate(16), 80U);
}

TEST_F(SmallBlocks, WhatACarvedBlockKeepsCountsAsFreedNow) {
    release(96, 32);
    release(0, 16);
    release(128, 16);
    EXPECT_EQ(freeBlocks(), "16@0, 48@96");
    release(16, 64);
    EXPECT_EQ(freeBlocks(), "48@96, 80@0");
    EXPECT_EQ(allocate(32), 112U);
    EXPECT_EQ(freeBlocks(), "16@96, 80@0");
    EXPECT_EQ(allocate(64), 16U);
    EXPECT_EQ(freeBlocks(), "16@96, 16@0");
    EXPECT_EQ(allocate(1), 96U);
}

TEST_F(SmallBlocks, ABlockWithoutFreeNeighboursIsListedAlone) {
    release(96, 32);
    EXPECT_EQ(freeBlocks(), "32@96");
}

TEST_F(SmallBlocks, ABlockMergesWithTheFreeOneAfterIt) {
    release(96, 32);
    release(80, 16);
    EXPECT_EQ(freeBlocks(), "48@80");
}

TEST_F(SmallBlocks, ABlockMergesWithTheFreeOneBeforeIt) {
    release(16, 64);
    release(80, 16);
    EXPECT_EQ(freeBlocks(), "80@16");
}

TEST_F(SmallBlocks, ABlockBetweenTwoFreeOnesMergesWithBoth) {
    release(16, 64);
    release(96, 32);
    release(80, 16);
    EXPECT_EQ(freeBlocks(), "112@16");
}

TEST_F(SmallBlocks, ABlockDoesNotMergeAcrossOneThatIsInUse) {
    release(0, 16);
    release(80, 16);
    release(128, 16);
    EXPECT_EQ(freeBlocks(), "16@0, 16@80, 16@128");
}

TEST_F(SmallBlocks, ABlockDoesNotMergeAcrossAGapOfAnotherFreeBlocksSize) {
    release(16, 64);
    EXPECT_EQ(allocate(16), 64U);
    release(80, 16);
    release(128, 16);
    EXPECT_EQ(freeBlocks(), "16@80, 16@128, 48@16");
}

// Deliberate: the entry of an address is searched from the smallest size on; the address decides,
// whatever else has the same size.
TEST_F(SmallBlocks, AmongEqualSizesTheNeighboursOwnEntryIsMerged) {
    release(128, 16);
    release(80, 16);
    release(0, 16);
    release(96, 32);
    EXPECT_EQ(freeBlocks(), "16@0, 64@80");
    release(16, 64);
    EXPECT_EQ(freeBlocks(), "144@0");
}

TEST_F(SmallBlocks, TheLastReleaseGivesTheRegionBack) {
    struct Taken {
        std::uint64_t offset;
        std::uint64_t size;
    };
    const std::vector<Taken> blocks = {{0, 16}, {16, 64}, {80, 16}, {96, 32}, {128, 16}};
    for (const Taken& block : blocks) {
        release(block.offset, block.size);
    }
    EXPECT_EQ(freeBlocks(), "144@0");
    EXPECT_EQ(takeCalls(), Calls{});
    EXPECT_TRUE(heapHolds(0));
    release(144, 8192 - 144);
    EXPECT_EQ(freeBlocks(), "");
    EXPECT_EQ(regions(), "");
    EXPECT_EQ(takeCalls(), Calls{"munlock 0:8192"});
    EXPECT_FALSE(heapHolds(0));
}

TEST_F(PoolTablesTest, TwoReleasesGiveTheRegionBackInEitherOrder) {
    for (const bool lowFirst : {true, false}) {
        placeRegion(16, 0);
        const std::uint64_t low = allocate(16);
        const std::uint64_t high = allocate(100);
        takeCalls();
        release(lowFirst ? low : high, lowFirst ? 16 : 100);
        EXPECT_EQ(regions(), "0:8192 locked");
        EXPECT_EQ(takeCalls(), Calls{});
        release(lowFirst ? high : low, lowFirst ? 100 : 16);
        EXPECT_EQ(regions(), "");
        EXPECT_EQ(freeBlocks(), "");
        EXPECT_EQ(takeCalls(), Calls{"munlock 0:8192"});
        EXPECT_FALSE(heapHolds(0));
    }
}

TEST_F(PoolTablesTest, ARegionThatCouldNotBeLockedIsUsedAndNeverUnlocked) {
    lockingGranted_ = false;
    placeRegion(100, 0);
    EXPECT_EQ(allocate(100), 0U);
    EXPECT_EQ(regions(), "0:8192 unlocked");
    EXPECT_EQ(freeBlocks(), "8080@112");
    EXPECT_EQ(takeCalls(), Calls{"mlock 0:8192"});
    release(0, 100);
    EXPECT_EQ(regions(), "");
    EXPECT_EQ(takeCalls(), Calls{});
    EXPECT_FALSE(heapHolds(0));
}

TEST_F(PoolTablesTest, ARequestThatNoFreeBlockHoldsMakesAnotherRegion) {
    placeRegion(16, 0);
    allocate(16);
    placeRegion(8192, 64 * kPage);
    EXPECT_EQ(allocate(8192), 64 * kPage);
    EXPECT_EQ(regions(), "0:8192 locked, 262144:16384 locked");
    EXPECT_EQ(freeBlocks(), "8176@16, 8192@270336");
}

TEST_F(PoolTablesTest, EachRegionKeepsItsOwnLockedFlag) {
    placeRegion(16, 0);
    allocate(16);
    lockingGranted_ = false;
    placeRegion(8192, 64 * kPage);
    allocate(8192);
    EXPECT_EQ(regions(), "0:8192 locked, 262144:16384 unlocked");
    takeCalls();
    release(64 * kPage, 8192);
    EXPECT_EQ(takeCalls(), Calls{});
    release(0, 16);
    EXPECT_EQ(takeCalls(), Calls{"munlock 0:8192"});
}

TEST_F(NeighbouringRegions, AFreeBlockBeforeABlockOfAnotherRegionIsNotMergedWithIt) {
    release(8176, 16);
    EXPECT_EQ(freeBlocks(), "16@8176, 4112@16368");
    EXPECT_EQ(allocate(4112), 16368U);
    release(8192, 8176);
    EXPECT_EQ(freeBlocks(), "16@8176, 8176@8192");
}

TEST_F(NeighbouringRegions, AFreeBlockAfterABlockOfAnotherRegionIsNotMergedWithIt) {
    EXPECT_EQ(allocate(4112), 16368U);
    release(8192, 8176);
    release(8176, 16);
    EXPECT_EQ(freeBlocks(), "16@8176, 8176@8192");
}

TEST_F(NeighbouringRegions, OneIsGivenBackWithoutTheOther) {
    release(8176, 16);
    release(8192, 8176);
    EXPECT_EQ(regions(), "0:8192 locked");
    EXPECT_EQ(freeBlocks(), "16@8176");
    EXPECT_EQ(takeCalls(), Calls{"munlock 8192:12288"});
    EXPECT_TRUE(heapHolds(0));
    EXPECT_FALSE(heapHolds(8192));
}

TEST_F(PoolTablesTest, MemoryIsNotClearedByReleaseOrAllocation) {
    placeRegion(16, 0);
    allocate(16);
    const std::uint64_t first = allocate(32);
    std::memset(memory() + first, 'x', 32);
    release(first, 32);
    ASSERT_EQ(allocate(32), first);
    EXPECT_TRUE(std::all_of(memory() + first, memory() + first + 32,
                            [](unsigned char byte) { return byte == 'x'; }));
}

}  // namespace
}  // namespace Orvanta_OvWallet
