// What the page pool's tables should hold, kept the plain way: one character for each 16
// bytes.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Orvanta_OvWallet {

class PoolModel {
  public:
    struct FreeRun {
        std::uint64_t size;
        std::uint64_t listed;  // when it was put on the list, as a running number
        std::uint64_t address;

        auto operator<=>(const FreeRun&) const = default;
    };

    // Whether a request needs a new region.
    bool needsRegion(std::uint64_t size) const;

    // The regions whose raw starts are the keys.
    void addRegion(std::uint64_t raw, std::uint64_t start, std::uint64_t length, bool locked);
    std::uint64_t allocateAtStartOf(std::uint64_t raw, std::uint64_t size);
    std::uint64_t allocate(std::uint64_t size);

    // Returns the range of the region that went, as {start, length, locked}; all zero for none.
    struct GoneRegion {
        std::uint64_t start;
        std::uint64_t length;
        bool locked;
    };
    GoneRegion release(std::uint64_t address, std::uint64_t size);

    // As text: the regions by raw start, the free runs by size and then by the time of listing.
    std::string text() const;
    std::size_t regionCount() const { return regions_.size(); }

  private:
    static constexpr std::uint64_t kUnit = 16;
    static constexpr char kFree = '.';
    static constexpr char kUsed = '#';
    struct Region {
        std::uint64_t start;
        std::uint64_t length;
        bool locked;
        std::string units;  // kFree or kUsed each
    };
    struct Run {
        std::uint64_t begin;
        std::uint64_t end;
    };

    static std::uint64_t rounded(std::uint64_t size) { return (size + kUnit - 1) / kUnit * kUnit; }
    static std::vector<Run> runsOf(const Region& region);
    std::vector<FreeRun> freeRuns() const;
    static void mark(Region& region, std::uint64_t address, std::uint64_t size, char from, char to);

    std::map<std::uint64_t, Region> regions_;
    std::map<std::uint64_t, std::uint64_t> listed_;
    std::uint64_t now_ = 0;
};

}  // namespace Orvanta_OvWallet
