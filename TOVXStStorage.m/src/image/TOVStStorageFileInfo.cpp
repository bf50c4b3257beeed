#include "TOVStStorageFileInfo.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "TOVStFileRead.h"
#include "TOVStSectorChain.h"
#include "TOVStStorageConstants.h"
#include "TOVXMemoryManager.h"
#include "TOVXResourceBounds.h"

// The image's part of the promise in TOVXResourceBounds.h. Opening a file of N bytes reads each
// table sector from the file once and walks each chain once, so it takes time O(N) beside a
// fixed amount, and it allocates at most a small constant times N beside a fixed amount:
//  - a FAT chain (directory, mini FAT, mini stream, a stream) visits at most the file's
//    sector count, and a mini chain at most the file's size in mini sectors;
//  - the DIFAT walk visits at most difatSectorBound() sectors, whatever the header claims, so
//    the FAT holds at most (header list + that many DIFAT sectors' words) sectors: about 17 MB
//    with 512-byte sectors and 8 MB with 4096-byte ones, however small the file;
//  - nothing is reserved for a size, count or offset beyond what the file can back: the mini
//    stream at most the file's sectors, a stream at most the bytes its chain reaches.

namespace {

// A DIFAT never needs more sectors than it takes to list, on its own, a FAT for every sector
// below the 2 GiB position limit: 259 with 512-byte sectors, 1 with 4096-byte ones.
constexpr uint32_t difatSectorBound(uint32_t sectorSize) {
    const uint32_t entries = sectorSize / 4;
    const uint32_t reachableSectors = kLargestPosition / sectorSize;  // sector n lies at (n + 1) sectors
    const uint32_t fatSectors = (reachableSectors + entries - 1) / entries;
    return (fatSectors + entries - 2) / (entries - 1);  // every DIFAT sector but the last links on in its last word
}
static_assert(difatSectorBound(512) == 259 && difatSectorBound(4096) == 1, "DIFAT bound");

// Sectors that follow one another in the file are read together, this many bytes at most: one
// seek and one read where a sector at a time cost a seek, and the discarded read-ahead, each.
constexpr uint32_t kRunBytes = 64u << 10;

size_t runSectors(uint32_t sectorSize) { return std::max<size_t>(1, kRunBytes / std::max<uint32_t>(1, sectorSize)); }

uint32_t fileSizeOf(FILE* stream) {
    if (std::fseek(stream, 0, SEEK_END) != 0) return 0;
    const long size = std::ftell(stream);
    std::rewind(stream);
    if (size < 0) return 0;
    return static_cast<unsigned long>(size) > 0xFFFFFFFFul ? 0xFFFFFFFFu : static_cast<uint32_t>(size);
}

}  // namespace

// Table sectors by file position, so that a sector that the tables name again (a header whose
// unused FAT-list words are 0 names sector 0 up to 900 times; a DIFAT read as zeros names it
// 30,000 times) is read from the file and decoded once: a repeat copies the words that the
// table already holds. Only DIFAT sectors keep their bytes here; a FAT's words live in the FAT
// alone, so that loading a large file holds its FAT once and not three times.
struct TOVStStorageFileInfo::LoadCache {
    explicit LoadCache(uint32_t size) : sectorSize(size), zeros(size, 0), bytes(size) {}
    uint32_t sectorSize;
    std::unordered_map<uint32_t, std::vector<unsigned char>> sectors;  // DIFAT sectors by file position
    std::unordered_map<uint32_t, int> fatAt, miniFatAt;  // where a sector's words first went, by file position
    std::vector<unsigned char> zeros;  // every sector wholly past the file's end
    std::vector<unsigned char> bytes;  // one table sector being decoded
};

// ---- construction and copies ----------------------------------------------------------

TOVStStorageFileInfo::TOVStStorageFileInfo() = default;

