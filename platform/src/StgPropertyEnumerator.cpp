#include "StgPropertyEnumerator.h"

#include "StgText.h"

namespace tovxstg {

HRESULT StgPropertyEnumerator::Next(ULONG celt, STATPROPSTG* rgelt, ULONG* pceltFetched) {
    if (pceltFetched != nullptr) *pceltFetched = 0;
    if (rgelt == nullptr) return STG_E_INVALIDPOINTER;
    if (celt > 1 && pceltFetched == nullptr) return STG_E_INVALIDPARAMETER;
    ULONG fetched = 0;
    while (fetched < celt && position_ < records_.size()) {
        const Record& record = records_[position_];
        STATPROPSTG& stat = rgelt[fetched];
        stat.propid = record.id;
        stat.vt = record.type;
        stat.lpwstrName = record.named ? callerCopy(record.name) : nullptr;
        if (record.named && stat.lpwstrName == nullptr) {
            for (ULONG i = 0; i < fetched; ++i) CoTaskMemFree(rgelt[i].lpwstrName);
            position_ -= fetched;
            return E_OUTOFMEMORY;
        }
        ++fetched;
        ++position_;
    }
    if (pceltFetched != nullptr) *pceltFetched = fetched;
    return fetched == celt ? S_OK : S_FALSE;
}

HRESULT StgPropertyEnumerator::Skip(ULONG celt) {
    const size_t left = records_.size() - position_;
    position_ += celt < left ? celt : left;
    return celt <= left ? S_OK : S_FALSE;
}

HRESULT StgPropertyEnumerator::Reset() {
    position_ = 0;
    return S_OK;
}

HRESULT StgPropertyEnumerator::Clone(IEnumSTATPROPSTG** ppenum) try {
    if (ppenum == nullptr) return STG_E_INVALIDPOINTER;
    *ppenum = new StgPropertyEnumerator(set_.get(), records_, position_);
    return S_OK;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return E_OUTOFMEMORY;
}

}  // namespace tovxstg
