// What is asked of the pool and, beside it, of the heap.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

#include "securemem/LockedPagePool.h"

struct Pool {
    static void* take(std::size_t size) {
        return Orvanta_OvWallet::LockedPagePool::lockedAllocate(size);
    }
    static void give(void* block, std::size_t size) {
        Orvanta_OvWallet::LockedPagePool::lockedRelease(static_cast<std::uint8_t*>(block), size);
    }
};

struct Heap {
    static void* take(std::size_t size) {
        void* block = std::malloc(size);
        keep(block);
        return block;
    }
    static void give(void* block, std::size_t) { std::free(block); }

  private:
    // A block that nobody looks at would not be taken at all.
    static void keep(void*& block) { asm volatile("" : "+r"(block) : : "memory"); }
};

// One block. As long as a block of a region lives, the region is neither unlocked nor given back.
template <typename Memory>
class Held {
  public:
    explicit Held(std::size_t size) : size_(size), block_(Memory::take(size)) {}
    ~Held() { Memory::give(block_, size_); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

  private:
    std::size_t size_;
    void* block_;
};

template <typename Memory>
void takeAndGive() {
    const Held<Memory> block(64);
}

// A side with a URL of 60 bytes, a user name and a password of 40 bytes; each has a reference,
// whose value makes the text grow once.
template <typename Memory>
void blocksOfCredentialPass() {
    const Held<Memory> url(60);
    for (int property = 0; property < 2; ++property) {
        void* const text = Memory::take(40);
        const Held<Memory> grown(80);
        Memory::give(text, 40);
    }
}

template <typename Memory>
class LiveBlocks {
  public:
    explicit LiveBlocks(std::size_t count) : blocks_(count) {
        for (Block& block : blocks_) {
            block = taken();
        }
    }
    ~LiveBlocks() {
        for (const Block& block : blocks_) {
            Memory::give(block.begin, block.size);
        }
    }
    LiveBlocks(const LiveBlocks&) = delete;
    LiveBlocks& operator=(const LiveBlocks&) = delete;

    void replaceNext() {
        Block& block = blocks_[random_() % blocks_.size()];
        Memory::give(block.begin, block.size);
        block = taken();
    }

  private:
    struct Block {
        void* begin;
        std::size_t size;
    };

    Block taken() {
        const std::size_t size = 1 + random_() % 256;
        return {Memory::take(size), size};
    }

    std::minstd_rand random_;  // the same numbers in every run
    std::vector<Block> blocks_;
};
