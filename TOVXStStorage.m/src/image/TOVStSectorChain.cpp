#include "TOVStSectorChain.h"

#include <algorithm>

#include "TOVStStorageConstants.h"

TOVStSectorChain::TOVStSectorChain(const TOVXDynamicArray<unsigned int>& links, uint32_t start, uint32_t limit,
                                   Policy walkPolicy)
    : table(&links), policy(walkPolicy), current(start), remaining(limit) {
    if (remaining > 0) lookUpNext();
}

TOVStSectorChain::TOVStSectorChain(uint32_t start, uint32_t count)
    : table(nullptr), policy(Policy::LinkInSector), current(start), remaining(count) {}

// A sector outside the table has no link: it is the chain's last.
void TOVStSectorChain::lookUpNext() {
    following = false;
    const uint32_t tableSize = static_cast<uint32_t>(table->Count());
    if (current >= tableSize) return;
    if (policy == Policy::CutAtRepeat) markVisited(current);
    next = *table->At(static_cast<int>(current));
    if (isSpecialSector(next)) return;
    if (policy == Policy::CutAtRepeat && next < visited.size() && visited[next]) return;
    following = true;
}

// The set grows with the largest sector met, not with the table: a short chain of a file
// whose FAT is megabytes long marks a few bytes' worth.
void TOVStSectorChain::markVisited(uint32_t sector) {
    if (sector >= visited.size()) visited.resize(std::max<size_t>(size_t(sector) + 1, 2 * visited.size()), false);
    visited[sector] = true;
}

void TOVStSectorChain::advance() {
    if (remaining == 0) return;
    if (--remaining == 0 || !following) {
        remaining = 0;
        return;
    }
    current = next;
    lookUpNext();
}

void TOVStSectorChain::advanceTo(uint32_t link) {
    if (remaining == 0) return;
    --remaining;
    current = link;
}

std::vector<uint32_t> TOVStSectorChain::follow(const TOVXDynamicArray<unsigned int>& table, uint32_t start, uint32_t limit) {
    std::vector<uint32_t> chain;
    for (TOVStSectorChain walk(table, start, limit, Policy::CutAtRepeat); !walk.atEnd(); walk.advance())
        chain.push_back(walk.sector());
    return chain;
}

size_t TOVStSectorChain::runAt(const std::vector<uint32_t>& chain, size_t from, size_t most) {
    const uint32_t first = chain[from];
    size_t length = 1;
    // A run never wraps past the largest sector number.
    while (length < most && from + length < chain.size() && first + length > first &&
           chain[from + length] == first + static_cast<uint32_t>(length))
        ++length;
    return length;
}
