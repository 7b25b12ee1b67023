#include "securemem/PoolTables.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>
#include <utility>

#include "securemem/memoryLocking.h"
#include "securemem/systemPageSize.h"
#include "support/addressSanitizer.h"

namespace Orvanta_OvWallet {
namespace {

struct HeapDeleter {
    void operator()(void* raw) const { ::operator delete(raw); }
};
using HeapMemory = std::unique_ptr<void, HeapDeleter>;

std::uint64_t roundUp(std::uint64_t size) {
    return (size + PoolTables::kGranularity - 1) & ~(PoolTables::kGranularity - 1);
}

std::uint64_t pageSize() {
    return static_cast<std::uint64_t>(systemPageSize());
}

// The first page boundary at or behind an address.
std::uint64_t alignedStart(std::uint64_t rawStart) {
    const std::uint64_t page = pageSize();
    return (rawStart + page - 1) / page * page;
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
    const std::uint64_t rounded = roundUp(size);
    const auto bestFit = freeSizes_.lower_bound(rounded);
    std::uint64_t address = 0;
    if (bestFit == freeSizes_.end()) {
        address = allocateRegion(rounded);
    } else if (bestFit->first == rounded) {
        address = takeWhole(bestFit);
    } else {
        address = carveFromEnd(bestFit, rounded);
    }
    allowAccess(pointerTo(address), size);
    return address;
}

std::uint64_t PoolTables::takeWhole(SizeTable::iterator entry) {
    const std::uint64_t block = entry->second;
    spareEntries_.reserve(spareEntries_.size() + 1);
    spareEntries_.push_back(extractFree(entry));
    return block;
}

// Deliberate: the high end is handed out, so the free block keeps its start and only its size entry
// changes.
std::uint64_t PoolTables::carveFromEnd(SizeTable::iterator entry, std::uint64_t size) {
    spareEntries_.push_back(makeFreeEntry());
    auto node = freeSizes_.extract(entry);
    node.key() -= size;
    const std::uint64_t block = node.mapped() + node.key();
    freeSizes_.insert(std::move(node));
    return block;
}

std::uint64_t PoolTables::allocateRegion(std::uint64_t size) {
    const std::uint64_t total = heapSize(size);
    spareEntries_.reserve(spareEntries_.size() + 1);
    FreeEntry spare = makeFreeEntry();
    FreeEntry rest = makeFreeEntry();
    HeapMemory raw(::operator new(total));
    const std::uint64_t rawStart = addressOf(raw.get());
    const std::uint64_t start = alignedStart(rawStart);
    const std::uint64_t lockedLength = (rawStart + total - start) / pageSize() * pageSize();
    Region& region = regions_.emplace(rawStart, Region{lockedLength, false}).first->second;

    // The region table owns the memory from here on, and nothing below can fail.
    region.locked = lockMemory(pointerTo(start), lockedLength);
    static_cast<void>(raw.release());
    forbidAccess(pointerTo(start), lockedLength);
    insertFree(std::move(rest), {start + size, lockedLength - size});
    spareEntries_.push_back(std::move(spare));
    return start;
}

void PoolTables::release(std::uint64_t address, std::uint64_t size) {
    FreeEntry entry = takeSpareEntry();
    auto region = regions_.upper_bound(address);
    if (region == regions_.begin()) {
        return;
    }
    --region;
    const Block lockedRange{alignedStart(region->first), region->second.lockedLength};
    if (address < lockedRange.address || address > lockedRange.end()) {
        return;
    }
    Block block{address, roundUp(size)};
    forbidAccess(pointerTo(block.address), block.size);
    block = mergeForward(block, lockedRange.end());
    block = mergeBackward(block, region->first);
    if (block.address == lockedRange.address && block.end() == lockedRange.end()) {
        returnRegion(region, lockedRange);
    } else if (block.size != 0) {
        insertFree(std::move(entry), block);
    }
}

PoolTables::Block PoolTables::mergeForward(Block block, std::uint64_t lockedEnd) {
    while (block.end() < lockedEnd && freeAddresses_.contains(block.end())) {
        const auto next = freeSizeOf(block.end());
        block.size += next->first;
        extractFree(next);
    }
    return block;
}

PoolTables::Block PoolTables::mergeBackward(Block block, std::uint64_t rawStart) {
    for (;;) {
        const auto above = freeAddresses_.upper_bound(block.address);
        if (above == freeAddresses_.begin() || *std::prev(above) < rawStart) {
            return block;
        }
        const auto entry = freeSizeOf(*std::prev(above));
        const Block previous{entry->second, entry->first};
        if (previous.end() != block.address) {
            return block;
        }
        extractFree(entry);
        block = {previous.address, previous.size + block.size};
    }
}

void PoolTables::returnRegion(RegionTable::iterator region, Block lockedRange) {
    const HeapMemory raw(pointerTo(region->first));
    if (region->second.locked) {
        unlockMemory(pointerTo(lockedRange.address), lockedRange.size);
    }
    allowAccess(pointerTo(lockedRange.address), lockedRange.size);
    regions_.erase(region);
}

// Deliberate: the table is ordered by size, so the entry of an address is found by looking at each
// one from the smallest on. The tables stay short; a second index would have to be kept in step.
PoolTables::SizeTable::iterator PoolTables::freeSizeOf(std::uint64_t address) {
    return std::find_if(freeSizes_.begin(), freeSizes_.end(),
                        [address](const auto& entry) { return entry.second == address; });
}

PoolTables::FreeEntry PoolTables::makeFreeEntry() {
    AddressSet addresses{0};
    SizeTable sizes{{0, 0}};
    return {addresses.extract(addresses.begin()), sizes.extract(sizes.begin())};
}

// Only a release that no allocation preceded finds no spare entry.
PoolTables::FreeEntry PoolTables::takeSpareEntry() {
    if (spareEntries_.empty()) {
        return makeFreeEntry();
    }
    FreeEntry entry = std::move(spareEntries_.back());
    spareEntries_.pop_back();
    return entry;
}

PoolTables::FreeEntry PoolTables::extractFree(SizeTable::iterator entry) {
    auto address = freeAddresses_.extract(entry->second);
    return {std::move(address), freeSizes_.extract(entry)};
}

void PoolTables::insertFree(FreeEntry entry, Block block) {
    entry.address.value() = block.address;
    entry.size.key() = block.size;
    entry.size.mapped() = block.address;
    freeAddresses_.insert(std::move(entry.address));
    freeSizes_.insert(std::move(entry.size));
}

}  // namespace Orvanta_OvWallet
