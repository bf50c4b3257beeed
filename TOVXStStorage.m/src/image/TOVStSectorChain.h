#ifndef TOVST_SECTOR_CHAIN_H
#define TOVST_SECTOR_CHAIN_H

#include <cstdint>
#include <vector>

#include "TOVXDynamicArray.h"

// The one way every chain of sectors is walked: the FAT chains of the directory, the mini
// FAT, the mini stream and the streams, the mini chains of small streams, and the DIFAT.
//
// A walk visits its start sector, whatever its value, then each sector a link names, and
// never more than `limit` sectors. A sector that a link names is always visited: one past
// the table is read like any other (what lies past the file reads as zeros) and is the
// chain's last, since it has no link of its own. How a walk treats its links is its policy:
//
//  - CutAtRepeat (FAT chains): a link that is a special value (FREESECT, ENDOFCHAIN,
//    FATSECT, DIFSECT) ends the chain, and so does a link back to a sector visited before:
//    a chain that loops is cut where it would repeat.
//  - RepeatUntilSizeUsed (mini chains of streams): a special value ends the chain; a loop is
//    walked again and again, and the caller stops when the stream's size is used up.
//  - LinkInSector (DIFAT): the link stands in the last word of each sector, which the caller
//    reads and hands to advanceTo(); it is followed whatever its value, and only the count
//    (the limit) ends the walk.
//
// Use:  for (TOVStSectorChain chain(...); !chain.atEnd(); chain.advance()) visit(chain.sector());
class TOVStSectorChain {
public:
    enum class Policy { CutAtRepeat, RepeatUntilSizeUsed, LinkInSector };

    // A walk whose links come from `table` (the FAT or the mini FAT).
    TOVStSectorChain(const TOVXDynamicArray<unsigned int>& table, uint32_t start, uint32_t limit, Policy policy);
    // A DIFAT walk of `count` sectors from `start`.
    TOVStSectorChain(uint32_t start, uint32_t count);

    bool atEnd() const { return remaining == 0; }
    uint32_t sector() const { return current; }
    // The chain names a sector after the present one; the limit is not looked at.
    bool hasNext() const { return policy == Policy::LinkInSector ? remaining > 1 : following; }
    // On to the sector that the table names (table policies).
    void advance();
    // On to `link`, read from the sector just visited (LinkInSector).
    void advanceTo(uint32_t link);

    // Every sector of a FAT chain, cut at a repeat.
    static std::vector<uint32_t> follow(const TOVXDynamicArray<unsigned int>& table, uint32_t start, uint32_t limit);
    // How many sectors of `chain`, from index `from` on, follow one another in the file, at
    // most `most` (at least 1): such a run is read in one go.
    static size_t runAt(const std::vector<uint32_t>& chain, size_t from, size_t most);

private:
    void lookUpNext();
    void markVisited(uint32_t sector);

    const TOVXDynamicArray<unsigned int>* table;
    Policy policy;
    uint32_t current;
    uint32_t remaining;       // sectors still allowed, the present one included
    uint32_t next = 0;        // the link of the present sector, when `following`
    bool following = false;
    std::vector<bool> visited;  // CutAtRepeat: sectors of the table met so far
};

#endif
