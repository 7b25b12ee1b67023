// Makes an allocation lie where the test wants it.
//
//     PlacedHeap::placeNext(8192, arena);   // the next operator new of 8192 bytes gives arena
//
// Deleting such an allocation frees nothing: the memory stays the test's own and may be given out
// again. One thread at a time; at most kPlaces allocations wait or are alive.
#pragma once

#include <cstddef>

class PlacedHeap {
  public:
    static constexpr std::size_t kPlaces = 16;

    // The next allocation of exactly size bytes through operator new lies at place.
    static void placeNext(std::size_t size, void* place);

    // Whether an allocation lies at place now.
    static bool holds(const void* place);

    // Used by operator new and operator delete. take returns null when no place waits for the size;
    // giveBack returns whether the memory was a place.
    static void* take(std::size_t size) noexcept;
    static bool giveBack(const void* memory) noexcept;
};
