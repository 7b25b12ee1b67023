#include "securemem/PoolModel.h"

#include <algorithm>
#include <stdexcept>

namespace Orvanta_OvWallet {

std::vector<PoolModel::Run> PoolModel::runsOf(const Region& region) {
    std::vector<Run> runs;
    std::size_t end = 0;
    for (;;) {
        const std::size_t begin = region.units.find(kFree, end);
        if (begin == std::string::npos) {
            return runs;
        }
        end = std::min(region.units.find(kUsed, begin), region.units.size());
        runs.push_back({region.start + begin * kUnit, region.start + end * kUnit});
    }
}

std::vector<PoolModel::FreeRun> PoolModel::freeRuns() const {
    std::vector<FreeRun> all;
    for (const auto& [raw, region] : regions_) {
        for (const Run& run : runsOf(region)) {
            all.push_back({run.end - run.begin, listed_.at(run.begin), run.begin});
        }
    }
    std::sort(all.begin(), all.end());
    return all;
}

void PoolModel::mark(Region& region, std::uint64_t address, std::uint64_t size, char from,
                     char to) {
    const std::uint64_t first = (address - region.start) / kUnit;
    const std::uint64_t count = size / kUnit;
    if (region.units.compare(first, count, std::string(count, from)) != 0) {
        throw std::logic_error("a block is not what it should be");
    }
    region.units.replace(first, count, count, to);
}

bool PoolModel::needsRegion(std::uint64_t size) const {
    const std::vector<FreeRun> runs = freeRuns();
    return runs.empty() || runs.back().size < rounded(size);
}

void PoolModel::addRegion(std::uint64_t raw, std::uint64_t start, std::uint64_t length,
                          bool locked) {
    regions_[raw] = {start, length, locked, std::string(length / kUnit, kFree)};
}

std::uint64_t PoolModel::allocateAtStartOf(std::uint64_t raw, std::uint64_t size) {
    Region& region = regions_.at(raw);
    mark(region, region.start, rounded(size), kFree, kUsed);
    listed_[region.start + rounded(size)] = ++now_;
    return region.start;
}

std::uint64_t PoolModel::allocate(std::uint64_t size) {
    for (const FreeRun& run : freeRuns()) {
        if (run.size < rounded(size)) {
            continue;
        }
        const std::uint64_t address = run.address + run.size - rounded(size);
        for (auto& [raw, region] : regions_) {
            if (region.start <= run.address && run.address < region.start + region.length) {
                mark(region, address, rounded(size), kFree, kUsed);
            }
        }
        listed_.erase(run.address);
        if (run.size != rounded(size)) {
            listed_[run.address] = ++now_;
        }
        return address;
    }
    throw std::logic_error("no free run is large enough");
}

PoolModel::GoneRegion PoolModel::release(std::uint64_t address, std::uint64_t size) {
    const auto found = std::find_if(regions_.begin(), regions_.end(), [=](const auto& entry) {
        return entry.second.start <= address && address <= entry.second.start + entry.second.length;
    });
    if (found == regions_.end()) {
        return {};
    }
    Region& region = found->second;
    mark(region, address, rounded(size), kUsed, kFree);
    const std::uint64_t end = address + rounded(size);
    for (const Run& run : runsOf(region)) {
        const bool holdsBlock = size != 0 && run.begin <= address && end <= run.end;
        const bool touchesPoint = size == 0 && (run.begin == address || run.end == address);
        if (!holdsBlock && !touchesPoint) {
            continue;
        }
        listed_.erase(listed_.lower_bound(run.begin), listed_.lower_bound(run.end));
        if (run.end - run.begin == region.length) {
            const GoneRegion gone{region.start, region.length, region.locked};
            regions_.erase(found);
            return gone;
        }
        listed_[run.begin] = ++now_;
        return {};
    }
    return {};
}

std::string PoolModel::text() const {
    std::string text;
    for (const auto& [raw, region] : regions_) {
        text += std::to_string(raw) + ":" + std::to_string(region.length) +
                (region.locked ? " locked, " : " unlocked, ");
    }
    text += "free ";
    for (const FreeRun& run : freeRuns()) {
        text += std::to_string(run.size) + "@" + std::to_string(run.address) + ", ";
    }
    return text;
}

}  // namespace Orvanta_OvWallet
