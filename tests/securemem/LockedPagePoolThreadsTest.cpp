// LockedPagePool used by several threads at once.

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "doubles/SystemCalls.h"
#include "securemem/LockedPagePool.h"

namespace Orvanta_OvWallet {
namespace {

constexpr unsigned kThreads = 4;

void inThreads(const std::function<void(unsigned number)>& action) {
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < kThreads; ++number) {
        threads.emplace_back([&action, number] { action(number); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// Counts the regions that are locked and unlocked; the counters are guarded as the pool is.
class LockedPagePoolThreads : public ::testing::Test {
  protected:
    LockedPagePoolThreads() {
        systemCalls().mlock = [this](const void*, std::size_t) {
            ++locked_;
            return 0;
        };
        systemCalls().munlock = [this](const void*, std::size_t) {
            ++unlocked_;
            return 0;
        };
    }
    ~LockedPagePoolThreads() override {
        systemCalls() = {};
        EXPECT_GT(locked_, 0);
        EXPECT_EQ(locked_, unlocked_) << "not every region was given back";
    }

  private:
    long locked_ = 0;
    long unlocked_ = 0;
};

TEST_F(LockedPagePoolThreads, EachHasItsBlocksToItself) {
    inThreads([](unsigned number) {
        std::mt19937 random(number + 1);
        std::vector<std::pair<std::uint8_t*, std::size_t>> blocks;
        for (int step = 0; step < 3'000; ++step) {
            if (blocks.size() < 20 && random() % 2 == 0) {
                const std::size_t size = random() % 8 == 0 ? 0 : random() % 2'000;
                blocks.emplace_back(LockedPagePool::lockedAllocate(size), size);
                std::memset(blocks.back().first, static_cast<int>(number + 1), size);
            } else if (!blocks.empty()) {
                std::swap(blocks.at(random() % blocks.size()), blocks.back());
                const auto [begin, size] = blocks.back();
                EXPECT_TRUE(std::all_of(begin, begin + size, [number](std::uint8_t byte) {
                    return byte == number + 1;
                }));
                LockedPagePool::lockedRelease(begin, size);
                blocks.pop_back();
            }
        }
        for (const auto& [begin, size] : blocks) {
            LockedPagePool::lockedRelease(begin, size);
        }
    });
}

// The region that a zero-byte block points into goes with whichever neighbour is released last, its
// own thread's or another's, and others come and go at its address before it is released itself.
TEST_F(LockedPagePoolThreads, ZeroByteBlocksOutliveTheirRegions) {
    inThreads([](unsigned number) {
        for (unsigned round = 0; round < 5'000; ++round) {
            const std::size_t size = 16 + (round + number) % 7 * 600;
            std::uint8_t* const neighbour = LockedPagePool::lockedAllocate(size);
            std::array<std::uint8_t*, 3> points{};
            std::generate(points.begin(), points.end(),
                          [] { return LockedPagePool::lockedAllocate(0); });
            std::memset(neighbour, 'x', size);
            LockedPagePool::lockedRelease(points[0], 0);
            LockedPagePool::lockedRelease(neighbour, size);
            LockedPagePool::lockedRelease(points[1], 0);
            if (round % 3 == 0) {
                std::this_thread::yield();
            }
            LockedPagePool::lockedRelease(points[2], 0);
        }
    });
}

TEST_F(LockedPagePoolThreads, BlocksMayBeReleasedByAnotherThread) {
    std::vector<std::uint8_t*> blocks;
    for (std::size_t size = 0; size < 200; ++size) {
        blocks.push_back(LockedPagePool::lockedAllocate(size));
    }
    inThreads([&blocks](unsigned number) {
        for (std::size_t size = number; size < blocks.size(); size += kThreads) {
            LockedPagePool::lockedRelease(blocks[size], size);
        }
    });
}

}  // namespace
}  // namespace Orvanta_OvWallet
