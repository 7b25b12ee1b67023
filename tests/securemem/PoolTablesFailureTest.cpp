// What PoolTables does when something fails: the tables stay as they were, and nothing leaks.

#include <cerrno>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/FailingHeap.h"
#include "doubles/thrown.h"
#include "securemem/PoolFixture.h"
#include "support/OvWalletException.h"

namespace Orvanta_OvWallet {
namespace {

class PoolTablesFailure : public PoolFixture {
  protected:
    PoolTablesFailure() {
        systemCalls().mlock = [this](const void*, std::size_t) {
            ++mlocks_;
            return 0;
        };
        systemCalls().munlock = [](const void*, std::size_t) { return 0; };
    }

    // The tables as text.
    std::string state() const { return "regions " + regions() + "; free " + freeBlocks(); }

    // Makes each allocation of memory inside the request fail once, and returns how many there are.
    std::uint64_t failEachAllocation(const std::function<void()>& request) {
        const std::string before = state();
        const int mlocksBefore = mlocks_;
        const std::int64_t live = FailingHeap::liveAllocations();
        for (std::uint64_t failAt = 1;; ++failAt) {
            bool failed = false;
            {
                const FailingHeap heap(failAt);
                try {
                    request();
                } catch (const std::bad_alloc&) {
                    failed = true;
                }
                EXPECT_EQ(failed, heap.failed());
            }
            if (!failed) {
                return failAt - 1;
            }
            EXPECT_EQ(state(), before) << "allocation " << failAt;
            EXPECT_EQ(mlocks_, mlocksBefore) << "allocation " << failAt;
            // Spare entries stay: an array, and two entries in two tables each.
            EXPECT_LE(FailingHeap::liveAllocations(), live + 5) << "allocation " << failAt;
        }
    }

    int mlocks_ = 0;
};

TEST_F(PoolTablesFailure, OfARequestThatNeedsARegionLeavesNothingBehind) {
    const std::int64_t live = FailingHeap::liveAllocations();
    EXPECT_GE(failEachAllocation([this] {
                  placeRegion(100, 0);
                  allocate(100);
              }),
              4U);
    EXPECT_EQ(state(), "regions 0:8192 locked; free 8080@112");
    release(0, 100);
    EXPECT_EQ(state(), "regions ; free ");
    tables_ = PoolTables();
    EXPECT_EQ(FailingHeap::liveAllocations(), live);
}

TEST_F(PoolTablesFailure, OfARequestThatCarvesLeavesTheFreeBlock) {
    placeRegion(16, 0);
    allocate(16);
    EXPECT_GE(failEachAllocation([this] { allocate(16); }), 2U);
    EXPECT_EQ(state(), "regions 0:8192 locked; free 8160@16");
}

TEST_F(PoolTablesFailure, OfTheHeapDuringARequestThatTakesAFreeBlockWholeCannotHappen) {
    placeRegion(16, 0);
    allocate(16);
    EXPECT_EQ(failEachAllocation([this] { allocate(8176); }), 0U);
    EXPECT_EQ(state(), "regions 0:8192 locked; free ");
}

TEST_F(PoolTablesFailure, OfTheHeapDuringAReleaseCannotHappen) {
    placeRegion(16, 0);
    const std::uint64_t low = allocate(16);
    const std::uint64_t middle = allocate(8000);
    const std::uint64_t high = allocate(16);
    const FailingHeap heap(1);
    release(middle, 8000);
    release(low, 16);
    release(high, 16);
    EXPECT_FALSE(heap.failed());
    EXPECT_EQ(regions(), "");
}

TEST_F(PoolTablesFailure, OfTheHeapWhileBlocksComeAndGoCannotHappen) {
    placeRegion(16, 0);
    allocate(16);
    release(allocate(100), 100);
    const FailingHeap heap(1);
    for (int i = 0; i < 100; ++i) {
        release(allocate(100), 100);
    }
    EXPECT_FALSE(heap.failed());
}

// Besides two entries for each block there is the array of the spare ones, which grows a few times.
TEST_F(PoolTablesFailure, OfTheHeapIsNotInvitedByGrowingWithEachBlock) {
    constexpr std::uint64_t kBlocks = 400;
    placeRegion(16, 0);
    allocate(16);
    const FailingHeap heap(2 * kBlocks + 16);
    for (std::uint64_t i = 0; i < kBlocks; ++i) {
        allocate(16);
    }
    EXPECT_FALSE(heap.failed());
}

TEST_F(PoolTablesFailure, OfTheHeapIsNotInvitedByKeepingTheEntriesOfManyBlocks) {
    constexpr std::uint64_t kBlocks = 400;
    constexpr std::int64_t kKept = 40;
    placeRegion(16, 0);
    allocate(16);
    std::vector<std::uint64_t> blocks(kBlocks);
    const std::int64_t live = FailingHeap::liveAllocations();
    for (std::uint64_t& block : blocks) {
        block = allocate(16);
    }
    for (const std::uint64_t block : blocks) {
        release(block, 16);
    }
    EXPECT_LE(FailingHeap::liveAllocations(), live + kKept);
}

TEST_F(PoolTablesFailure, OfThePageSizeLeavesNothingBehind) {
    systemCalls().sysconf = [](int) {
        errno = EINVAL;
        return -1L;
    };
    errno = 0;
    EXPECT_EQ(thrownBy<OvWalletException>([&] { allocate(100); }),
              "An attempt to determine the system page size failed (errno = Invalid argument).");
    EXPECT_EQ(state(), "regions ; free ");
    systemCalls().sysconf = nullptr;
    placeRegion(100, 0);
    EXPECT_EQ(allocate(100), 0U);
}

TEST_F(PoolTablesFailure, OfASizeThatWrapsIsThatOfTheHeap) {
    for (const std::uint64_t size :
         {PoolTables::kLargestSize, PoolTables::kLargestSize - 15, std::uint64_t{0} - 8192}) {
        EXPECT_THROW(allocate(size), std::bad_alloc) << size;
        EXPECT_EQ(state(), "regions ; free ");
        EXPECT_EQ(mlocks_, 0);
    }
}

TEST_F(PoolTablesFailure, OfASizeThatJustDoesNotWrapIsThatOfTheHeap) {
    EXPECT_THROW(allocate(std::uint64_t{0} - 8192 - 16), std::bad_alloc);
    EXPECT_EQ(state(), "regions ; free ");
}

TEST_F(PoolTablesFailure, OfAHugeRequestLeavesTheRegionsInUse) {
    placeRegion(16, 0);
    allocate(16);
    EXPECT_THROW(allocate(PoolTables::kLargestSize), std::bad_alloc);
    EXPECT_EQ(state(), "regions 0:8192 locked; free 8176@16");
}

TEST_F(PoolTablesFailure, AReleaseIntoEmptyTablesDoesNothing) {
    release(4096, 16);
    EXPECT_EQ(state(), "regions ; free ");
}

TEST_F(PoolTablesFailure, AReleaseOutsideEveryLockedRangeDoesNothing) {
    placeRegion(16, 16 * kPage + 4080);
    allocate(16);
    const std::string before = "regions 69616:8192 locked; free 8176@69648";
    EXPECT_EQ(state(), before);
    release(0, 16);
    release(69616 - 16, 16);
    release(69616, 16);
    release(69632 + 8192 + 16, 16);
    release(200 * kPage, 16);
    EXPECT_EQ(state(), before);
    EXPECT_EQ(mlocks_, 1);
}

}  // namespace
}  // namespace Orvanta_OvWallet
