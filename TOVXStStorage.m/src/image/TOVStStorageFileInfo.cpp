#include "TOVStStorageFileInfo.h"

#include <cmath>
#include <cstring>
#include <unordered_set>
#include <vector>

#include "TOVStFileRead.h"
#include "TOVStSectorChain.h"
#include "TOVStStorageConstants.h"
#include "TOVXMemoryManager.h"

namespace {

uint32_t fileSizeOf(FILE* stream) {
    if (std::fseek(stream, 0, SEEK_END) != 0) return 0;
    const long size = std::ftell(stream);
    std::rewind(stream);
    if (size < 0) return 0;
    return static_cast<unsigned long>(size) > 0xFFFFFFFFul ? 0xFFFFFFFFu : static_cast<uint32_t>(size);
}

}  // namespace

// ---- construction and copies ----------------------------------------------------------

TOVStStorageFileInfo::TOVStStorageFileInfo() = default;

TOVStStorageFileInfo::TOVStStorageFileInfo(const TOVXFilePath& path) {
    filePath = path;
    FILE* stream = filePath.OpenFile("rb");
    littleEndian = true;
    if (stream != nullptr) {
        fileBytes = fileSizeOf(stream);
        setHeader(stream);
    }
    valid = false;
    if (stream == nullptr) return;
    if (checkHeader()) {
        const uint32_t size = sectorSize();
        fileSectors = fileBytes > size ? (fileBytes - size + size - 1) / size : 0;
        readDifSector(stream);
        readFatSector(stream);
        readMiniFatSector(stream);
        readDirectorySector(stream);
        setMiniStreamData(stream);
        valid = true;
    }
    std::fclose(stream);
    tovxDeallocate(header.headerFatSectors);
    header.headerFatSectors = nullptr;
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
    for (uint32_t i = 0; i < words; ++i) {
        header.headerFatSectors[i] = 0;
        readFileULong(stream, header.headerFatSectors[i], littleEndian);
    }
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

uint32_t TOVStStorageFileInfo::sectorSize() const {
    return static_cast<uint32_t>(std::pow(2.0, static_cast<double>(header.sectorShift)));
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

// Reads one whole sector of table words and appends them; what the file lacks reads as zeros.
void TOVStStorageFileInfo::appendTableSector(FILE* stream, uint32_t sector, TOVXDynamicArray<unsigned int>& table) {
    const uint32_t size = sectorSize();
    unsigned char bytes[4096];
    unsigned int words[1024];
    seekFile(stream, getEquivalentFatBytePos(sector));
    readFileBytes(stream, static_cast<int>(size), bytes);
    for (uint32_t i = 0; i < size / 4; ++i) words[i] = readWord(&bytes[i * 4]);
    table.AddRun(words, static_cast<int>(size / 4));
}

// ---- allocation tables ----------------------------------------------------------------

void TOVStStorageFileInfo::readDifSector(FILE* stream) {
    if (header.firstDifSector == ENDOFCHAIN) return;
    const uint32_t entries = sectorSize() / 4;
    // More DIFAT sectors than the file holds cannot exist; the walk also ends at a link that
    // is a special value, leads outside the file, or comes back to a DIFAT sector already read.
    uint32_t count = header.difSectorCount < fileSectors ? header.difSectorCount : fileSectors;
    std::unordered_set<uint32_t> visited;
    uint32_t current = header.firstDifSector;
    std::vector<unsigned char> bytes(sectorSize());
    for (uint32_t index = 0; index < count; ++index) {
        if (current >= fileSectors || !visited.insert(current).second) break;
        seekFile(stream, getEquivalentFatBytePos(current));
        readFileBytes(stream, static_cast<int>(bytes.size()), bytes.data());
        const bool last = index + 1 == count;
        // The last word of every DIFAT sector but the last is the link to the next one.
        const uint32_t kept = last ? entries : entries - 1;
        for (uint32_t i = 0; i < kept; ++i) {
            const unsigned int word = readWord(&bytes[i * 4]);
            difSectors.Add(word);
        }
        if (last) break;
        current = readWord(&bytes[(entries - 1) * 4]);
        if (isSpecialSector(current)) break;
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
    // A file cannot hold more FAT sectors than sectors: DIFAT-listed ones beyond that are not read.
    uint32_t budget = fileSectors;
    for (const unsigned int sector : difSectors) {
        if (!listed(sector)) continue;
        if (budget-- == 0) break;
        order.push_back(sector);
    }
    fatSectors.Reserve(static_cast<int>(order.size() * entries));
    for (const uint32_t sector : order) appendTableSector(stream, sector, fatSectors);
}

void TOVStStorageFileInfo::readMiniFatSector(FILE* stream) {
    if (header.firstMiniFatSector == ENDOFCHAIN) return;
    const std::vector<uint32_t> chain = TOVStSectorChain::follow(fatSectors, header.firstMiniFatSector, fileSectors > 0 ? fileSectors : 1);
    for (const uint32_t sector : chain) appendTableSector(stream, sector, miniFatSectors);
}

// ---- directory and mini stream --------------------------------------------------------

void TOVStStorageFileInfo::readDirectorySector(FILE* stream) {
    const uint32_t slots = sectorSize() / kDirEntrySize;
    // The chain alone ends the directory; the header's directory sector count plays no part.
    const std::vector<uint32_t> chain =
        TOVStSectorChain::follow(fatSectors, header.firstDirectorySector, fileSectors > 0 ? fileSectors : 1);
    dirEntries.Reserve(static_cast<int>(chain.size() * slots));
    for (const uint32_t sector : chain) {
        seekFile(stream, getEquivalentFatBytePos(sector));
        for (uint32_t slot = 0; slot < slots; ++slot) {
            TOVStStorageDirEntry entry;
            readDirEntry(stream, entry);
            dirEntries.Add(entry);
        }
    }
}

void TOVStStorageFileInfo::readDirEntry(FILE* stream, TOVStStorageDirEntry& entry) {
    unsigned char slot[kDirEntrySize];
    readFileBytes(stream, sizeof slot, slot);
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
    // A declared length beyond what the file's sectors can hold is cut to that.
    const uint64_t fileCapacity = static_cast<uint64_t>(fileSectors) * sectorSize();
    uint32_t length = getMiniStreamLength();
    if (length > fileCapacity) length = static_cast<uint32_t>(fileCapacity);
    if (length > kLargestPosition) length = kLargestPosition;
    miniStream.Reserve(static_cast<int>(length));
    if (start == ENDOFCHAIN || length == 0) return;
    const uint32_t size = sectorSize();
    std::vector<unsigned char> buffer(size);
    for (const uint32_t sector : TOVStSectorChain::follow(fatSectors, start, fileSectors > 0 ? fileSectors : 1)) {
        const uint32_t soFar = static_cast<uint32_t>(miniStream.Count());
        if (soFar >= length) break;  // further sectors of the chain would add nothing
        const uint32_t n = length - soFar < size ? length - soFar : size;
        seekFile(stream, getEquivalentFatBytePos(sector));
        readFileBytes(stream, static_cast<int>(n), buffer.data());
        addBytesToMiniBuffer(buffer.data(), static_cast<int>(n));
    }
}

void TOVStStorageFileInfo::addBytesToMiniBuffer(unsigned char* bytes, int count) {
    if (count <= 0) return;
    miniStream.AddRun(bytes, count);
}
