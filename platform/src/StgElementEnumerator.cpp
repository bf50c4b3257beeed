#include "StgElementEnumerator.h"

#include "StgModes.h"

namespace tovxstg {

StgElementEnumerator::StgElementEnumerator(StgStorage* storage, std::vector<uint32_t> children, size_t position)
    : storage_(storage), children_(std::move(children)), position_(position) {}

HRESULT StgElementEnumerator::Next(ULONG celt, STATSTG* rgelt, ULONG* pceltFetched) {
    if (pceltFetched != nullptr) *pceltFetched = 0;
    if (rgelt == nullptr) return STG_E_INVALIDPOINTER;
    if (celt > 1 && pceltFetched == nullptr) return STG_E_INVALIDPARAMETER;
    const StgCompoundFile& file = *storage_->file();
    ULONG fetched = 0;
    while (fetched < celt && position_ < children_.size()) {
        const StgDirectoryEntry& entry = file.entry(children_[position_]);
        const DWORD type = entry.type == kTypeStorage ? STGTY_STORAGE : STGTY_STREAM;
        if (FAILED(fillStat(rgelt[fetched], entry, type, entry.name, 0, STATFLAG_DEFAULT))) {
            for (ULONG i = 0; i < fetched; ++i) CoTaskMemFree(rgelt[i].pwcsName);
            position_ -= fetched;
            return E_OUTOFMEMORY;
        }
        ++fetched;
        ++position_;
    }
    if (pceltFetched != nullptr) *pceltFetched = fetched;
    return fetched == celt ? S_OK : S_FALSE;
}

HRESULT StgElementEnumerator::Skip(ULONG celt) {
    const size_t left = children_.size() - position_;
    position_ += celt < left ? celt : left;
    return celt <= left ? S_OK : S_FALSE;
}

HRESULT StgElementEnumerator::Reset() {
    position_ = 0;
    return S_OK;
}

HRESULT StgElementEnumerator::Clone(IEnumSTATSTG** ppenum) try {
    if (ppenum == nullptr) return STG_E_INVALIDPOINTER;
    *ppenum = new StgElementEnumerator(storage_.get(), children_, position_);
    return S_OK;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return E_OUTOFMEMORY;
}

}  // namespace tovxstg
