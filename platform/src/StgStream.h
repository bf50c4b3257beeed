#ifndef TOVX_STG_STREAM_H
#define TOVX_STG_STREAM_H

// One stream of an open compound file, with its own seek position. Its bytes are read from the
// file as they are asked for.

#include "StgComObject.h"
#include "StgStreamReader.h"

namespace tovxstg {

class StgStream final : public StgComObject<IStream> {
public:
    // `parent` is kept alive while this stream lives.
    StgStream(std::shared_ptr<const StgCompoundFile> file, uint32_t entry, DWORD mode, IStorage* parent,
              uint64_t position = 0);

    HRESULT STDMETHODCALLTYPE Read(void* pv, ULONG cb, ULONG* pcbRead) override;
    HRESULT STDMETHODCALLTYPE Write(const void* pv, ULONG cb, ULONG* pcbWritten) override;
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) override;
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER libNewSize) override;
    HRESULT STDMETHODCALLTYPE CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                                     ULARGE_INTEGER* pcbWritten) override;
    HRESULT STDMETHODCALLTYPE Commit(DWORD grfCommitFlags) override;
    HRESULT STDMETHODCALLTYPE Revert() override;
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) override;
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) override;
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* pstatstg, DWORD grfStatFlag) override;
    HRESULT STDMETHODCALLTYPE Clone(IStream** ppstm) override;

protected:
    bool answersTo(REFIID riid) const override {
        return IsEqualIID(riid, IID_IStream) || IsEqualIID(riid, IID_ISequentialStream);
    }

private:
    std::shared_ptr<const StgCompoundFile> file_;
    uint32_t entry_;
    DWORD mode_;
    StgReference<IStorage> parent_;
    StgStreamReader reader_;
    uint64_t position_;
};

}  // namespace tovxstg

#endif