TOVStStorageFileInfo::TOVStStorageFileInfo(const TOVXFilePath& path) {
    FILE* stream = nullptr;
    if (!tovxWithoutThrowing(false, [&] { return load(path, stream); })) {
        // Memory ran out: the image is invalid and holds no tables, as a refused file's does.
        loadCache = nullptr;
        valid = false;
        fatSectors = TOVXDynamicArray<unsigned int>();
        miniFatSectors = TOVXDynamicArray<unsigned int>();
        difSectors = TOVXDynamicArray<unsigned int>();
        dirEntries = TOVXDynamicArray<TOVStStorageDirEntry>();
        miniStream = TOVXDynamicArray<unsigned char>();
    }
    if (stream != nullptr) std::fclose(stream);
    tovxDeallocate(header.headerFatSectors);
    header.headerFatSectors = nullptr;
}

// The whole load; false only when memory ran out. `stream` is the caller's to close.
bool TOVStStorageFileInfo::load(const TOVXFilePath& path, FILE*& stream) {
    filePath = path;
    stream = filePath.OpenFile("rb");
    littleEndian = true;
    if (stream != nullptr) {
        fileBytes = fileSizeOf(stream);
        setHeader(stream);
    }
    valid = false;
    if (stream == nullptr) return true;
    if (checkHeader()) {
        const uint32_t size = sectorSize();
        // Every walk visits at least its start sector, even in a file that ends inside the header.
        fileSectors = std::max<uint32_t>(1, fileBytes > size ? (fileBytes - size + size - 1) / size : 0);
        fileMiniSectors = std::max<uint32_t>(1, fileBytes >> header.miniSectorShift);
        LoadCache cache(size);
        loadCache = &cache;
        readDifSector(stream);
        readFatSector(stream);
        readMiniFatSector(stream);
        readDirectorySector(stream);
        setMiniStreamData(stream);
        loadCache = nullptr;
        valid = true;
    }
    return true;
}

TOVStStorageFileInfo::TOVStStorageFileInfo(const TOVStStorageFileInfo& other) { copyFrom(other); }

TOVStStorageFileInfo::~TOVStStorageFileInfo() { header.headerFatSectors = nullptr; }

TOVStStorageFileInfo TOVStStorageFileInfo::operator=(const TOVStStorageFileInfo& other) {
    if (&other != this) copyFrom(other);
    return *this;
}

// Tables are shared with the other image until one of them would change (they never do after the load).
void TOVStStorageFileInfo::copyFrom(const TOVStStorageFileInfo& other) {
    filePath = other.filePath;
    header = other.header;
    fatSectors = other.fatSectors;
    miniFatSectors = other.miniFatSectors;
    difSectors = other.difSectors;
    dirEntries = other.dirEntries;
    miniStream = other.miniStream;
    valid = other.valid;
    littleEndian = other.littleEndian;
    fileBytes = other.fileBytes;
    fileSectors = other.fileSectors;
    fileMiniSectors = other.fileMiniSectors;
}

// ---- header ---------------------------------------------------------------------------

void TOVStStorageFileInfo::setHeader(FILE* stream) {
    if (stream == nullptr) return;
    seekFile(stream, 0);
    for (unsigned char& byte : header.signature) readFileByte(stream, byte);
    for (unsigned char& byte : header.clsID) readFileByte(stream, byte);
    readFileUShort(stream, header.minorVersion, true);
    readFileUShort(stream, header.majorVersion, true);
    readFileUShort(stream, header.byteOrder, true);
    // Any mark other than FE FF turns every later field around, not only the stored FF FE.
    if (header.byteOrder != kLittleEndianMark) littleEndian = false;
    readFileUShort(stream, header.sectorShift, littleEndian);
    readFileUShort(stream, header.miniSectorShift, littleEndian);
    readFileUShort(stream, header.reservedShort, littleEndian);
    readFileULong(stream, header.reservedLong, littleEndian);
    readFileULong(stream, header.directorySectorCount, littleEndian);
    readFileULong(stream, header.fatSectorCount, littleEndian);
    readFileULong(stream, header.firstDirectorySector, littleEndian);
    readFileULong(stream, header.transactionSignature, littleEndian);
    readFileULong(stream, header.miniStreamCutoff, littleEndian);
    readFileULong(stream, header.firstMiniFatSector, littleEndian);
    readFileULong(stream, header.miniFatSectorCount, littleEndian);
    readFileULong(stream, header.firstDifSector, littleEndian);
    readFileULong(stream, header.difSectorCount, littleEndian);
    if (header.sectorShift != 9 && header.sectorShift != 12) return;
    // The header's FAT list runs to the end of the first sector: 109 words, or 1005 with 4096-byte sectors.
    header.headerFatBytes = sectorSize() - kHeaderFatOffset;
    const uint32_t words = header.headerFatBytes / 4;
    header.headerFatSectors = static_cast<uint32_t*>(tovxAllocate(words * 4));
    if (header.headerFatSectors == nullptr) {
        header.headerFatBytes = 0;
        return;
    }
    // One read for the whole list; what the file lacks reads as zeros, as word by word.
    std::vector<unsigned char> list(header.headerFatBytes);
    readFileBytes(stream, static_cast<int>(list.size()), list.data());
    for (uint32_t i = 0; i < words; ++i) header.headerFatSectors[i] = decode32(&list[i * 4], littleEndian);
}

