#include "TOVXImageDamage.h"

#include <algorithm>
#include <unordered_set>
#include <vector>

#include "TOVStStorageConstants.h"

namespace {

// The library reads no byte at a position beyond this one; such bytes read as zeros.
constexpr uint64_t kLargestPosition = 0x7FFFFFFFu;

std::string counted(uint32_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

}  // namespace

TOVXImageDamage::TOVXImageDamage(TOVIStorage& root) : image_(root.getStStorageFileInfo()) {
    if (image_ == nullptr) return;
    miniStreamCutoff_ = root.getStStorageFileInfo()->getHeader().miniStreamCutoff;
    fileBytes_ = image_->fileSize();
    sectorSize_ = image_->sectorSize();
    const TOVStStorageHeader header = root.getStStorageFileInfo()->getHeader();
    bytesTablesUse_ = std::max(endOfChain(header.firstDirectorySector, image_->fileSectorCount()),
                               endOfChain(header.firstMiniFatSector, header.miniFatSectorCount));
    // The mini stream is read whole at the load; what its chain cannot give is simply missing.
    const uint32_t loaded = static_cast<uint32_t>(image_->miniStreamBytes().Count());
    miniStreamHeld_ = heldOfFatChain(image_->getMiniStreamStartSect(), loaded);
}

TOVXImageDamage TOVXImageDamage::scan(TOVIStorage& root) {
    TOVXImageDamage damage(root);
    TOVXTreeWalk::walk(root, [&](const TOVXTreeWalk::Item& item) { damage.look(item); });
    return damage;
}

void TOVXImageDamage::look(const TOVXTreeWalk::Item& item) {
    TOVStStorageDirEntry entry = item.entry;
    if (!entry.isValid()) {
        // An empty name is what its writer meant (the library cannot open such a storage by
        // name, and the tree says so); a type, colour or name length out of range is damage.
        const bool damaged = entry.getType() == STGTY_INVALID || entry.getType() > STGTY_ROOT || entry.getBFlag() > 1 ||
                             entry.getNameLength() > kDirNameBytes;
        if (damaged) ++damagedEntries_;
        return;
    }
    // A hidden namesake is never read, so its bytes do not matter.
    if (entry.isStream() && !item.shadowed && heldBytes(entry) < entry.getSize()) ++streamsCutShort_;
}

uint32_t TOVXImageDamage::heldBytes(const TOVStStorageDirEntry& entry) const {
    if (image_ == nullptr) return 0;
    // A stream of exactly the cutoff's size lies in regular sectors.
    if (entry.getSize() < miniStreamCutoff_) return heldOfMiniChain(entry.getStartSect(), entry.getSize());
    return heldOfFatChain(entry.getStartSect(), entry.getSize());
}

namespace {

// The sectors a chain walk has met, all below `tableSize`: the first few in a list searched
// in turn, then a set, and once the chain is long (a sixty-fourth of the table) one bit per
// sector of the table. Memory stays in step with the chain, and the long chain of a stream
// of a gigabyte costs a bit per sector rather than a node of a set.
class SectorsMet {
public:
    explicit SectorsMet(uint32_t tableSize) : tableSize_(tableSize) {}

    void insert(uint32_t sector) {
        if (count_ < kFew) {
            few_[count_] = sector;
        } else if (!bits_.empty()) {
            bits_[sector] = true;
        } else {
            some_.insert(sector);
            if (some_.size() > tableSize_ / 64) toBits();
        }
        ++count_;
    }
    bool contains(uint32_t sector) const {
        if (!bits_.empty()) return sector < tableSize_ && bits_[sector];
        for (size_t i = 0; i < count_ && i < kFew; ++i)
            if (few_[i] == sector) return true;
        return some_.count(sector) > 0;
    }

private:
    void toBits() {
        bits_.assign(tableSize_, false);
        for (size_t i = 0; i < kFew; ++i) bits_[few_[i]] = true;
        for (const uint32_t sector : some_) bits_[sector] = true;
        some_.clear();
    }

