// Checks the tables of the page pool against what was asked of it.
#pragma once

#include <cstdint>
#include <vector>

#include "securemem/PoolTables.h"

struct PoolBlockInUse {
    std::uint64_t address;
    std::uint64_t size;  // as asked for
};

// Ends the program unless all of this holds: both free tables list the same blocks; each lies in
// one region's locked range; no two of a region touch; together with the blocks in use of more than
// zero bytes they fill every locked range exactly; no region is wholly free, but for one that was
// made for a zero-byte block.
void checkPoolInvariants(const Orvanta_OvWallet::PoolTables& tables,
                         const std::vector<PoolBlockInUse>& inUse);
