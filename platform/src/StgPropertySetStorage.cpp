#include "StgPropertySetStorage.h"

#include "StgFormatIds.h"
#include "StgModes.h"
#include "StgPropertySetEnumerator.h"
#include "StgPropertySetStream.h"
#include "StgPropertyStorage.h"
#include "TOVXResourceBounds.h"

namespace tovxstg {

namespace {

// The section of the stream that holds the set: the first, or for the user-defined properties
// the one of their own id after it. Gives the section count when there is none.
size_t sectionOfSet(const StgPropertySetStream& stream, const FMTID& fmtid) {
    if (!IsEqualGUID(fmtid, FMTID_UserDefinedProperties)) return 0;
    for (size_t i = 1; i < stream.sections().size(); ++i) {
        if (IsEqualGUID(stream.sections()[i].fmtid, fmtid)) return i;
    }
    return stream.sections().size();
}

}  // namespace

HRESULT StgPropertySetStorage::QueryInterface(REFIID riid, void** object) try {
    if (IsEqualIID(riid, IID_IPropertySetStorage)) return StgComObject<IPropertySetStorage>::QueryInterface(riid, object);
    return storage_->QueryInterface(riid, object);
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return STG_E_INSUFFICIENTMEMORY;
}

HRESULT StgPropertySetStorage::Open(REFFMTID rfmtid, DWORD grfMode, IPropertyStorage** ppprstg) try {
    if (ppprstg == nullptr) return STG_E_INVALIDPOINTER;
    *ppprstg = nullptr;
    HRESULT status = checkChildMode(grfMode);
    if (FAILED(status)) return status;
    const uint32_t entry = storage_->findChild(streamNameOfFormatId(rfmtid), kTypeStream);
    if (entry == kNoEntry) return STG_E_FILENOTFOUND;
    std::shared_ptr<const StgPropertySetStream> stream;
    status = StgPropertySetStream::read(storage_->file(), entry, stream);
    if (FAILED(status)) return status;
    const size_t section = sectionOfSet(*stream, rfmtid);
    if (section >= stream->sections().size()) return STG_E_FILENOTFOUND;
    *ppprstg = new StgPropertyStorage(storage_.get(), stream, section, rfmtid, storage_->file()->entry(entry), grfMode);
    return S_OK;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return STG_E_INSUFFICIENTMEMORY;
}

HRESULT StgPropertySetStorage::Enum(IEnumSTATPROPSETSTG** ppenum) try {
    if (ppenum == nullptr) return STG_E_INVALIDPOINTER;
    *ppenum = nullptr;
    // The streams whose names stand for a format id and that hold a property set, in the
    // storage's order. The user-defined set shares its stream and is opened, not listed. The
    // listing stops once the streams read hold as many bytes as the file (TOVXResourceBounds.h):
    // streams whose chains share sectors could otherwise make it read the square of its size.
    std::vector<STATPROPSETSTG> sets;
    const uint64_t budget = tovxbounds::propertySetBytesIn(storage_->file()->file().size());
    uint64_t read = 0;
    for (const uint32_t entry : storage_->children()) {
        if (read >= budget) break;
        const StgDirectoryEntry& element = storage_->file()->entry(entry);
        FMTID fmtid;
        std::shared_ptr<const StgPropertySetStream> stream;
        if (element.type != kTypeStream || !formatIdOfStreamName(element.name, fmtid)) continue;
        uint64_t bytes = 0;
        const HRESULT status = StgPropertySetStream::read(storage_->file(), entry, stream, &bytes);
        read += bytes;
        if (FAILED(status)) continue;
        sets.push_back(StgPropertyStorage::statOf(*stream, 0, fmtid, element));
    }
    *ppenum = new StgPropertySetEnumerator(storage_.get(), std::move(sets), 0);
    return S_OK;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return STG_E_INSUFFICIENTMEMORY;
}

HRESULT StgPropertySetStorage::Create(REFFMTID, const CLSID*, DWORD, DWORD, IPropertyStorage** ppprstg) {
    if (ppprstg != nullptr) *ppprstg = nullptr;
    return STG_E_ACCESSDENIED;
}

HRESULT StgPropertySetStorage::Delete(REFFMTID) { return STG_E_ACCESSDENIED; }

}  // namespace tovxstg
