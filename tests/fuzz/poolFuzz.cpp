// The page pool and the byte vector: allocations, releases and edits in any order, checked after
// each.

#include <stdlib.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <vector>

#include "fuzz/FuzzInput.h"
#include "fuzz/Reached.h"
#include "securemem/PoolTables.h"
#include "securemem/SecureByteVector.h"

using namespace Orvanta_OvWallet;

namespace {

Reached regionMade("a region made");
Reached regionReturned("a region given back");
Reached zeroBytes("a request of zero bytes");
Reached mergedForward("a release next to a free block above");
Reached mergedBackward("a release next to a free block below");
Reached mergedBoth("a release between two free blocks");
Reached exactFit("a free block taken whole");
Reached grown("a vector that outgrew its storage");
Reached wholePages("a run on a heap of whole pages");

bool heapOfWholePages = false;

struct PoolBlockInUse {
    std::uint64_t address;
    std::uint64_t size;
};

constexpr std::uint64_t kPage = 4096;

std::uint64_t roundUp(std::uint64_t value, std::uint64_t step) {
    return (value + step - 1) / step * step;
}

struct Piece {
    std::uint64_t size;
    bool free;
};

std::map<std::uint64_t, Piece> freePieces(const PoolTables& tables) {
    std::map<std::uint64_t, Piece> pieces;
    for (const auto& [size, address] : tables.freeSizes()) {
        REQUIRE(size != 0 && size % PoolTables::kGranularity == 0);
        REQUIRE(tables.freeAddresses().contains(address));
        REQUIRE(pieces.emplace(address, Piece{size, true}).second);
    }
    REQUIRE(pieces.size() == tables.freeAddresses().size());
    return pieces;
}

// Both free tables list the same blocks; each lies in one region's locked range; no two of a region
// touch; together with the blocks in use of more than zero bytes they fill every locked range
// exactly; no region is wholly free, but for one that was made for a zero-byte block.
void checkPoolInvariants(const PoolTables& tables, const std::vector<PoolBlockInUse>& inUse) {
    std::map<std::uint64_t, Piece> pieces = freePieces(tables);
    bool zeroByteBlocks = false;
    for (const PoolBlockInUse& block : inUse) {
        const std::uint64_t size = roundUp(block.size, PoolTables::kGranularity);
        zeroByteBlocks = zeroByteBlocks || size == 0;
        REQUIRE(size == 0 || pieces.emplace(block.address, Piece{size, false}).second);
    }
    auto piece = pieces.begin();
    for (const auto& [rawStart, region] : tables.regions()) {
        const std::uint64_t begin = roundUp(rawStart, kPage);
        const std::uint64_t end = begin + region.lockedLength;
        REQUIRE(region.lockedLength % kPage == 0);
        bool previousFree = false;
        bool used = false;
        std::uint64_t position = begin;
        for (; position != end; ++piece) {
            REQUIRE(piece != pieces.end() && piece->first == position);
            REQUIRE(!(piece->second.free && previousFree));
            previousFree = piece->second.free;
            used = used || !previousFree;
            position += piece->second.size;
            REQUIRE(position <= end);
        }
        REQUIRE(used || zeroByteBlocks);
    }
    REQUIRE(piece == pieces.end());
}

bool isFree(const PoolTables& tables, std::uint64_t address) {
    return tables.freeAddresses().contains(address);
}

bool endsFreeBlock(const PoolTables& tables, std::uint64_t address) {
    return std::any_of(tables.freeSizes().begin(), tables.freeSizes().end(),
                       [address](const auto& e) { return e.first + e.second == address; });
}

void countMerges(const PoolTables& tables, const PoolBlockInUse& block) {
    const std::uint64_t end = block.address + (block.size + 15) / 16 * 16;
    const bool forward = isFree(tables, end);
    const bool backward = endsFreeBlock(tables, block.address);
    if (forward && backward) {
        ++mergedBoth;
    } else if (forward) {
        ++mergedForward;
    } else if (backward) {
        ++mergedBackward;
    }
}

class PoolRun {
  public:
    void allocate(std::uint64_t size) {
        const std::size_t regions = tables_.regions().size();
        const std::size_t freeBlocks = tables_.freeSizes().size();
        const std::uint64_t address = tables_.allocate(size);
        std::memset(reinterpret_cast<void*>(address), 0xA5, size);
        inUse_.push_back({address, size});
        if (size == 0) {
            ++zeroBytes;
        }
        if (tables_.regions().size() > regions) {
            ++regionMade;
        } else if (tables_.freeSizes().size() < freeBlocks) {
            ++exactFit;
        }
        check();
    }

