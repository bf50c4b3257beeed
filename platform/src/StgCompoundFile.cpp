#include "StgCompoundFile.h"

#include "StgDirectoryTree.h"

#include <algorithm>
#include <cstring>

namespace tovxstg {

namespace {

const unsigned char kSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
const size_t kHeaderSize = 512;
const size_t kHeaderFatEntries = 109;  // in the first 512 bytes, whatever the sector size
const size_t kEntrySize = 128;

uint16_t get16(const uint8_t* bytes) { return static_cast<uint16_t>(bytes[0] | (bytes[1] << 8)); }
uint32_t get32(const uint8_t* bytes) {
    return uint32_t(bytes[0]) | (uint32_t(bytes[1]) << 8) | (uint32_t(bytes[2]) << 16) | (uint32_t(bytes[3]) << 24);
}

FILETIME getFileTime(const uint8_t* bytes) {
    FILETIME time;
    time.dwLowDateTime = get32(bytes);
    time.dwHighDateTime = get32(bytes + 4);
    return time;
}

GUID getGuid(const uint8_t* bytes) {
    GUID guid;
    guid.Data1 = get32(bytes);
    guid.Data2 = get16(bytes + 4);
    guid.Data3 = get16(bytes + 6);
    std::memcpy(guid.Data4, bytes + 8, 8);
    return guid;
}

// The stored name: its length counts bytes with the terminating unit; a length that no writer
// produces leaves the name to end at its first zero unit.
std::u16string getName(const uint8_t* bytes) {
    const uint16_t storedLength = get16(bytes + 64);
    size_t units = 32;
    if (storedLength >= 2 && storedLength <= 64) units = storedLength / 2 - 1;
    std::u16string name;
    for (size_t i = 0; i < units; ++i) {
        const char16_t unit = get16(bytes + 2 * i);
        if (unit == 0) break;
        name.push_back(unit);
    }
    return name;
}

StgDirectoryEntry getEntry(const uint8_t* bytes, bool wideSizes) {
    StgDirectoryEntry entry;
    entry.name = getName(bytes);
    entry.type = bytes[66];
    entry.left = get32(bytes + 68);
    entry.right = get32(bytes + 72);
    entry.child = get32(bytes + 76);
    entry.clsid = getGuid(bytes + 80);
    entry.stateBits = get32(bytes + 96);
    entry.created = getFileTime(bytes + 100);
    entry.modified = getFileTime(bytes + 108);
    entry.start = get32(bytes + 116);
    entry.size = get32(bytes + 120);
    // Files of 512-byte sectors may hold anything in the high half of the size: it is ignored.
    if (wideSizes) entry.size |= uint64_t(get32(bytes + 124)) << 32;
    return entry;
}

}  // namespace

struct StgCompoundFile::Header {
    uint32_t fatSectorCount;
    uint32_t firstDirectorySector;
    uint32_t firstMiniFatSector;
    uint32_t firstDifatSector;
    uint32_t headerFat[kHeaderFatEntries];
};

bool StgCompoundFile::hasSignature(const StgFile& file) {
    unsigned char start[sizeof kSignature];
    return file.size() >= sizeof kSignature && file.readAt(0, start, sizeof start) &&
           std::memcmp(start, kSignature, sizeof kSignature) == 0;
}

HRESULT StgCompoundFile::load(std::unique_ptr<StgFile> file, std::shared_ptr<const StgCompoundFile>& loaded) {
    std::shared_ptr<StgCompoundFile> compound(new StgCompoundFile(std::move(file)));
    Header header;
    HRESULT status = compound->readHeader(header);
    if (SUCCEEDED(status)) status = compound->readFat(header);
    if (SUCCEEDED(status)) status = compound->readMiniFat(header);
    if (SUCCEEDED(status)) status = compound->readDirectory(header);
    if (FAILED(status)) return status;
    compound->children_ = StgDirectoryTree::childrenOfEveryStorage(*compound);
    loaded = std::move(compound);
    return S_OK;
}

HRESULT StgCompoundFile::readHeader(Header& header) {
    uint8_t bytes[kHeaderSize];
    if (!file_->readAt(0, bytes, sizeof bytes)) return STG_E_READFAULT;
    if (std::memcmp(bytes, kSignature, sizeof kSignature) != 0) return STG_E_FILEALREADYEXISTS;
    const uint16_t byteOrder = get16(bytes + 28);
    sectorShift_ = get16(bytes + 30);
    miniSectorShift_ = get16(bytes + 32);
    if (byteOrder != 0xFFFE || (sectorShift_ != 9 && sectorShift_ != 12) || miniSectorShift_ != 6) {
        return STG_E_FILEALREADYEXISTS;
    }
    if (file_->size() <= sectorSize()) return STG_E_DOCFILECORRUPT;  // a header and no sector
    header.fatSectorCount = get32(bytes + 44);
    header.firstDirectorySector = get32(bytes + 48);
    miniStreamCutoff_ = get32(bytes + 56);
    header.firstMiniFatSector = get32(bytes + 60);
    header.firstDifatSector = get32(bytes + 68);
    for (size_t i = 0; i < kHeaderFatEntries; ++i) header.headerFat[i] = get32(bytes + 76 + 4 * i);
    return S_OK;
}

uint64_t StgCompoundFile::sectorsInFile() const {
    return (file_->size() - 1) / sectorSize();  // the header's sector is no numbered sector
}

bool StgCompoundFile::readSector(uint32_t sector, std::vector<uint8_t>& bytes) const {
    bytes.resize(sectorSize());
    return file_->readAt(sectorOffset(sector), bytes.data(), bytes.size());
}

HRESULT StgCompoundFile::readFat(const Header& header) {
    // No more FAT sectors than the file has sectors: the table never outgrows the file.
    const uint64_t wanted = std::min<uint64_t>(header.fatSectorCount, sectorsInFile());
    std::vector<uint32_t> fatSectors(header.headerFat, header.headerFat + std::min<uint64_t>(wanted, kHeaderFatEntries));
    const uint32_t perSector = sectorSize() / 4;
    std::vector<uint8_t> bytes;
    uint32_t difat = header.firstDifatSector;
    for (uint64_t steps = 0; fatSectors.size() < wanted && difat <= kMaxRegularSector && steps < sectorsInFile();
         ++steps) {
        if (!readSector(difat, bytes)) return STG_E_READFAULT;
        for (uint32_t i = 0; i + 1 < perSector && fatSectors.size() < wanted; ++i) {
            fatSectors.push_back(get32(&bytes[4 * i]));
        }
        difat = get32(&bytes[4 * (perSector - 1)]);
    }
    fat_.reserve(fatSectors.size() * perSector);
    for (const uint32_t sector : fatSectors) {
        if (sector > kMaxRegularSector) {
            fat_.insert(fat_.end(), perSector, kFreeSector);  // a FAT sector that is missing
            continue;
        }
        if (!readSector(sector, bytes)) return STG_E_READFAULT;
        for (uint32_t i = 0; i < perSector; ++i) fat_.push_back(get32(&bytes[4 * i]));
    }
    return S_OK;
}

std::vector<uint32_t> StgCompoundFile::chain(uint32_t start) const {
    std::vector<uint32_t> sectors;
    std::vector<bool> seen(fat_.size());
    for (uint32_t sector = start; sector <= kMaxRegularSector; sector = nextSector(sector)) {
        if (sector < seen.size()) {
            if (seen[sector]) break;  // a chain that loops back is cut where it returns
            seen[sector] = true;
        }
        sectors.push_back(sector);
        if (sector >= fat_.size()) break;  // beyond the table nothing follows
    }
    return sectors;
}

HRESULT StgCompoundFile::readMiniFat(const Header& header) {
    std::vector<uint8_t> bytes;
    for (const uint32_t sector : chain(header.firstMiniFatSector)) {
        if (!readSector(sector, bytes)) return STG_E_READFAULT;
        for (size_t i = 0; i < bytes.size(); i += 4) miniFat_.push_back(get32(&bytes[i]));
    }
    return S_OK;
}

HRESULT StgCompoundFile::readDirectory(const Header& header) {
    if (header.firstDirectorySector > kMaxRegularSector || header.firstDirectorySector >= sectorsInFile()) {
        return STG_E_DOCFILECORRUPT;
    }
    const bool wideSizes = sectorShift_ != 9;
    std::vector<uint8_t> bytes;
    for (const uint32_t sector : chain(header.firstDirectorySector)) {
        if (!readSector(sector, bytes)) return STG_E_READFAULT;
        for (size_t offset = 0; offset < bytes.size(); offset += kEntrySize) {
            entries_.push_back(getEntry(&bytes[offset], wideSizes));
        }
    }
    if (entries_.empty() || entries_[0].type != kTypeRoot) return STG_E_DOCFILECORRUPT;
    return S_OK;
}

uint32_t StgCompoundFile::miniStreamSector(uint64_t offset) const {
    std::call_once(miniStreamChainOnce_, [this] { miniStreamChain_ = chain(entries_[0].start); });
    if (offset >= entries_[0].size) return kEndOfChain;
    const uint64_t index = offset >> sectorShift_;
    return index < miniStreamChain_.size() ? miniStreamChain_[index] : kEndOfChain;
}

}  // namespace tovxstg
