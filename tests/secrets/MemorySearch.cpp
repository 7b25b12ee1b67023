#include "secrets/MemorySearch.h"

#include <algorithm>
#include <cstdint>
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

// Each kind of place in which a marker stands in these bytes, which are those at the address.
void searchBytes(const unsigned char* begin, const unsigned char* end, std::uint64_t address,
                 const MappedRange& mapped, std::set<std::string>& places) {
    for (std::size_t i = 0; i < kMarkers; ++i) {
        const auto marker = static_cast<Marker>(i);
        for (const unsigned char* place = begin; (place = findMarker(marker, place, end)) != end;
             ++place) {
            places.insert(std::string(nameOf(marker)) + " in " +
                          placeOf(address + static_cast<std::uint64_t>(place - begin), mapped));
        }
    }
}

std::set<std::string> searchNow() {
    std::set<std::string> places;
    for (const MappedRange& mapped : processMemory()) {
        // The kernel's own pages cannot be read whole, and nobody writes to them.
        if (!mapped.isReadable || mapped.name.starts_with("[v")) {
            continue;
        }
        searchBytes(reinterpret_cast<const unsigned char*>(mapped.range.begin),
                    reinterpret_cast<const unsigned char*>(mapped.range.end), mapped.range.begin,
                    mapped, places);
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

std::set<std::string> searchCoreDump(const CoreDump& dump) {
    const std::vector<MappedRange> memory = processMemory();
    const MappedRange none{{0, 0}, "no memory", false, false, 0};
    const unsigned char* const file = dump.file().data();
    std::set<std::string> places;
    std::size_t searched = 0;
    for (const CoreDump::Segment& segment : dump.segments()) {
        searchBytes(file + searched, file + segment.offset, 0, none, places);
        for (const MappedRange& mapped : memory) {
            const std::uint64_t begin = std::max(segment.range.begin, mapped.range.begin);
            const std::uint64_t end = std::min(segment.range.end, mapped.range.end);
            if (begin < end) {
                const unsigned char* const bytes = file + segment.offset;
                searchBytes(bytes + (begin - segment.range.begin),
                            bytes + (end - segment.range.begin), begin, mapped, places);
            }
        }
        searched = segment.offset + (segment.range.end - segment.range.begin);
    }
    searchBytes(file + searched, file + dump.file().size(), 0, none, places);
    return places;
}
