#ifndef TOVX_STG_STREAM_READER_H
#define TOVX_STG_STREAM_READER_H

// Reads the bytes of one stream on demand: a stream at or above the cutoff from its chain of
// regular sectors, a contiguous run of them in one read; a smaller one from the mini stream,
// mini sector by mini sector. The reader remembers where its last read ended in the chain, so
// that reading a stream from start to end follows its chain once.

#include "StgCompoundFile.h"

namespace tovxstg {

class StgStreamReader {
public:
    StgStreamReader(std::shared_ptr<const StgCompoundFile> file, const StgDirectoryEntry& entry);

    uint64_t size() const { return size_; }
    // Reads up to `count` bytes from `position`; gives how many came, fewer than asked at the end
    // of the stream or where its chain ends early. -1 on a read error.
    int64_t read(uint64_t position, uint8_t* buffer, size_t count);

private:
    // The sector at `index` of the chain, or ENDOFCHAIN; walks on from the last one found.
    uint32_t sectorAt(uint64_t index);
    int64_t readRegular(uint64_t position, uint8_t* buffer, size_t count);
    int64_t readMini(uint64_t position, uint8_t* buffer, size_t count);

    std::shared_ptr<const StgCompoundFile> file_;
    uint32_t start_;
    uint64_t size_;
    bool mini_;
    uint64_t cursorIndex_ = 0;
    uint32_t cursorSector_;
};

}  // namespace tovxstg

#endif