// Nothing else decides acceptance: the signature and both version fields are not looked at.
bool TOVStStorageFileInfo::checkHeader() {
    if (header.reservedShort != 0) return false;
    if (header.reservedLong != 0) return false;
    if (header.directorySectorCount > kMaxDirectorySectorCount) return false;
    if (header.sectorShift != 9 && header.sectorShift != 12) return false;
    return header.miniSectorShift == 6;
}

// ---- sector arithmetic ----------------------------------------------------------------

// 2 to the power sectorShift: 512 or 4096 for the two accepted shifts; a shift of 32 or more,
// which no accepted header has, gives 0 as the truncated power of 2.0 would.
uint32_t TOVStStorageFileInfo::sectorSize() const {
    return header.sectorShift < 32 ? uint32_t(1) << header.sectorShift : 0;
}

// Sector 0 starts one sector into the file; the sum wraps at 32 bits.
uint32_t TOVStStorageFileInfo::getEquivalentFatBytePos(unsigned int sector) const {
    const uint32_t shifted = header.sectorShift < 32 ? static_cast<uint32_t>(sector) << header.sectorShift : 0;
    return header.headerFatBytes + kHeaderFatOffset + shifted;
}

uint32_t TOVStStorageFileInfo::getEquivalentMiniFatBytePos(unsigned int miniSector) const {
    return header.miniSectorShift < 32 ? static_cast<uint32_t>(miniSector) << header.miniSectorShift : 0;
}

uint32_t TOVStStorageFileInfo::readWord(const unsigned char* bytes) const { return decode32(bytes, littleEndian); }

void TOVStStorageFileInfo::readSector(FILE* stream, uint32_t sector, uint32_t count, unsigned char* destination) const {
    if (count == 0 || count > kLargestPosition || destination == nullptr) return;
    const uint32_t position = getEquivalentFatBytePos(sector);
    // Sectors at or running on past the position limit cannot be reached: they read as zeros.
    const uint32_t reachable = position > kLargestPosition ? 0 : std::min(count, kLargestPosition - position + 1);
    if (reachable < count) std::memset(destination + reachable, 0, count - reachable);
    if (reachable == 0) return;
    seekFile(stream, position);
    readFileBytes(stream, static_cast<int>(reachable), destination);  // what the file lacks reads as zeros
}

// The bytes of a table sector, read from the file the first time only.
const unsigned char* TOVStStorageFileInfo::tableSector(FILE* stream, uint32_t sector) {
    const uint32_t position = getEquivalentFatBytePos(sector);
    if (position > kLargestPosition || position >= fileBytes) return loadCache->zeros.data();
    std::vector<unsigned char>& bytes = loadCache->sectors[position];
    if (bytes.empty()) {
        bytes.resize(loadCache->sectorSize);
        readSector(stream, sector, loadCache->sectorSize, bytes.data());
    }
    return bytes.data();
}