    void release(std::size_t which) {
        if (inUse_.empty()) {
            return;
        }
        const auto block = inUse_.begin() + static_cast<std::ptrdiff_t>(which % inUse_.size());
        const PoolBlockInUse released = *block;
        const std::size_t regions = tables_.regions().size();
        countMerges(tables_, released);
        inUse_.erase(block);
        tables_.release(released.address, released.size);
        if (tables_.regions().size() < regions) {
            ++regionReturned;
        }
        check();
    }

    void releaseAll() {
        while (!inUse_.empty()) {
            release(0);
        }
    }

  private:
    void check() const { checkPoolInvariants(tables_, inUse_); }

    PoolTables tables_;
    std::vector<PoolBlockInUse> inUse_;
};

void runPool(FuzzInput& input) {
    constexpr std::uint64_t kUnits[] = {1, 16, 256, 4096};
    PoolRun run;
    while (!input.exhausted()) {
        const std::uint8_t step = input.byte();
        if (step < 0x90) {
            run.allocate(std::uint64_t{input.byte()} % 32 * kUnits[step & 3]);
        } else {
            run.release(step);
        }
    }
    run.releaseAll();
}

void runVector(FuzzInput& input) {
    auto text = std::make_unique<SecureByteVector>(input.byte() % 64);
    std::vector<std::uint8_t> model(text->size(), 0);
    while (!input.exhausted()) {
        const std::uint8_t step = input.byte();
        const std::size_t at = text->size() == 0 ? 0 : input.byte() % (text->size() + 1);
        if (step < 0xA0) {
            const std::string run = input.shortText();
            const std::vector<std::uint8_t> bytes(run.begin(), run.end());
            if (text->capacity() - text->size() < bytes.size()) {
                ++grown;
            }
            text->insert(text->begin() + at, bytes.data(), bytes.data() + bytes.size());
            model.insert(model.begin() + static_cast<std::ptrdiff_t>(at), bytes.begin(),
                         bytes.end());
        } else {
            const std::size_t count = step % (text->size() - at + 1);
            text->erase(text->begin() + at, text->begin() + at + count);
            model.erase(model.begin() + static_cast<std::ptrdiff_t>(at),
                        model.begin() + static_cast<std::ptrdiff_t>(at + count));
        }
        REQUIRE(std::equal(text->begin(), text->end(), model.begin(), model.end()));
        REQUIRE(text->capacity() >= text->size());
    }
}

}  // namespace

// Large requests come from whole pages on demand: the start of a region is then its aligned start,
// and a locked range may end where the next region begins.
void* operator new(std::size_t size) {
    void* memory = nullptr;
    if (heapOfWholePages && size > kPage) {
        memory = ::aligned_alloc(kPage, (size + kPage - 1) / kPage * kPage);
    } else {
        memory = std::malloc(size == 0 ? 1 : size);
    }
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

// The fuzzer's own sorting asks for memory here, and frees it with the operator that is replaced.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::uint8_t kind = input.byte();
    heapOfWholePages = (kind & 1) != 0;
    if (heapOfWholePages) {
        ++wholePages;
    }
    if ((kind & 2) != 0) {
        runVector(input);
    } else {
        runPool(input);
    }
    heapOfWholePages = false;
    return 0;
}
