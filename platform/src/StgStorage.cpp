#include "StgStorage.h"

#include "StgDirectoryTree.h"
#include "StgElementEnumerator.h"
#include "StgModes.h"
#include "StgPropertySetStorage.h"
#include "StgStream.h"

#include <algorithm>

namespace tovxstg {

StgStorage::StgStorage(std::shared_ptr<const StgCompoundFile> file, uint32_t entry, DWORD mode, IStorage* parent,
                       std::vector<uint32_t> ancestors, std::u16string name)
    : file_(std::move(file)),
      entry_(entry),
      mode_(mode),
      parent_(parent),
      ancestors_(std::move(ancestors)),
      name_(std::move(name)) {}

bool StgStorage::isAncestor(uint32_t index) const {
    return index == entry_ || std::find(ancestors_.begin(), ancestors_.end(), index) != ancestors_.end();
}

std::vector<uint32_t> StgStorage::children() const {
    std::vector<uint32_t> found = StgDirectoryTree(*file_).children(entry_);
    // A storage that holds itself or one above it would make the tree endless: it is left out.
    found.erase(std::remove_if(found.begin(), found.end(), [this](uint32_t index) { return isAncestor(index); }),
                found.end());
    return found;
}

uint32_t StgStorage::findChild(const std::u16string& name, uint8_t type) const {
    const uint32_t index = StgDirectoryTree(*file_).find(entry_, name);
    if (index == kNoEntry || file_->entry(index).type != type || isAncestor(index)) return kNoEntry;
    return index;
}

HRESULT StgStorage::QueryInterface(REFIID riid, void** object) {
    if (object != nullptr && IsEqualIID(riid, IID_IPropertySetStorage)) {
        *object = static_cast<IPropertySetStorage*>(new StgPropertySetStorage(this));
        return S_OK;
    }
    return StgComObject<IStorage>::QueryInterface(riid, object);
}

HRESULT StgStorage::OpenStream(const OLECHAR* pwcsName, void* reserved1, DWORD grfMode, DWORD reserved2,
                               IStream** ppstm) {
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
}

HRESULT StgStorage::OpenStorage(const OLECHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode, SNB snbExclude,
                                DWORD reserved, IStorage** ppstg) {
    if (ppstg == nullptr) return STG_E_INVALIDPOINTER;
    *ppstg = nullptr;
    if (pstgPriority != nullptr || snbExclude != nullptr || reserved != 0) return STG_E_INVALIDPARAMETER;
    std::u16string name;
    HRESULT status = childName(pwcsName, name);
    if (SUCCEEDED(status)) status = checkChildMode(grfMode);
    if (FAILED(status)) return status;
    const uint32_t index = findChild(name, kTypeStorage);
    if (index == kNoEntry) return STG_E_FILENOTFOUND;
    std::vector<uint32_t> ancestors = ancestors_;
    ancestors.push_back(entry_);
    *ppstg = new StgStorage(file_, index, grfMode, this, std::move(ancestors), file_->entry(index).name);
    return S_OK;
}

HRESULT StgStorage::EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3, IEnumSTATSTG** ppenum) {
    if (ppenum == nullptr) return STG_E_INVALIDPOINTER;
    *ppenum = nullptr;
    if (reserved1 != 0 || reserved2 != nullptr || reserved3 != 0) return STG_E_INVALIDPARAMETER;
    *ppenum = new StgElementEnumerator(this, children(), 0);
    return S_OK;
}

HRESULT StgStorage::Stat(STATSTG* pstatstg, DWORD grfStatFlag) {
    if (pstatstg == nullptr) return STG_E_INVALIDPOINTER;
    return fillStat(*pstatstg, file_->entry(entry_), STGTY_STORAGE, name_, mode_, grfStatFlag);
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