// Appends the words of one whole table sector.
void TOVStStorageFileInfo::appendTableSector(FILE* stream, uint32_t sector, TOVXDynamicArray<unsigned int>& table) {
    const uint32_t entries = loadCache->sectorSize / 4;
    // Every sector past the file's end reads as the same zeros, and shares one entry.
    const uint32_t position = getEquivalentFatBytePos(sector);
    const bool pastTheFile = position > kLargestPosition || position >= fileBytes;
    const uint32_t key = pastTheFile ? UINT32_MAX : position;
    std::unordered_map<uint32_t, int>& firstAt = &table == &fatSectors ? loadCache->fatAt : loadCache->miniFatAt;
    const auto seen = firstAt.find(key);
    const int first = seen != firstAt.end() ? seen->second : -1;
    unsigned int* place = table.Extend(static_cast<int>(entries));
    if (place == nullptr) return;  // no memory left: this sector's words are left out
    if (first >= 0) {
        std::memcpy(place, table.At(first), entries * sizeof(unsigned int));  // a repeat: its words are in the table
        return;
    }
    const unsigned char* bytes = loadCache->zeros.data();
    if (!pastTheFile) {
        readSector(stream, sector, loadCache->sectorSize, loadCache->bytes.data());
        bytes = loadCache->bytes.data();
    }
    for (uint32_t i = 0; i < entries; ++i) place[i] = readWord(&bytes[i * 4]);
    firstAt.emplace(key, static_cast<int>(place - table.At(0)));
}

// ---- allocation tables ----------------------------------------------------------------

// The count alone ends the walk, up to the bound above; links are followed whatever their value.
void TOVStStorageFileInfo::readDifSector(FILE* stream) {
    if (header.firstDifSector == ENDOFCHAIN) return;
    const uint32_t entries = sectorSize() / 4;
    const uint32_t count = std::min(header.difSectorCount, difatSectorBound(sectorSize()));
    difSectors.Reserve(static_cast<int>(count * entries));
    for (TOVStSectorChain chain(header.firstDifSector, count); !chain.atEnd();) {
        const unsigned char* bytes = tableSector(stream, chain.sector());
        // The last word of every DIFAT sector but the last by count links to the next one;
        // the last sector's last word is an entry like the others.
        const uint32_t kept = chain.hasNext() ? entries - 1 : entries;
        for (uint32_t i = 0; i < kept; ++i) difSectors.Add(readWord(&bytes[i * 4]));
        chain.advanceTo(readWord(&bytes[(entries - 1) * 4]));
    }
}

void TOVStStorageFileInfo::readFatSector(FILE* stream) {
    const uint32_t entries = sectorSize() / 4;
    const uint32_t headerEntries = (entries * 4 - kHeaderFatOffset) / 4;
    const auto listed = [](uint32_t sector) { return sector != ENDOFCHAIN && sector != FREESECT; };
    // Skipped entries leave no gap: FAT sectors are appended in the order listed. A zero word
    // is sector 0, so a header padded with zeros lists sector 0 again for each such word.
    std::vector<uint32_t> order;
    if (header.headerFatSectors != nullptr)
        for (uint32_t i = 0; i < headerEntries; ++i)
            if (listed(header.headerFatSectors[i])) order.push_back(header.headerFatSectors[i]);
    for (const unsigned int sector : difSectors)
        if (listed(sector)) order.push_back(sector);
    fatSectors.Reserve(static_cast<int>(order.size() * entries));
    loadCache->fatAt.reserve(std::min<size_t>(order.size(), fileSectors + 1));
    for (const uint32_t sector : order) appendTableSector(stream, sector, fatSectors);
}

void TOVStStorageFileInfo::readMiniFatSector(FILE* stream) {
    if (header.firstMiniFatSector == ENDOFCHAIN) return;
    for (const uint32_t sector : TOVStSectorChain::follow(fatSectors, header.firstMiniFatSector, fileSectors))
        appendTableSector(stream, sector, miniFatSectors);
}

// ---- directory and mini stream --------------------------------------------------------

void TOVStStorageFileInfo::readDirectorySector(FILE* stream) {
    const uint32_t size = sectorSize();
    const uint32_t slots = size / kDirEntrySize;
    // The chain alone ends the directory; the header's directory sector count plays no part.
    const std::vector<uint32_t> chain = TOVStSectorChain::follow(fatSectors, header.firstDirectorySector, fileSectors);
    dirEntries.Reserve(static_cast<int>(chain.size() * slots));
    const size_t most = std::min(runSectors(size), chain.size());
    std::vector<unsigned char> bytes(most * size);
    for (size_t i = 0; i < chain.size();) {
        const size_t run = TOVStSectorChain::runAt(chain, i, most);
        readSector(stream, chain[i], static_cast<uint32_t>(run * size), bytes.data());
        // Each slot is decoded where it lands in the table.
        for (size_t slot = 0; slot < run * slots; ++slot) {
            TOVStStorageDirEntry* entry = dirEntries.AddDefault();
            if (entry == nullptr) return;  // no memory left: the directory ends here
            parseDirEntry(&bytes[slot * kDirEntrySize], *entry);
        }
        i += run;
    }
}

