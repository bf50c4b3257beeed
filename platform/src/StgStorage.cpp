#include "StgStorage.h"

#include "StgElementEnumerator.h"
#include "StgModes.h"
#include "StgPropertySetStorage.h"
#include "StgStream.h"
#include "StgText.h"

#include <algorithm>
#include <tuple>

namespace tovxstg {

namespace {

std::u16string upperCased(const std::u16string& name) {
    std::u16string upper(name);
    for (char16_t& unit : upper) unit = upperCaseUnit(unit);
    return upper;
}

}  // namespace

StgStorage::StgStorage(std::shared_ptr<const StgCompoundFile> file, uint32_t entry, DWORD mode, IStorage* parent,
                       std::u16string name)
    : file_(std::move(file)), entry_(entry), mode_(mode), parent_(parent), name_(std::move(name)) {}

std::vector<uint32_t> StgStorage::children() const { return file_->childrenOf(entry_); }

// Two names are the same when compareNames finds them equal: of one length, and equal once
// upper-cased. Of several children of one name and type, the first in name order is found.
// The first few lookups pass over the children; from then on a sorted index serves them.
uint32_t StgStorage::findChild(const std::u16string& name, uint8_t type) const {
    if (lookups_.fetch_add(1) < kLookupsBeforeIndex) {
        for (const uint32_t index : file_->childrenOf(entry_)) {
            const StgDirectoryEntry& child = file_->entry(index);
            if (child.type == type && compareNames(child.name, name) == 0) return index;
        }
        return kNoEntry;
    }
    std::call_once(namesSorted_, [this] {
        std::vector<NameKey> keys;
        for (const uint32_t index : file_->childrenOf(entry_)) {
            const StgDirectoryEntry& child = file_->entry(index);
            keys.push_back({child.type, upperCased(child.name), index});
        }
        std::stable_sort(keys.begin(), keys.end(), [](const NameKey& a, const NameKey& b) {
            return std::tie(a.type, a.upperName) < std::tie(b.type, b.upperName);
        });
        names_ = std::move(keys);
    });
    const NameKey wanted{type, upperCased(name), 0};
    const auto found = std::lower_bound(names_.begin(), names_.end(), wanted, [](const NameKey& a, const NameKey& b) {
        return std::tie(a.type, a.upperName) < std::tie(b.type, b.upperName);
    });
    if (found == names_.end() || found->type != type || found->upperName != wanted.upperName) return kNoEntry;
    return found->index;
}

HRESULT StgStorage::QueryInterface(REFIID riid, void** object) try {
    if (object != nullptr && IsEqualIID(riid, IID_IPropertySetStorage)) {
        *object = static_cast<IPropertySetStorage*>(new StgPropertySetStorage(this));
        return S_OK;
    }
    return StgComObject<IStorage>::QueryInterface(riid, object);
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return STG_E_INSUFFICIENTMEMORY;
}

HRESULT StgStorage::OpenStream(const OLECHAR* pwcsName, void* reserved1, DWORD grfMode, DWORD reserved2,
                               IStream** ppstm) try {
    if (ppstm == nullptr) return STG_E_INVALIDPOINTER;
    *ppstm = nullptr;
    if (reserved1 != nullptr || reserved2 != 0) return STG_E_INVALIDPARAMETER;
    std::u16string name;
    HRESULT status = childName(pwcsName, name);
    if (SUCCEEDED(status)) status = checkChildMode(grfMode);
    if (FAILED(status)) return status;
    const uint32_t index = findChild(name, kTypeStream);
    if (index == kNoEntry) return STG_E_FILENOTFOUND;
    *ppstm = new StgStream(file_, index, grfMode, this);
    return S_OK;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return STG_E_INSUFFICIENTMEMORY;
}

HRESULT StgStorage::OpenStorage(const OLECHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode, SNB snbExclude,
                                DWORD reserved, IStorage** ppstg) try {
    if (ppstg == nullptr) return STG_E_INVALIDPOINTER;
    *ppstg = nullptr;
    if (pstgPriority != nullptr || snbExclude != nullptr || reserved != 0) return STG_E_INVALIDPARAMETER;
    std::u16string name;
    HRESULT status = childName(pwcsName, name);
    if (SUCCEEDED(status)) status = checkChildMode(grfMode);
    if (FAILED(status)) return status;
    const uint32_t index = findChild(name, kTypeStorage);
    if (index == kNoEntry) return STG_E_FILENOTFOUND;
    *ppstg = new StgStorage(file_, index, grfMode, this, file_->entry(index).name);
    return S_OK;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return STG_E_INSUFFICIENTMEMORY;
}

HRESULT StgStorage::EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3, IEnumSTATSTG** ppenum) try {
    if (ppenum == nullptr) return STG_E_INVALIDPOINTER;
    *ppenum = nullptr;
    if (reserved1 != 0 || reserved2 != nullptr || reserved3 != 0) return STG_E_INVALIDPARAMETER;
    *ppenum = new StgElementEnumerator(this, children(), 0);
    return S_OK;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return STG_E_INSUFFICIENTMEMORY;
}

HRESULT StgStorage::Stat(STATSTG* pstatstg, DWORD grfStatFlag) try {
    if (pstatstg == nullptr) return STG_E_INVALIDPOINTER;
    return fillStat(*pstatstg, file_->entry(entry_), STGTY_STORAGE, name_, mode_, grfStatFlag);
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return STG_E_INSUFFICIENTMEMORY;
}

// Nothing is ever pending in a read-only storage: committing and reverting have nothing to do.
HRESULT StgStorage::Commit(DWORD) { return S_OK; }
HRESULT StgStorage::Revert() { return S_OK; }

HRESULT StgStorage::CreateStream(const OLECHAR*, DWORD, DWORD, DWORD, IStream** ppstm) {
    if (ppstm != nullptr) *ppstm = nullptr;
    return STG_E_ACCESSDENIED;
}
HRESULT StgStorage::CreateStorage(const OLECHAR*, DWORD, DWORD, DWORD, IStorage** ppstg) {
    if (ppstg != nullptr) *ppstg = nullptr;
    return STG_E_ACCESSDENIED;
}
// Copying out of this storage would write to another; this service writes nothing.
HRESULT StgStorage::CopyTo(DWORD, const IID*, SNB, IStorage*) { return STG_E_ACCESSDENIED; }
HRESULT StgStorage::MoveElementTo(const OLECHAR*, IStorage*, const OLECHAR*, DWORD) { return STG_E_ACCESSDENIED; }
HRESULT StgStorage::DestroyElement(const OLECHAR*) { return STG_E_ACCESSDENIED; }
HRESULT StgStorage::RenameElement(const OLECHAR*, const OLECHAR*) { return STG_E_ACCESSDENIED; }
HRESULT StgStorage::SetElementTimes(const OLECHAR*, const FILETIME*, const FILETIME*, const FILETIME*) {
    return STG_E_ACCESSDENIED;
}
HRESULT StgStorage::SetClass(REFCLSID) { return STG_E_ACCESSDENIED; }
HRESULT StgStorage::SetStateBits(DWORD, DWORD) { return STG_E_ACCESSDENIED; }

}  // namespace tovxstg
