// The process's own memory, as the kernel describes it in /proc/self/smaps.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct MemoryRange {
    std::uint64_t begin;
    std::uint64_t end;

    bool contains(std::uint64_t address) const { return begin <= address && address < end; }
};

struct MappedRange {
    MemoryRange range;
    std::string name;  // of the file or in brackets; empty for anonymous memory
    bool isReadable;
    bool isLocked;         // the flag "lo"
    long lockedKilobytes;  // what of it is locked and resident
};

std::vector<MappedRange> processMemory();

// How much memory of the process is locked, in units of 1024 bytes, by /proc/self/status.
long lockedKilobytes();
