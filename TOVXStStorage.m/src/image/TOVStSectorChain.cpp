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
        if (isSpecialSector(following) || following >= tableSize || visited[following]) break;
        chain.push_back(following);
        current = following;
    }
    return chain;
}
