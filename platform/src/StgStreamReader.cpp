#include "StgStreamReader.h"

#include <algorithm>

namespace tovxstg {

StgStreamReader::StgStreamReader(std::shared_ptr<const StgCompoundFile> file, const StgDirectoryEntry& entry)
    : file_(std::move(file)),
      start_(entry.start),
      size_(entry.size),
      mini_(entry.size < file_->miniStreamCutoff()),
      cursorSector_(entry.start) {}

uint32_t StgStreamReader::sectorAt(uint64_t index) {
    // A chain has no more links than its table has entries: an index beyond them is past a
    // chain that loops, and reads as its end.
    const uint64_t bound = mini_ ? file_->miniFatLength() : file_->fatLength();
    if (index > bound) return kEndOfChain;
    if (index < cursorIndex_) {
        cursorIndex_ = 0;
        cursorSector_ = start_;
    }
    while (cursorIndex_ < index && cursorSector_ <= kMaxRegularSector) {
        cursorSector_ = mini_ ? file_->nextMiniSector(cursorSector_) : file_->nextSector(cursorSector_);
        ++cursorIndex_;
    }
    return cursorSector_ <= kMaxRegularSector ? cursorSector_ : kEndOfChain;
}

int64_t StgStreamReader::read(uint64_t position, uint8_t* buffer, size_t count) {
    if (position >= size_) return 0;
    count = static_cast<size_t>(std::min<uint64_t>(count, size_ - position));
    return mini_ ? readMini(position, buffer, count) : readRegular(position, buffer, count);
}

int64_t StgStreamReader::readRegular(uint64_t position, uint8_t* buffer, size_t count) {
    const uint32_t sectorSize = file_->sectorSize();
    size_t done = 0;
    while (done < count) {
        const uint64_t at = position + done;
        uint64_t index = at / sectorSize;
        const uint32_t first = sectorAt(index);
        if (first == kEndOfChain) break;
        // Gather the run of sectors that follow one another on disk, as far as the read goes.
        const size_t skip = static_cast<size_t>(at % sectorSize);
        uint64_t runBytes = sectorSize - skip;
        uint32_t last = first;
        while (runBytes < count - done) {
            const uint32_t next = sectorAt(index + 1);
            if (next != last + 1) break;
            ++index;
            last = next;
            runBytes += sectorSize;
        }
        const size_t length = static_cast<size_t>(std::min<uint64_t>(runBytes, count - done));
        if (!file_->file().readAt(file_->sectorOffset(first) + skip, buffer + done, length)) return -1;
        done += length;
    }
    return static_cast<int64_t>(done);
}

int64_t StgStreamReader::readMini(uint64_t position, uint8_t* buffer, size_t count) {
    const uint32_t miniSize = file_->miniSectorSize();
    const uint32_t sectorSize = file_->sectorSize();
    size_t done = 0;
    while (done < count) {
        const uint64_t at = position + done;
        const uint32_t mini = sectorAt(at / miniSize);
        if (mini == kEndOfChain) break;
        const uint64_t inMiniStream = uint64_t(mini) * miniSize + at % miniSize;
        const uint32_t sector = file_->miniStreamSector(inMiniStream);
        if (sector == kEndOfChain) break;
        const size_t length = std::min<size_t>(miniSize - at % miniSize, count - done);
        if (!file_->file().readAt(file_->sectorOffset(sector) + inMiniStream % sectorSize, buffer + done, length)) {
            return -1;
        }
        done += length;
    }
    return static_cast<int64_t>(done);
}

}  // namespace tovxstg