void TOVStStorageFileInfo::readDirEntry(FILE* stream, TOVStStorageDirEntry& entry) {
    unsigned char slot[kDirEntrySize];
    readFileBytes(stream, sizeof slot, slot);
    parseDirEntry(slot, entry);
}

void TOVStStorageFileInfo::parseDirEntry(const unsigned char* slot, TOVStStorageDirEntry& entry) const {
    const auto word16 = [&](unsigned offset) { return decode16(&slot[offset], littleEndian); };
    const auto word32 = [&](unsigned offset) { return decode32(&slot[offset], littleEndian); };
    // The name and class id are taken as stored, whatever the byte order.
    entry.setName(&slot[0]);
    entry.setNameLength(word16(64));
    entry.setType(slot[66]);
    entry.setBFlag(slot[67]);
    entry.setLeftSib(word32(68));
    entry.setRightSib(word32(72));
    entry.setChild(word32(76));
    entry.setClsID(&slot[80]);
    entry.setUserFlag(word32(96));
    FILETIME times[2] = {{word32(100), word32(104)}, {word32(108), word32(112)}};
    entry.setTime(&times[0]);
    entry.setTime(&times[1]);
    entry.setStartSect(word32(116));
    entry.setSize(word32(120));  // 32 bits wide: offsets 124-127 are never the high half of the size
    entry.setPropertyType(word16(124));
}

TOVStStorageDirEntry TOVStStorageFileInfo::getRootDirEntry() {
    const TOVStStorageDirEntry* root = dirEntries.At(0);
    return root != nullptr ? *root : TOVStStorageDirEntry();
}

uint32_t TOVStStorageFileInfo::getMiniStreamLength() const {
    TOVStStorageDirEntry* root = dirEntries.At(0);
    return root != nullptr && root->isRoot() ? root->getSize() : 0;
}

uint32_t TOVStStorageFileInfo::getMiniStreamStartSect() const {
    TOVStStorageDirEntry* root = dirEntries.At(0);
    return root != nullptr && root->isRoot() ? root->getStartSect() : 0;
}

void TOVStStorageFileInfo::setMiniStreamData(FILE* stream) {
    const uint32_t start = getMiniStreamStartSect();
    const uint32_t size = sectorSize();
    // A declared length beyond what the file's sectors can hold, or beyond 2 GiB, is cut to that.
    const uint64_t capacity = std::min<uint64_t>(uint64_t(fileSectors) * size, kLargestPosition);
    const uint32_t length = static_cast<uint32_t>(std::min<uint64_t>(getMiniStreamLength(), capacity));
    miniStream.Reserve(static_cast<int>(length));
    if (start == ENDOFCHAIN || length == 0) return;
    const std::vector<uint32_t> chain = TOVStSectorChain::follow(fatSectors, start, fileSectors);
    const size_t most = std::min(runSectors(size), std::max<size_t>(1, chain.size()));
    std::vector<unsigned char> buffer(most * size);
    for (size_t i = 0; i < chain.size();) {
        const uint32_t soFar = static_cast<uint32_t>(miniStream.Count());
        if (soFar >= length) break;  // further sectors of the chain would add nothing
        const size_t run = TOVStSectorChain::runAt(chain, i, most);
        const uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(length - soFar, run * size));
        readSector(stream, chain[i], n, buffer.data());
        addBytesToMiniBuffer(buffer.data(), static_cast<int>(n));
        i += run;
    }
}

void TOVStStorageFileInfo::addBytesToMiniBuffer(unsigned char* bytes, int count) {
    if (count <= 0) return;
    miniStream.AddRun(bytes, count);
}
