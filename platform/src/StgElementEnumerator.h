#ifndef TOVX_STG_ELEMENT_ENUMERATOR_H
#define TOVX_STG_ELEMENT_ENUMERATOR_H

// Walks the children of one storage, as they stood when the walk was made, in name order.

#include "StgComObject.h"
#include "StgStorage.h"

#include <vector>

namespace tovxstg {

class StgElementEnumerator final : public StgComObject<IEnumSTATSTG> {
public:
    // The storage is kept alive while the walk lives.
    StgElementEnumerator(StgStorage* storage, std::vector<uint32_t> children, size_t position);

    HRESULT STDMETHODCALLTYPE Next(ULONG celt, STATSTG* rgelt, ULONG* pceltFetched) override;
    HRESULT STDMETHODCALLTYPE Skip(ULONG celt) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumSTATSTG** ppenum) override;

protected:
    bool answersTo(REFIID riid) const override { return IsEqualIID(riid, IID_IEnumSTATSTG); }

private:
    StgReference<StgStorage> storage_;
    std::vector<uint32_t> children_;
    size_t position_;
};

}  // namespace tovxstg

#endif
