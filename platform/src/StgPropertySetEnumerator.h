#ifndef TOVX_STG_PROPERTY_SET_ENUMERATOR_H
#define TOVX_STG_PROPERTY_SET_ENUMERATOR_H

// Walks the property sets of one storage, as they stood when the walk was made.

#include "StgComObject.h"
#include "StgStorage.h"

#include <vector>

namespace tovxstg {

class StgPropertySetEnumerator final : public StgComObject<IEnumSTATPROPSETSTG> {
public:
    // The storage is kept alive while the walk lives.
    StgPropertySetEnumerator(StgStorage* storage, std::vector<STATPROPSETSTG> sets, size_t position)
        : storage_(storage), sets_(std::move(sets)), position_(position) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG celt, STATPROPSETSTG* rgelt, ULONG* pceltFetched) override;
    HRESULT STDMETHODCALLTYPE Skip(ULONG celt) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumSTATPROPSETSTG** ppenum) override;

protected:
    bool answersTo(REFIID riid) const override { return IsEqualIID(riid, IID_IEnumSTATPROPSETSTG); }

private:
    StgReference<StgStorage> storage_;
    std::vector<STATPROPSETSTG> sets_;
    size_t position_;
};

}  // namespace tovxstg

#endif
