// The tables of LockedPagePool and the operations on them, without the lock.
//
// LockedPagePool.h says how the pool works. Callers hold ProcessLock, unless no other thread knows
// the object. Addresses and sizes are unsigned 64-bit numbers, ranges half-open.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <vector>

namespace Orvanta_OvWallet {

class PoolTables {
  public:
    struct Region {
        std::uint64_t lockedLength;  // whole pages, in bytes
        bool locked;                 // whether locking them was granted
    };
    using RegionTable = std::map<std::uint64_t, Region>;
    using AddressSet = std::set<std::uint64_t>;
    using SizeTable = std::multimap<std::uint64_t, std::uint64_t>;

    static constexpr std::uint64_t kGranularity = 16;
    static constexpr std::uint64_t kLargestSize = 0xFFFFFFFFFFFFFFF0;

    // size is at most kLargestSize. Throws what systemPageSize throws, or std::bad_alloc; the
    // tables are then unchanged.
    std::uint64_t allocate(std::uint64_t size);

    // size is at most kLargestSize. Nothing happens for an address outside of every region's locked
    // range; the end of one still counts as inside.
    void release(std::uint64_t address, std::uint64_t size);

    const RegionTable& regions() const { return regions_; }
    const AddressSet& freeAddresses() const { return freeAddresses_; }
    const SizeTable& freeSizes() const { return freeSizes_; }

  private:
    // The two table entries of one free block, outside the tables.
    struct FreeEntry {
        AddressSet::node_type address;
        SizeTable::node_type size;
    };
    struct Block {
        std::uint64_t address;
        std::uint64_t size;

        std::uint64_t end() const { return address + size; }
    };

    void makeSpareEntries(std::uint64_t freeBlocks, std::uint64_t usedBlocks);
    void dropSurplusEntries();

    std::uint64_t takeWhole(SizeTable::iterator entry);
    std::uint64_t carveFromEnd(SizeTable::iterator entry, std::uint64_t size);
    std::uint64_t allocateRegion(std::uint64_t size);

    RegionTable::iterator regionBegunBefore(std::uint64_t address);
    SizeTable::iterator freeSizeOf(std::uint64_t address);
    SizeTable::iterator freeBlockBefore(AddressSet::const_iterator above, std::uint64_t address,
                                        std::uint64_t lockedStart);
    void returnRegion(RegionTable::iterator region);

    void insertFree(Block block, AddressSet::const_iterator above);
    void resizeFree(SizeTable::iterator entry, std::uint64_t size);
    AddressSet::const_iterator removeFree(AddressSet::const_iterator address,
                                          SizeTable::iterator entry);

    RegionTable regions_;
    AddressSet freeAddresses_;
    SizeTable freeSizes_;

    // As many as there are blocks handed out, or more; with room for the entries of every free
    // block, too, so that nothing is allocated when one becomes spare.
    std::vector<FreeEntry> spareEntries_;
    std::uint64_t usedBlocks_ = 0;  // handed out, those of zero bytes not counted
};

}  // namespace Orvanta_OvWallet
