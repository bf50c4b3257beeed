#ifndef TOVX_STG_PROPERTY_SET_STORAGE_H
#define TOVX_STG_PROPERTY_SET_STORAGE_H

// The property sets of one storage: the view that QueryInterface gives for
// IID_IPropertySetStorage. Every other interface, IUnknown among them, is the storage's own.

#include "StgComObject.h"
#include "StgStorage.h"

namespace tovxstg {

class StgPropertySetStorage final : public StgComObject<IPropertySetStorage> {
public:
    // The storage is kept alive while the view lives.
    explicit StgPropertySetStorage(StgStorage* storage) : storage_(storage) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;
    HRESULT STDMETHODCALLTYPE Create(REFFMTID rfmtid, const CLSID* pclsid, DWORD grfFlags, DWORD grfMode,
                                     IPropertyStorage** ppprstg) override;
    HRESULT STDMETHODCALLTYPE Open(REFFMTID rfmtid, DWORD grfMode, IPropertyStorage** ppprstg) override;
    HRESULT STDMETHODCALLTYPE Delete(REFFMTID rfmtid) override;
    HRESULT STDMETHODCALLTYPE Enum(IEnumSTATPROPSETSTG** ppenum) override;

protected:
    bool answersTo(REFIID riid) const override { return IsEqualIID(riid, IID_IPropertySetStorage); }

private:
    StgReference<StgStorage> storage_;
};

}  // namespace tovxstg

#endif
