#ifndef TOVST_SECTOR_CHAIN_H
#define TOVST_SECTOR_CHAIN_H

#include <cstdint>
#include <vector>

#include "TOVXDynamicArray.h"

// The one way chains are followed through an allocation table (FAT or mini FAT).
// A chain starts at `start` and ends before the first link that is:
//  - a special sector value (FREESECT, ENDOFCHAIN, FATSECT, DIFSECT);
//  - a sector outside the table, which no chain can reach;
//  - a sector met before: a chain that loops back is cut where it would repeat;
// and after `limit` sectors, the most that the file can hold.
// The start sector itself is always part of the chain, whatever its value.
class TOVStSectorChain {
public:
    static std::vector<uint32_t> follow(const TOVXDynamicArray<unsigned int>& table, uint32_t start, uint32_t limit);
};

#endif
