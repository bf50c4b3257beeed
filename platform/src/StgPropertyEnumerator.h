#ifndef TOVX_STG_PROPERTY_ENUMERATOR_H
#define TOVX_STG_PROPERTY_ENUMERATOR_H

// Walks the properties of one set, in the order of the set's table.

#include "StgComObject.h"

#include <string>
#include <vector>

namespace tovxstg {

class StgPropertyEnumerator final : public StgComObject<IEnumSTATPROPSTG> {
public:
    struct Record {
        PROPID id;
        VARTYPE type;
        bool named;
        std::u16string name;
    };

    // The set is kept alive while the walk lives.
    StgPropertyEnumerator(IPropertyStorage* set, std::vector<Record> records, size_t position)
        : set_(set), records_(std::move(records)), position_(position) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG celt, STATPROPSTG* rgelt, ULONG* pceltFetched) override;
    HRESULT STDMETHODCALLTYPE Skip(ULONG celt) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumSTATPROPSTG** ppenum) override;

protected:
    bool answersTo(REFIID riid) const override { return IsEqualIID(riid, IID_IEnumSTATPROPSTG); }

private:
    StgReference<IPropertyStorage> set_;
    std::vector<Record> records_;
    size_t position_;
};

}  // namespace tovxstg

#endif
