// A test of PoolTables whose regions lie where the test puts them.
//
// Addresses are offsets into one page-aligned stretch of memory of the test, the ground. Locking is
// only noted: whether it is granted is up to the test.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/PlacedHeap.h"
#include "doubles/SystemCalls.h"
#include "securemem/PoolTables.h"

namespace Orvanta_OvWallet {

class PoolFixture : public ::testing::Test {
  protected:
    static constexpr std::uint64_t kPage = 4096;
    static constexpr std::uint64_t kGroundSize = 256 * kPage;

    PoolFixture() {
        systemCalls().mlock = [this](const void* begin, std::size_t size) {
            return note("mlock", begin, size) && lockingGranted_ ? 0 : -1;
        };
        systemCalls().munlock = [this](const void* begin, std::size_t size) {
            note("munlock", begin, size);
            return 0;
        };
        systemCalls().getrlimit = [](__rlimit_resource_t, rlimit*) { return -1; };
        systemCalls().geteuid = [] { return uid_t{0}; };
    }
    ~PoolFixture() override { systemCalls() = {}; }

    static std::uint64_t ground() { return reinterpret_cast<std::uint64_t>(memory()); }

    // The region that the next allocation of size bytes makes starts at the offset.
    static void placeRegion(std::uint64_t size, std::uint64_t offset) {
        PlacedHeap::placeNext(rounded(size) + 2 * kPage, memory() + offset);
    }
    static bool heapHolds(std::uint64_t offset) { return PlacedHeap::holds(memory() + offset); }

    std::uint64_t allocate(std::uint64_t size) { return tables_.allocate(size) - ground(); }
    void release(std::uint64_t offset, std::uint64_t size) {
        tables_.release(ground() + offset, size);
    }

    // "RAW:LENGTH locked" or "RAW:LENGTH unlocked" for each region, in order.
    std::string regions() const {
        std::string text;
        for (const auto& [raw, region] : tables_.regions()) {
            text += (text.empty() ? "" : ", ") + std::to_string(raw - ground()) + ":" +
                    std::to_string(region.lockedLength) + (region.locked ? " locked" : " unlocked");
        }
        return text;
    }

    // "SIZE@START" for each free block, in the order of the free-size table.
    std::string freeBlocks() const {
        std::string text;
        std::multiset<std::uint64_t> addresses;
        for (const auto& [size, address] : tables_.freeSizes()) {
            text += (text.empty() ? "" : ", ") + std::to_string(size) + "@" +
                    std::to_string(address - ground());
            addresses.insert(address);
        }
        const std::multiset<std::uint64_t> listed(tables_.freeAddresses().begin(),
                                                  tables_.freeAddresses().end());
        return addresses == listed ? text : text + " (the address set differs)";
    }

    // The calls since the last time, as "mlock START:LENGTH".
    std::vector<std::string> takeCalls() {
        std::vector<std::string> calls;
        calls.swap(calls_);
        return calls;
    }

    static std::uint64_t rounded(std::uint64_t size) { return (size + 15) / 16 * 16; }

    // Where the test may read and write; the pool's tables never look in there.
    static unsigned char* memory() {
        alignas(kPage) static unsigned char ground[kGroundSize];
        return ground;
    }

    PoolTables tables_;
    bool lockingGranted_ = true;

  private:
    bool note(const char* call, const void* begin, std::size_t size) {
        calls_.push_back(std::string(call) + " " +
                         std::to_string(reinterpret_cast<std::uint64_t>(begin) - ground()) + ":" +
                         std::to_string(size));
        return true;
    }

    std::vector<std::string> calls_;
};

// One region without a free byte: the blocks 0:16, 16:64, 80:16, 96:32, 128:16 and the rest,
// 144:8048.
class SmallBlocks : public PoolFixture {
  protected:
    SmallBlocks() {
        placeRegion(16, 0);
        allocate(16);
        allocate(8192 - 144);
        EXPECT_EQ(allocate(16), 128U);
        EXPECT_EQ(allocate(32), 96U);
        EXPECT_EQ(allocate(16), 80U);
        EXPECT_EQ(allocate(64), 16U);
        EXPECT_EQ(freeBlocks(), "");
        takeCalls();
    }
};

// Two regions without a gap: the second one's memory starts where the first one's locked range
// ends.
class NeighbouringRegions : public PoolFixture {
  protected:
    NeighbouringRegions() {
        placeRegion(16, 0);
        EXPECT_EQ(allocate(16), 0U);
        EXPECT_EQ(allocate(16), 8176U);
        placeRegion(8160 + 16, 8192);
        EXPECT_EQ(allocate(8160 + 16), 8192U);
        EXPECT_EQ(allocate(8160), 16U);
        EXPECT_EQ(regions(), "0:8192 locked, 8192:12288 locked");
        EXPECT_EQ(freeBlocks(), "4112@16368");
        takeCalls();
    }
};

}  // namespace Orvanta_OvWallet
