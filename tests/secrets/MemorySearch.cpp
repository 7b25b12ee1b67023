#include "secrets/MemorySearch.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <thread>

#include "doubles/ProcessMemory.h"
#include "secrets/HeapRecorder.h"
#include "secrets/Markers.h"

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

using Found = std::function<void(Marker marker, const unsigned char* place)>;

void searchBytes(const unsigned char* begin, const unsigned char* end, const Found& found) {
    for (std::size_t i = 0; i < kMarkers; ++i) {
        const auto marker = static_cast<Marker>(i);
        for (const unsigned char* place = begin; (place = findMarker(marker, place, end)) != end;
             ++place) {
            found(marker, place);
        }
    }
}

// In a thread of its own, so that it leaves the stack of the caller as it is.
void searchEverywhere(const std::function<void(const MappedRange&, Marker, std::uint64_t)>& found) {
    std::thread search([&] {
        for (const MappedRange& mapped : processMemory()) {
            // The kernel's own pages cannot be read whole, and nobody writes to them.
            if (!mapped.isReadable || mapped.name.starts_with("[v")) {
                continue;
            }
            searchBytes(reinterpret_cast<const unsigned char*>(mapped.range.begin),
                        reinterpret_cast<const unsigned char*>(mapped.range.end),
                        [&](Marker marker, const unsigned char* place) {
                            found(mapped, marker, reinterpret_cast<std::uint64_t>(place));
                        });
        }
    });
    search.join();
}

}  // namespace

std::set<std::string> searchMemory() {
    std::set<std::string> places;
    searchEverywhere([&](const MappedRange& mapped, Marker marker, std::uint64_t address) {
        places.insert(std::string(nameOf(marker)) + " in " + placeOf(address, mapped));
    });
    return places;
}

std::size_t countInMemory() {
    std::size_t count = 0;
    searchEverywhere([&](const MappedRange&, Marker, std::uint64_t) { ++count; });
    return count;
}

std::size_t countIn(const std::string& text) {
    std::size_t count = 0;
    const auto* const begin = reinterpret_cast<const unsigned char*>(text.data());
    searchBytes(begin, begin + text.size(), [&](Marker, const unsigned char*) { ++count; });
    return count;
}
