#include "StgStream.h"

#include "StgModes.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace tovxstg {

StgStream::StgStream(std::shared_ptr<const StgCompoundFile> file, uint32_t entry, DWORD mode, IStorage* parent,
                     uint64_t position)
    : file_(std::move(file)),
      entry_(entry),
      mode_(mode),
      parent_(parent),
      reader_(file_, file_->entry(entry)),
      position_(position) {}

HRESULT StgStream::Read(void* pv, ULONG cb, ULONG* pcbRead) try {
    if (pcbRead != nullptr) *pcbRead = 0;
    if (pv == nullptr) return STG_E_INVALIDPOINTER;
    const int64_t got = reader_.read(position_, static_cast<uint8_t*>(pv), cb);
    if (got < 0) return STG_E_READFAULT;
    // A chain that ends before the stream's size gives short data, as the end of the stream does.
    position_ += static_cast<uint64_t>(got);
    if (pcbRead != nullptr) *pcbRead = static_cast<ULONG>(got);
    return S_OK;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return STG_E_INSUFFICIENTMEMORY;
}

HRESULT StgStream::Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) {
    uint64_t base = 0;
    switch (dwOrigin) {
    case STREAM_SEEK_SET: base = 0; break;
    case STREAM_SEEK_CUR: base = position_; break;
    case STREAM_SEEK_END: base = reader_.size(); break;
    default: return STG_E_INVALIDFUNCTION;
    }
    const int64_t move = dlibMove.QuadPart;
    const uint64_t limit = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
    // Before the start, or beyond what 63 bits can hold, is no position.
    if ((move < 0 && static_cast<uint64_t>(-(move + 1)) + 1 > base) || (move > 0 && uint64_t(move) > limit - base)) {
        return STG_E_INVALIDFUNCTION;
    }
    position_ = base + static_cast<uint64_t>(move);
    if (plibNewPosition != nullptr) plibNewPosition->QuadPart = position_;
    return S_OK;
}

HRESULT StgStream::CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead, ULARGE_INTEGER* pcbWritten) try {
    if (pcbRead != nullptr) pcbRead->QuadPart = 0;
    if (pcbWritten != nullptr) pcbWritten->QuadPart = 0;
    if (pstm == nullptr) return STG_E_INVALIDPOINTER;
    std::vector<uint8_t> buffer(65536);
    uint64_t read = 0;
    uint64_t written = 0;
    HRESULT status = S_OK;
    while (read < cb.QuadPart) {
        const ULONG chunk = static_cast<ULONG>(std::min<uint64_t>(buffer.size(), cb.QuadPart - read));
        ULONG got = 0;
        status = Read(buffer.data(), chunk, &got);
        if (FAILED(status) || got == 0) break;
        read += got;
        ULONG put = 0;
        status = pstm->Write(buffer.data(), got, &put);
        written += put;
        if (FAILED(status) || put < got) break;
    }
    if (pcbRead != nullptr) pcbRead->QuadPart = read;
    if (pcbWritten != nullptr) pcbWritten->QuadPart = written;
    return FAILED(status) ? status : S_OK;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return STG_E_INSUFFICIENTMEMORY;
}

HRESULT StgStream::Stat(STATSTG* pstatstg, DWORD grfStatFlag) try {
    if (pstatstg == nullptr) return STG_E_INVALIDPOINTER;
    const StgDirectoryEntry& entry = file_->entry(entry_);
    return fillStat(*pstatstg, entry, STGTY_STREAM, entry.name, mode_, grfStatFlag);
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return STG_E_INSUFFICIENTMEMORY;
}

HRESULT StgStream::Clone(IStream** ppstm) try {
    if (ppstm == nullptr) return STG_E_INVALIDPOINTER;
    *ppstm = new StgStream(file_, entry_, mode_, parent_.get(), position_);
    return S_OK;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return STG_E_INSUFFICIENTMEMORY;
}

HRESULT StgStream::Write(const void*, ULONG, ULONG* pcbWritten) {
    if (pcbWritten != nullptr) *pcbWritten = 0;
    return STG_E_ACCESSDENIED;
}
HRESULT StgStream::SetSize(ULARGE_INTEGER) { return STG_E_ACCESSDENIED; }
// Nothing is ever pending in a read-only stream.
HRESULT StgStream::Commit(DWORD) { return S_OK; }
HRESULT StgStream::Revert() { return S_OK; }
// Streams of compound files offer no region locks.
HRESULT StgStream::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) { return STG_E_INVALIDFUNCTION; }
HRESULT StgStream::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) { return STG_E_INVALIDFUNCTION; }

}  // namespace tovxstg
