// Long seeded runs of PoolTables against a plain model, all three tables compared after each step.

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/FailingHeap.h"
#include "securemem/PoolFixture.h"
#include "securemem/PoolModel.h"

namespace Orvanta_OvWallet {
namespace {

constexpr int kSteps = 4'000;
constexpr std::size_t kMostBlocks = 60;
constexpr std::size_t kPlaces = 6;

class PoolTablesModel : public PoolFixture, public ::testing::WithParamInterface<unsigned> {
  protected:
    struct Block {
        std::uint64_t address;
        std::uint64_t size;
        unsigned char content;
    };

    std::uint64_t below(std::uint64_t limit) { return random_() % limit; }

    // Many blocks of few sizes, so that equal sizes meet; some of none.
    std::uint64_t drawSize() {
        const std::uint64_t kind = below(100);
        if (kind < 15) {
            return 0;
        }
        if (kind < 60) {
            return 1 + below(48);
        }
        return kind < 92 ? 1 + below(2'000) : 1 + below(9'000);
    }

    // The places are far enough apart for the largest region, each at any start that a heap gives.
    std::uint64_t drawPlace() {
        std::vector<std::uint64_t> unused;
        for (std::uint64_t place = 0; place < kPlaces; ++place) {
            if (placesInUse_.count(place) == 0) {
                unused.push_back(place);
            }
        }
        return unused.at(below(unused.size()));
    }

    void take(std::uint64_t size) {
        std::uint64_t expected = 0;
        if (model_.needsRegion(size)) {
            if (placesInUse_.size() == kPlaces) {
                return;
            }
            const std::uint64_t place = drawPlace();
            const std::uint64_t raw = place * 16 * kPage + below(kPage / 16) * 16;
            const std::uint64_t start = (raw + kPage - 1) / kPage * kPage;
            const std::uint64_t length = (raw + rounded(size) + 2 * kPage - start) / kPage * kPage;
            lockingGranted_ = below(4) != 0;
            placeRegion(size, raw);
            model_.addRegion(raw, start, length, lockingGranted_);
            expected = model_.allocateAtStartOf(raw, size);
            placesInUse_.insert(place);
        } else {
            expected = model_.allocate(size);
        }
        const std::uint64_t address = allocate(size);
        ASSERT_EQ(address, expected);
        const auto content = static_cast<unsigned char>(random_());
        std::memset(memory() + address, content, size);
        blocks_.push_back({address, size, content});
    }

    void giveBack(std::size_t index) {
        const Block block = blocks_.at(index);
        blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(index));
        const unsigned char* const begin = memory() + block.address;
        ASSERT_TRUE(std::all_of(begin, begin + block.size, [&](unsigned char byte) {
            return byte == block.content;
        })) << "the block's bytes were changed by others";
        const PoolModel::GoneRegion gone = model_.release(block.address, block.size);
        std::vector<std::string> calls;
        if (gone.length != 0) {
            placesInUse_.erase(gone.start / (16 * kPage));
            if (gone.locked) {
                calls.push_back("munlock " + std::to_string(gone.start) + ":" +
                                std::to_string(gone.length));
            }
        }
        takeCalls();
        release(block.address, block.size);
        ASSERT_EQ(takeCalls(), calls);
    }

    // The tables in the model's words, after a check of what any tables must fulfil.
    std::string tablesText() const {
        std::string text;
        for (const auto& [raw, region] : tables_.regions()) {
            text += std::to_string(raw - ground()) + ":" + std::to_string(region.lockedLength) +
                    (region.locked ? " locked, " : " unlocked, ");
        }
        text += "free ";
        std::set<std::uint64_t> addresses;
        for (const auto& [size, address] : tables_.freeSizes()) {
            text += std::to_string(size) + "@" + std::to_string(address - ground()) + ", ";
            addresses.insert(address);
        }
        return addresses == tables_.freeAddresses() ? text : text + "the address set differs";
    }

    std::mt19937 random_{GetParam()};
    PoolModel model_;
    std::vector<Block> blocks_;
    std::set<std::uint64_t> placesInUse_;
};

TEST_P(PoolTablesModel, HoldsWhatTheModelHoldsAfterEachStep) {
    for (int step = 0; step < kSteps; ++step) {
        const bool growing = step / 200 % 2 == 0;
        const bool takes =
            blocks_.empty() || (blocks_.size() < kMostBlocks && below(100) < (growing ? 65 : 35));
        if (takes) {
            ASSERT_NO_FATAL_FAILURE(take(drawSize())) << "at step " << step;
        } else {
            ASSERT_NO_FATAL_FAILURE(giveBack(below(blocks_.size()))) << "at step " << step;
        }
        ASSERT_EQ(tablesText(), model_.text()) << "at step " << step;
    }
    while (!blocks_.empty()) {
        ASSERT_NO_FATAL_FAILURE(giveBack(below(blocks_.size())));
        ASSERT_EQ(tablesText(), model_.text());
    }
    EXPECT_EQ(regions(), "");
    EXPECT_EQ(freeBlocks(), "");
}

INSTANTIATE_TEST_SUITE_P(Seeds, PoolTablesModel, ::testing::Range(1U, 9U));

// Every release of a run, with a heap that gives nothing.
using PoolTablesLongRun = PoolFixture;

TEST_F(PoolTablesLongRun, NoReleaseNeedsTheHeap) {
    systemCalls() = {};
    std::mt19937 random(7);
    PoolTables tables;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> blocks;
    for (int step = 0; step < 20'000; ++step) {
        if (blocks.size() < 40 && random() % 2 == 0) {
            const std::uint64_t size = random() % 4 == 0 ? 0 : random() % 3'000;
            blocks.emplace_back(tables.allocate(size), size);
        } else if (!blocks.empty()) {
            std::swap(blocks.at(random() % blocks.size()), blocks.back());
            const FailingHeap heap(1);
            tables.release(blocks.back().first, blocks.back().second);
            ASSERT_FALSE(heap.failed()) << "at step " << step;
            blocks.pop_back();
        }
    }
    for (const auto& [address, size] : blocks) {
        tables.release(address, size);
    }
    EXPECT_TRUE(tables.regions().empty());
}

}  // namespace
}  // namespace Orvanta_OvWallet
