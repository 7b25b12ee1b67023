// The heap of the whole process, with a record of every block: who asked for it, and which marker
// stood in it when it was freed.
//
// It replaces malloc and its kin for every module. The owner of a block is the module whose code
// asked for it: the innermost one on the stack that is neither a system library nor this file. What
// is freed is overwritten after it was looked at, so a marker that is found in free memory later
// did not come from the heap.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "doubles/ProcessMemory.h"
#include "secrets/Markers.h"

enum class Owner : std::uint8_t { others, test, clientLibrary, library };

struct HeapBlock {
    std::uint64_t begin = 0;
    std::uint64_t size = 0;
    Owner owner = Owner::others;
    MemoryRange pool{0, 0};  // what of it was ever to be locked: blocks of the page pool
};

namespace HeapRecorder {

// From now on owners are found out. The ranges are those of the modules' code.
void start(MemoryRange test, MemoryRange clientLibrary, MemoryRange library);

// To be called for each attempt to lock memory.
void notePool(MemoryRange range);

// The live block that holds the address.
std::optional<HeapBlock> blockAt(std::uint64_t address);

// How many blocks of the library that had a marker in them were freed: those with a marker in the
// pool's part, and those with one in ordinary memory.
struct FreedWithMarker {
    std::array<std::size_t, kMarkers> inPool{};
    std::array<std::size_t, kMarkers> inOrdinaryMemory{};
};
FreedWithMarker freedWithMarker();

// How many blocks the library asked for.
std::size_t libraryBlocks();

}  // namespace HeapRecorder
