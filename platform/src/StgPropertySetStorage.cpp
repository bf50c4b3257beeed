#include "StgPropertySetStorage.h"

#include "StgFormatIds.h"
#include "StgModes.h"
#include "StgPropertySetEnumerator.h"
#include "StgPropertySetStream.h"
#include "StgPropertyStorage.h"

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

HRESULT StgPropertySetStorage::QueryInterface(REFIID riid, void** object) {
    if (IsEqualIID(riid, IID_IPropertySetStorage)) return StgComObject<IPropertySetStorage>::QueryInterface(riid, object);
    return storage_->QueryInterface(riid, object);
}

HRESULT StgPropertySetStorage::Open(REFFMTID rfmtid, DWORD grfMode, IPropertyStorage** ppprstg) {
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
}

HRESULT StgPropertySetStorage::Enum(IEnumSTATPROPSETSTG** ppenum) {
    if (ppenum == nullptr) return STG_E_INVALIDPOINTER;
    *ppenum = nullptr;
    // The streams whose names stand for a format id and that hold a property set, in the
    // storage's order. The user-defined set shares its stream and is opened, not listed.
    std::vector<STATPROPSETSTG> sets;
    for (const uint32_t entry : storage_->children()) {
        const StgDirectoryEntry& element = storage_->file()->entry(entry);
        FMTID fmtid;
        std::shared_ptr<const StgPropertySetStream> stream;
        if (element.type != kTypeStream || !formatIdOfStreamName(element.name, fmtid) ||
            FAILED(StgPropertySetStream::read(storage_->file(), entry, stream))) {
            continue;
        }
        sets.push_back(StgPropertyStorage::statOf(*stream, 0, fmtid, element));
    }
    *ppenum = new StgPropertySetEnumerator(storage_.get(), std::move(sets), 0);
    return S_OK;
}

HRESULT StgPropertySetStorage::Create(REFFMTID, const CLSID*, DWORD, DWORD, IPropertyStorage** ppprstg) {
    if (ppprstg != nullptr) *ppprstg = nullptr;
    return STG_E_ACCESSDENIED;
}

HRESULT StgPropertySetStorage::Delete(REFFMTID) { return STG_E_ACCESSDENIED; }

}  // namespace tovxstg
