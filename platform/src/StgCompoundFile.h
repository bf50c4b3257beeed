#ifndef TOVX_STG_COMPOUND_FILE_H
#define TOVX_STG_COMPOUND_FILE_H

// The tables of one open compound file: header, FAT, mini FAT and directory, read once when the
// file is opened. Stream bytes stay in the file and are read on demand (StgStreamReader).
// Shared, read-only, by every object opened from one StgOpenStorage.

#include "StgFile.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tovxstg {

const uint32_t kFreeSector = 0xFFFFFFFFu;
const uint32_t kEndOfChain = 0xFFFFFFFEu;
const uint32_t kFatSector = 0xFFFFFFFDu;
const uint32_t kDifatSector = 0xFFFFFFFCu;
const uint32_t kMaxRegularSector = 0xFFFFFFFAu;  // numbers above it have special meanings
const uint32_t kNoEntry = 0xFFFFFFFFu;           // no sibling or child

const uint8_t kTypeStorage = 1;
const uint8_t kTypeStream = 2;
const uint8_t kTypeRoot = 5;

struct StgDirectoryEntry {
    std::u16string name;
    uint8_t type = 0;
    uint32_t left = kNoEntry;
    uint32_t right = kNoEntry;
    uint32_t child = kNoEntry;
    CLSID clsid{};
    uint32_t stateBits = 0;
    FILETIME created{};
    FILETIME modified{};
    uint32_t start = kEndOfChain;
    uint64_t size = 0;
};

class StgCompoundFile {
public:
    // Reads the tables of the open file. STG_E_FILEALREADYEXISTS when the file is no compound
    // file (no signature, or a header that no writer of the format produces),
    // STG_E_DOCFILECORRUPT when its tables are unusable, STG_E_READFAULT on a read error.
    static HRESULT load(std::unique_ptr<StgFile> file, std::shared_ptr<const StgCompoundFile>& loaded);

    // True when the file starts with the format's signature.
    static bool hasSignature(const StgFile& file);

    const StgFile& file() const { return *file_; }
    uint32_t sectorSize() const { return 1u << sectorShift_; }
    uint32_t miniSectorSize() const { return 1u << miniSectorShift_; }
    uint32_t miniStreamCutoff() const { return miniStreamCutoff_; }
    uint64_t sectorOffset(uint32_t sector) const { return (uint64_t(sector) + 1) << sectorShift_; }

    size_t entryCount() const { return entries_.size(); }
    const StgDirectoryEntry& entry(uint32_t index) const { return entries_[index]; }
    bool isEntry(uint32_t index) const { return index < entries_.size(); }
    // The storages and streams under the root or a storage, in name order (StgDirectoryTree).
    const std::vector<uint32_t>& childrenOf(uint32_t storage) const { return children_[storage]; }

    // The sector after `sector` in its chain; ENDOFCHAIN for one outside the table. A walk may
    // take at most fatLength() steps: a longer chain loops.
    uint32_t nextSector(uint32_t sector) const { return sector < fat_.size() ? fat_[sector] : kEndOfChain; }
    uint32_t nextMiniSector(uint32_t sector) const {
        return sector < miniFat_.size() ? miniFat_[sector] : kEndOfChain;
    }
    size_t fatLength() const { return fat_.size(); }
    size_t miniFatLength() const { return miniFat_.size(); }

    // The regular sector that holds byte `offset` of the mini stream, or ENDOFCHAIN past its chain.
    // The root's chain is followed once, at the first call.
    uint32_t miniStreamSector(uint64_t offset) const;

private:
    struct Header;
    explicit StgCompoundFile(std::unique_ptr<StgFile> file) : file_(std::move(file)) {}
    HRESULT readHeader(Header& header);
    HRESULT readFat(const Header& header);
    HRESULT readMiniFat(const Header& header);
    HRESULT readDirectory(const Header& header);
    bool readSector(uint32_t sector, std::vector<uint8_t>& bytes) const;
    // The sectors of a chain through the FAT, cut where it leaves the table or loops back.
    std::vector<uint32_t> chain(uint32_t start) const;
    uint64_t sectorsInFile() const;

    std::unique_ptr<StgFile> file_;
    uint16_t sectorShift_ = 9;
    uint16_t miniSectorShift_ = 6;
    uint32_t miniStreamCutoff_ = 4096;
    std::vector<uint32_t> fat_;
    std::vector<uint32_t> miniFat_;
    std::vector<StgDirectoryEntry> entries_;
    std::vector<std::vector<uint32_t>> children_;  // by directory index

    mutable std::once_flag miniStreamChainOnce_;
    mutable std::vector<uint32_t> miniStreamChain_;
};

}  // namespace tovxstg

#endif
