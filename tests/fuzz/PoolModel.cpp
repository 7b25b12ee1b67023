#include "fuzz/PoolModel.h"

#include <map>

#include "fuzz/Reached.h"

using Orvanta_OvWallet::PoolTables;

namespace {

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

}  // namespace

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