    static constexpr size_t kFew = 16;
    uint32_t tableSize_;
    uint32_t few_[kFew];
    size_t count_ = 0;
    std::unordered_set<uint32_t> some_;
    std::vector<bool> bits_;
};

// How many of a stream's `size` bytes its chain holds, walked as the library walks it: the
// start sector, then each link up to a special value, a link back to a sector met before, a
// sector outside the table (read, and the last) or `limit` sectors. Bytes at or past `end`
// are not held. `unit` is the sector size, `positionOf` a sector's position.
template <typename PositionOf>
uint32_t heldOfChain(const TOVXDynamicArray<unsigned int>& table, uint32_t start, uint32_t size, uint32_t unit,
                     uint32_t limit, uint64_t end, PositionOf positionOf) {
    if (size == 0 || isSpecialSector(start) || unit == 0) return 0;
    const uint32_t tableSize = static_cast<uint32_t>(table.Count());
    SectorsMet visited(tableSize);
    uint32_t held = 0;
    uint32_t current = start;
    for (uint32_t remaining = limit; remaining > 0; --remaining) {
        const uint32_t wanted = std::min(unit, size - held);
        const uint64_t position = positionOf(current);
        if (position + wanted > end) return held + static_cast<uint32_t>(position < end ? end - position : 0);
        held += wanted;
        if (held >= size || current >= tableSize) break;
        visited.insert(current);
        const uint32_t next = *table.At(static_cast<int>(current));
        if (isSpecialSector(next) || visited.contains(next)) break;
        current = next;
    }
    return held;
}

}  // namespace

// What lies past the file's end, or past the position limit, is not held.
uint32_t TOVXImageDamage::heldOfFatChain(uint32_t start, uint32_t size) const {
    return heldOfChain(image_->fatTable(), start, size, image_->sectorSize(), image_->fileSectorCount(),
                       std::min(fileBytes_, kLargestPosition + 1),
                       [this](uint32_t sector) -> uint64_t { return image_->getEquivalentFatBytePos(sector); });
}

// The library walks a looping mini chain again until the size is used up, so it gives bytes,
// but from the loop on they are not the stream's: the stream is held up to where the chain
// comes back to a sector. What lies past the held mini stream is not held.
uint32_t TOVXImageDamage::heldOfMiniChain(uint32_t start, uint32_t size) const {
    const uint32_t miniSectorSize = image_->getEquivalentMiniFatBytePos(1) - image_->getEquivalentMiniFatBytePos(0);
    return heldOfChain(image_->miniFatTable(), start, size, miniSectorSize, image_->fileMiniSectorCount(), miniStreamHeld_,
                       [this](uint32_t sector) -> uint64_t { return image_->getEquivalentMiniFatBytePos(sector); });
}

// Where the last sector of a table's FAT chain ends, at most `count` sectors of it (0 for none).
uint64_t TOVXImageDamage::endOfChain(uint32_t start, uint32_t count) const {
    const TOVXDynamicArray<unsigned int>& table = image_->fatTable();
    const uint32_t tableSize = static_cast<uint32_t>(table.Count());
    SectorsMet visited(tableSize);
    uint64_t end = 0;
    for (uint32_t sector = start; count > 0 && !isSpecialSector(sector); --count) {
        end = std::max(end, (static_cast<uint64_t>(sector) + 2) * sectorSize_);  // sector n lies at (n + 1) sectors
        if (sector >= tableSize || visited.contains(sector)) break;
        visited.insert(sector);
        sector = *table.At(static_cast<int>(sector));
    }
    return end;
}

std::vector<std::string> TOVXImageDamage::describe() const {
    std::vector<std::string> lines;
    if (fileCutShort())
        lines.push_back("the file is cut short: it ends at byte " + std::to_string(fileBytes_) +
                        ", before the end of its directory and tables (byte " + std::to_string(bytesTablesUse_) + ")");
    if (damagedEntries_ > 0) lines.push_back(counted(damagedEntries_, "directory entry is", "directory entries are") + " damaged");
    if (streamsCutShort_ > 0)
        lines.push_back(counted(streamsCutShort_, "stream is", "streams are") + " cut short: the file holds only part of " +
                        (streamsCutShort_ == 1 ? "its" : "their") + " bytes");
    return lines;
}
