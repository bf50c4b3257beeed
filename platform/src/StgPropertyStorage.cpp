#include "StgPropertyStorage.h"

#include "StgCodePage.h"
#include "StgPropertyEnumerator.h"
#include "StgText.h"

#include <cstring>

namespace tovxstg {

StgPropertyStorage::StgPropertyStorage(StgStorage* storage, std::shared_ptr<const StgPropertySetStream> stream,
                                       size_t section, const FMTID& fmtid, const StgDirectoryEntry& streamEntry,
                                       DWORD)
    : storage_(storage),
      stream_(std::move(stream)),
      section_(section),
      stat_(statOf(*stream_, section, fmtid, streamEntry)) {}

STATPROPSETSTG StgPropertyStorage::statOf(const StgPropertySetStream& stream, size_t section, const FMTID& fmtid,
                                          const StgDirectoryEntry& streamEntry) {
    STATPROPSETSTG stat;
    std::memset(&stat, 0, sizeof stat);
    stat.fmtid = fmtid;
    stat.clsid = stream.clsid();
    stat.grfFlags = stream.sections()[section].codePage == kCodePageUnicode ? PROPSETFLAG_DEFAULT : PROPSETFLAG_ANSI;
    stat.mtime = streamEntry.modified;
    stat.ctime = streamEntry.created;
    stat.dwOSVersion = stream.osVersion();
    return stat;
}

bool StgPropertyStorage::idOf(const PROPSPEC& which, PROPID& id) const {
    if (which.ulKind == PRSPEC_PROPID) {
        id = which.propid;
        return true;
    }
    const std::u16string wanted = fromCallerText(which.lpwstr, SIZE_MAX);
    for (const auto& name : section().names) {
        if (compareNames(name.second, wanted) == 0) {  // names match whatever their case
            id = name.first;
            return true;
        }
    }
    return false;
}

HRESULT StgPropertyStorage::ReadMultiple(ULONG count, const PROPSPEC properties[], PROPVARIANT rgpropvar[]) {
    if (count == 0) return S_FALSE;
    if (properties == nullptr || rgpropvar == nullptr) return STG_E_INVALIDPOINTER;
    for (ULONG i = 0; i < count; ++i) {
        const bool named = properties[i].ulKind == PRSPEC_LPWSTR;
        if ((!named && properties[i].ulKind != PRSPEC_PROPID) || (named && properties[i].lpwstr == nullptr)) {
            return STG_E_INVALIDPARAMETER;
        }
    }
    // Any property that is not there reads as VT_EMPTY and makes the answer S_FALSE.
    bool allFound = true;
    for (ULONG i = 0; i < count; ++i) std::memset(&rgpropvar[i], 0, sizeof rgpropvar[i]);
    try {
        for (ULONG i = 0; i < count; ++i) {
            PROPID id = 0;
            if (!idOf(properties[i], id) || !stream_->value(section(), id, rgpropvar[i])) allFound = false;
        }
    } catch (...) {  // memory ran out (TOVXResourceBounds.h): the values read so far go back
        for (ULONG i = 0; i < count; ++i) PropVariantClear(&rgpropvar[i]);
        return STG_E_INSUFFICIENTMEMORY;
    }
    return allFound ? S_OK : S_FALSE;
}

HRESULT StgPropertyStorage::ReadPropertyNames(ULONG cpropid, const PROPID rgpropid[], LPOLESTR rglpwstrName[]) {
    if (cpropid == 0) return S_FALSE;
    if (rgpropid == nullptr || rglpwstrName == nullptr) return STG_E_INVALIDPOINTER;
    bool anyFound = false;
    for (ULONG i = 0; i < cpropid; ++i) {
        rglpwstrName[i] = nullptr;
        const std::u16string* name = section().name(rgpropid[i]);
        if (name == nullptr) continue;
        rglpwstrName[i] = callerCopy(*name);
        if (rglpwstrName[i] == nullptr) {
            for (ULONG j = 0; j < i; ++j) CoTaskMemFree(rglpwstrName[j]);
            return E_OUTOFMEMORY;
        }
        anyFound = true;
    }
    return anyFound ? S_OK : S_FALSE;
}

HRESULT StgPropertyStorage::Enum(IEnumSTATPROPSTG** ppenum) try {
    if (ppenum == nullptr) return STG_E_INVALIDPOINTER;
    std::vector<StgPropertyEnumerator::Record> records;
    for (const StgPropertySection::Property& property : section().properties) {
        StgPropertyEnumerator::Record record{property.id, property.type, false, {}};
        if (const std::u16string* name = section().name(property.id)) {
            record.named = true;
            record.name = *name;
        }
        records.push_back(std::move(record));
    }
    *ppenum = new StgPropertyEnumerator(this, std::move(records), 0);
    return S_OK;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return STG_E_INSUFFICIENTMEMORY;
}

HRESULT StgPropertyStorage::Stat(STATPROPSETSTG* pstatpsstg) {
    if (pstatpsstg == nullptr) return STG_E_INVALIDPOINTER;
    *pstatpsstg = stat_;
    return S_OK;
}

// Nothing is ever pending in a read-only set.
HRESULT StgPropertyStorage::Commit(DWORD) { return S_OK; }
HRESULT StgPropertyStorage::Revert() { return S_OK; }

HRESULT StgPropertyStorage::WriteMultiple(ULONG, const PROPSPEC[], const PROPVARIANT[], PROPID) {
    return STG_E_ACCESSDENIED;
}
HRESULT StgPropertyStorage::DeleteMultiple(ULONG, const PROPSPEC[]) { return STG_E_ACCESSDENIED; }
HRESULT StgPropertyStorage::WritePropertyNames(ULONG, const PROPID[], const LPOLESTR[]) { return STG_E_ACCESSDENIED; }
HRESULT StgPropertyStorage::DeletePropertyNames(ULONG, const PROPID[]) { return STG_E_ACCESSDENIED; }
HRESULT StgPropertyStorage::SetTimes(const FILETIME*, const FILETIME*, const FILETIME*) { return STG_E_ACCESSDENIED; }
HRESULT StgPropertyStorage::SetClass(REFCLSID) { return STG_E_ACCESSDENIED; }

}  // namespace tovxstg
