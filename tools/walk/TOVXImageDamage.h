#ifndef TOVX_IMAGE_DAMAGE_H
#define TOVX_IMAGE_DAMAGE_H

#include <cstdint>
#include <string>
#include <vector>

#include "TOVIStorage.h"
#include "TOVStStorageFileInfo.h"
#include "TOVXTreeWalk.h"

// What is damaged in an opened file, told from the image the library read and nothing
// else: entries of the tree that are not valid, streams of which the file holds fewer
// bytes than their size (a chain that ends early, sectors past the end of the file), and
// a file that ends before its directory or mini FAT does. No stream is read:
// each chain is followed in the tables by the rules the library reads streams by, so a
// stream counted as cut short is one whose bytes the library cannot all give.
class TOVXImageDamage {
public:
    // For the file whose root is `root`; the root must outlive this object.
    explicit TOVXImageDamage(TOVIStorage& root);

    // Takes in one entry of a walk from the root (TOVXTreeWalk::walk).
    void look(const TOVXTreeWalk::Item& item);
    // Walks the whole tree of `root` and takes in every entry.
    static TOVXImageDamage scan(TOVIStorage& root);

    // The bytes of `entry`'s stream that the file really holds, at most its size.
    uint32_t heldBytes(const TOVStStorageDirEntry& entry) const;

    uint32_t damagedEntries() const { return damagedEntries_; }
    uint32_t streamsCutShort() const { return streamsCutShort_; }
    // Where the file would have to end to hold its directory and mini FAT whole.
    uint64_t bytesTablesUse() const { return bytesTablesUse_; }
    uint64_t fileBytes() const { return fileBytes_; }
    // A last sector that the file holds in part is common and harmless: only a sector
    // missing whole counts.
    bool fileCutShort() const { return bytesTablesUse_ >= fileBytes_ + sectorSize_; }
    bool any() const { return damagedEntries_ > 0 || streamsCutShort_ > 0 || fileCutShort(); }

    // One line per kind of damage found, e.g. "2 directory entries are damaged".
    std::vector<std::string> describe() const;

private:
    uint32_t heldOfFatChain(uint32_t start, uint32_t size) const;
    uint32_t heldOfMiniChain(uint32_t start, uint32_t size) const;
    uint64_t endOfChain(uint32_t start, uint32_t count) const;

    const TOVStStorageFileInfo* image_;  // the root's image
    uint32_t miniStreamCutoff_ = 0;
    uint32_t miniStreamHeld_ = 0;  // bytes of the mini stream that the file holds
    uint64_t fileBytes_ = 0;
    uint64_t sectorSize_ = 0;
    uint64_t bytesTablesUse_ = 0;
    uint32_t damagedEntries_ = 0;
    uint32_t streamsCutShort_ = 0;
};

#endif
