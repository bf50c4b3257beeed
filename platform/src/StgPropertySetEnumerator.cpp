#include "StgPropertySetEnumerator.h"

namespace tovxstg {

HRESULT StgPropertySetEnumerator::Next(ULONG celt, STATPROPSETSTG* rgelt, ULONG* pceltFetched) {
    if (pceltFetched != nullptr) *pceltFetched = 0;
    if (rgelt == nullptr) return STG_E_INVALIDPOINTER;
    if (celt > 1 && pceltFetched == nullptr) return STG_E_INVALIDPARAMETER;
    ULONG fetched = 0;
    while (fetched < celt && position_ < sets_.size()) rgelt[fetched++] = sets_[position_++];
    if (pceltFetched != nullptr) *pceltFetched = fetched;
    return fetched == celt ? S_OK : S_FALSE;
}

HRESULT StgPropertySetEnumerator::Skip(ULONG celt) {
    const size_t left = sets_.size() - position_;
    position_ += celt < left ? celt : left;
    return celt <= left ? S_OK : S_FALSE;
}

HRESULT StgPropertySetEnumerator::Reset() {
    position_ = 0;
    return S_OK;
}

HRESULT StgPropertySetEnumerator::Clone(IEnumSTATPROPSETSTG** ppenum) try {
    if (ppenum == nullptr) return STG_E_INVALIDPOINTER;
    *ppenum = new StgPropertySetEnumerator(storage_.get(), sets_, position_);
    return S_OK;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return E_OUTOFMEMORY;
}

}  // namespace tovxstg
