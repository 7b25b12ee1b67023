#include "secrets/MemorySearch.h"

#include <cstdint>
#include <optional>
#include <thread>

#include "secrets/HeapRecorder.h"
#include "secrets/Markers.h"
#include "secrets/ProcessMemory.h"

namespace {

std::string placeOf(std::uint64_t address, const MappedRange& mapped) {
    const std::optional<HeapBlock> block = HeapRecorder::blockAt(address);
    if (!block) {
        return mapped.name.empty() ? "anonymous memory" : mapped.name;
    }
    if (block->pool.contains(address)) {
        return mapped.isLocked ? "the page pool, locked" : "the page pool, not locked";
    }
    switch (block->owner) {
        case Owner::library:
            return "the heap of the library";
        case Owner::clientLibrary:
            return "the heap of the client library";
        case Owner::test:
            return "the heap of the test";
        case Owner::others:
            break;
    }
    return "the heap of others";
}

void searchRange(Marker marker, const MappedRange& mapped, std::set<std::string>& places) {
    const auto* const begin = reinterpret_cast<const unsigned char*>(mapped.range.begin);
    const auto* const end = reinterpret_cast<const unsigned char*>(mapped.range.end);
    for (const unsigned char* place = begin; (place = findMarker(marker, place, end)) != end;
         ++place) {
        places.insert(std::string(nameOf(marker)) + " in " +
                      placeOf(reinterpret_cast<std::uint64_t>(place), mapped));
    }
}

std::set<std::string> searchNow() {
    std::set<std::string> places;
    for (const MappedRange& mapped : processMemory()) {
        // The kernel's own pages cannot be read whole, and nobody writes to them.
        if (!mapped.isReadable || mapped.name.starts_with("[v")) {
            continue;
        }
        for (std::size_t marker = 0; marker < kMarkers; ++marker) {
            searchRange(static_cast<Marker>(marker), mapped, places);
        }
    }
    return places;
}

}  // namespace

std::set<std::string> searchMemory() {
    std::set<std::string> places;
    std::thread search([&] { places = searchNow(); });
    search.join();
    return places;
}
