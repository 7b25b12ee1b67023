#include "securemem/PoolTables.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>
#include <utility>

#include "securemem/memoryLocking.h"
#include "support/addressSanitizer.h"

namespace Orvanta_OvWallet {
namespace {

struct HeapDeleter {
    void operator()(void* raw) const { ::operator delete(raw); }
};
using HeapMemory = std::unique_ptr<void, HeapDeleter>;

// To a multiple of the step, a power of two.
std::uint64_t roundUp(std::uint64_t number, std::uint64_t step) {
    return (number + step - 1) & ~(step - 1);
}

std::uint64_t pageSize() {
    return static_cast<std::uint64_t>(systemPageSize());
}

// The first page boundary at or after an address.
std::uint64_t alignedStart(std::uint64_t rawStart) {
    return roundUp(rawStart, pageSize());
}

// What a region takes from the heap: the request and two pages, so that whole pages larger than the
// request lie inside wherever it starts.
std::uint64_t heapSize(std::uint64_t size) {
    const std::uint64_t total = size + 2 * pageSize();
    if (total < size) {
        throw std::bad_alloc();
    }
    return total;
}

void* pointerTo(std::uint64_t address) {
    return reinterpret_cast<void*>(address);
}

std::uint64_t addressOf(const void* pointer) {
    return reinterpret_cast<std::uint64_t>(pointer);
}

}  // namespace

std::uint64_t PoolTables::allocate(std::uint64_t size) {
    const std::uint64_t rounded = roundUp(size, kGranularity);
    const auto bestFit = freeSizes_.lower_bound(rounded);
    std::uint64_t address = 0;
    if (bestFit == freeSizes_.end()) {
        address = allocateRegion(rounded);
    } else if (bestFit->first == rounded) {
        address = takeWhole(bestFit);
    } else {
        address = carveFromEnd(bestFit, rounded);
    }
    usedBlocks_ += rounded == 0 ? 0 : 1;
    allowAccess(pointerTo(address), size);
    return address;
}

std::uint64_t PoolTables::takeWhole(SizeTable::iterator entry) {
    const std::uint64_t block = entry->second;
    removeFree(freeAddresses_.find(block), entry);
    return block;
}

// Deliberate: the high end is handed out, so the free block keeps its start and only its size entry
// changes.
std::uint64_t PoolTables::carveFromEnd(SizeTable::iterator entry, std::uint64_t size) {
    makeSpareEntries(freeAddresses_.size(), usedBlocks_ + 1);
    const std::uint64_t rest = entry->first - size;
    const std::uint64_t block = entry->second + rest;
    resizeFree(entry, rest);
    return block;
}

std::uint64_t PoolTables::allocateRegion(std::uint64_t size) {
    // All that may fail comes before the pages are locked; no table has changed then.
    const std::uint64_t total = heapSize(size);
    makeSpareEntries(freeAddresses_.size() + 1, usedBlocks_ + 1);
    HeapMemory raw(::operator new(total));
    const std::uint64_t rawStart = addressOf(raw.get());
    const std::uint64_t start = alignedStart(rawStart);
    const std::uint64_t lockedLength = (rawStart + total - start) / pageSize() * pageSize();
    Region& region = regions_.emplace(rawStart, Region{lockedLength, false}).first->second;

    // The region table owns the memory from here on, and nothing below can fail.
    region.locked = lockMemory(pointerTo(start), lockedLength);
    static_cast<void>(raw.release());
    forbidAccess(pointerTo(start), lockedLength);
    insertFree({start + size, lockedLength - size}, freeAddresses_.upper_bound(start));
    return start;
}

void PoolTables::release(std::uint64_t address, std::uint64_t size) {
    const auto region = regionBegunBefore(address);
    if (region == regions_.end()) {
        return;
    }
    const std::uint64_t lockedStart = alignedStart(region->first);
    const std::uint64_t lockedEnd = lockedStart + region->second.lockedLength;
    if (address < lockedStart || address > lockedEnd) {
        return;
    }
    Block block{address, roundUp(size, kGranularity)};
    usedBlocks_ -= block.size == 0 ? 0 : 1;
    forbidAccess(pointerTo(block.address), block.size);
    auto above = freeAddresses_.lower_bound(block.end());
    // The locked end may be where the free block of another region begins.
    if (block.end() < lockedEnd && above != freeAddresses_.end() && *above == block.end()) {
        const auto entry = freeSizeOf(*above);
        block.size += entry->first;
        above = removeFree(above, entry);
    }
    const auto previous = freeBlockBefore(above, block.address, lockedStart);
    if (previous != freeSizes_.end()) {
        block = {previous->second, previous->first + block.size};
    }
    if (block.address == lockedStart && block.end() == lockedEnd) {
        if (previous != freeSizes_.end()) {
            removeFree(std::prev(above), previous);
        }
        returnRegion(region);
    } else if (previous != freeSizes_.end()) {
        resizeFree(previous, block.size);
    } else if (block.size != 0) {
        insertFree(block, above);
    }
    dropSurplusEntries();
}

// The last region whose raw start is not above the address, or end().
PoolTables::RegionTable::iterator PoolTables::regionBegunBefore(std::uint64_t address) {
    const auto above = regions_.upper_bound(address);
    return above == regions_.begin() ? regions_.end() : std::prev(above);
}

// The free block that ends at the address and does not begin before lockedStart, or end(). The
// first free block from the address on is given.
PoolTables::SizeTable::iterator PoolTables::freeBlockBefore(AddressSet::const_iterator above,
                                                            std::uint64_t address,
                                                            std::uint64_t lockedStart) {
    if (above == freeAddresses_.begin() || *std::prev(above) < lockedStart) {
        return freeSizes_.end();
    }
    const std::uint64_t start = *std::prev(above);
    // Most often it ends earlier, and hardly ever is there a free block of just that size then.
    if (!freeSizes_.contains(address - start)) {
        return freeSizes_.end();
    }
    const auto entry = freeSizeOf(start);
    return start + entry->first == address ? entry : freeSizes_.end();
}

void PoolTables::returnRegion(RegionTable::iterator region) {
    const HeapMemory raw(pointerTo(region->first));
    void* const start = pointerTo(alignedStart(region->first));
    if (region->second.locked) {
        unlockMemory(start, region->second.lockedLength);
    }
    allowAccess(start, region->second.lockedLength);
    regions_.erase(region);
}

// Deliberate: the table is ordered by size, so the entry of an address is found by looking at each
// one from the smallest on. The tables stay short; a second index would have to be kept in step.
PoolTables::SizeTable::iterator PoolTables::freeSizeOf(std::uint64_t address) {
    return std::find_if(freeSizes_.begin(), freeSizes_.end(),
                        [address](const auto& entry) { return entry.second == address; });
}

// Provides for so many free blocks and blocks handed out. Whatever is released then finds an entry,
// for each block in use has one, and a free block that is merged leaves its own.
void PoolTables::makeSpareEntries(std::uint64_t freeBlocks, std::uint64_t usedBlocks) {
    const std::uint64_t wanted = freeBlocks + usedBlocks;
    if (spareEntries_.capacity() < wanted) {
        spareEntries_.reserve(std::max(wanted, 2 * spareEntries_.capacity()));
    }
    while (freeAddresses_.size() + spareEntries_.size() < wanted) {
        AddressSet addresses{0};
        SizeTable sizes{{0, 0}};
        spareEntries_.push_back(
            {addresses.extract(addresses.begin()), sizes.extract(sizes.begin())});
    }
}

// A few more than are needed are kept, so that blocks come and go without the heap.
void PoolTables::dropSurplusEntries() {
    constexpr std::uint64_t kMostSurplus = 16;
    while (spareEntries_.size() > usedBlocks_ + kMostSurplus) {
        spareEntries_.pop_back();
    }
}

// Of equal sizes the one that came last is found last. The next free block's address is given.
void PoolTables::insertFree(Block block, AddressSet::const_iterator above) {
    FreeEntry entry = std::move(spareEntries_.back());
    spareEntries_.pop_back();
    entry.address.value() = block.address;
    entry.size.key() = block.size;
    entry.size.mapped() = block.address;
    freeAddresses_.insert(above, std::move(entry.address));
    freeSizes_.insert(std::move(entry.size));
}

void PoolTables::resizeFree(SizeTable::iterator entry, std::uint64_t size) {
    auto node = freeSizes_.extract(entry);
    node.key() = size;
    freeSizes_.insert(std::move(node));
}

// Returns the next free block's address.
PoolTables::AddressSet::const_iterator PoolTables::removeFree(AddressSet::const_iterator address,
                                                              SizeTable::iterator entry) {
    const auto above = std::next(address);
    spareEntries_.push_back({freeAddresses_.extract(address), freeSizes_.extract(entry)});
    return above;
}

}  // namespace Orvanta_OvWallet
