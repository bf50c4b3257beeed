#ifndef TOVX_STG_PROPERTY_STORAGE_H
#define TOVX_STG_PROPERTY_STORAGE_H

// One property set: a section of a property-set stream, read only.

#include "StgComObject.h"
#include "StgPropertySetStream.h"
#include "StgStorage.h"

namespace tovxstg {

class StgPropertyStorage final : public StgComObject<IPropertyStorage> {
public:
    // The storage that holds the set's stream is kept alive while the set lives.
    StgPropertyStorage(StgStorage* storage, std::shared_ptr<const StgPropertySetStream> stream, size_t section,
                       const FMTID& fmtid, const StgDirectoryEntry& streamEntry, DWORD mode);

    // What Stat and the set enumerator report about section `section` of `stream`.
    static STATPROPSETSTG statOf(const StgPropertySetStream& stream, size_t section, const FMTID& fmtid,
                                 const StgDirectoryEntry& streamEntry);

    HRESULT STDMETHODCALLTYPE ReadMultiple(ULONG count, const PROPSPEC properties[], PROPVARIANT rgpropvar[]) override;
    HRESULT STDMETHODCALLTYPE WriteMultiple(ULONG count, const PROPSPEC properties[], const PROPVARIANT rgpropvar[],
                                            PROPID propidNameFirst) override;
    HRESULT STDMETHODCALLTYPE DeleteMultiple(ULONG count, const PROPSPEC properties[]) override;
    HRESULT STDMETHODCALLTYPE ReadPropertyNames(ULONG cpropid, const PROPID rgpropid[],
                                                LPOLESTR rglpwstrName[]) override;
    HRESULT STDMETHODCALLTYPE WritePropertyNames(ULONG cpropid, const PROPID rgpropid[],
                                                 const LPOLESTR rglpwstrName[]) override;
    HRESULT STDMETHODCALLTYPE DeletePropertyNames(ULONG cpropid, const PROPID rgpropid[]) override;
    HRESULT STDMETHODCALLTYPE Commit(DWORD grfCommitFlags) override;
    HRESULT STDMETHODCALLTYPE Revert() override;
    HRESULT STDMETHODCALLTYPE Enum(IEnumSTATPROPSTG** ppenum) override;
    HRESULT STDMETHODCALLTYPE SetTimes(const FILETIME* pctime, const FILETIME* patime, const FILETIME* pmtime) override;
    HRESULT STDMETHODCALLTYPE SetClass(REFCLSID clsid) override;
    HRESULT STDMETHODCALLTYPE Stat(STATPROPSETSTG* pstatpsstg) override;

protected:
    bool answersTo(REFIID riid) const override { return IsEqualIID(riid, IID_IPropertyStorage); }

private:
    const StgPropertySection& section() const { return stream_->sections()[section_]; }
    // The id that a PROPSPEC names; false when the set has no such name or the PROPSPEC is invalid.
    bool idOf(const PROPSPEC& which, PROPID& id) const;

    StgReference<StgStorage> storage_;
    std::shared_ptr<const StgPropertySetStream> stream_;
    size_t section_;
    STATPROPSETSTG stat_;
};

}  // namespace tovxstg

#endif
