#include "TOVStSectorChain.h"

#include "TOVStStorageConstants.h"

std::vector<uint32_t> TOVStSectorChain::follow(const TOVXDynamicArray<unsigned int>& table, uint32_t start,
                                               uint32_t limit) {
    std::vector<uint32_t> chain;
    if (limit == 0) return chain;
    const uint32_t tableSize = static_cast<uint32_t>(table.Count());
    const unsigned int* next = table.First();
    std::vector<bool> visited(tableSize, false);
    uint32_t current = start;
    chain.push_back(current);
    while (chain.size() < limit && current < tableSize && !visited[current]) {
        visited[current] = true;
        const uint32_t following = next[current];
        if (isSpecialSector(following)) break;
        if (following < tableSize && visited[following]) break;  // the chain loops back
        chain.push_back(following);
        current = following;
    }
    return chain;
}
