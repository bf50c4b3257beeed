#ifndef TOVX_STG_STORAGE_H
#define TOVX_STG_STORAGE_H

// One storage of an open compound file: the root, or a storage opened by name from another.
// Read only: every operation that would change the file answers STG_E_ACCESSDENIED.

#include "StgComObject.h"
#include "StgCompoundFile.h"

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

namespace tovxstg {

class StgStorage final : public StgComObject<IStorage> {
public:
    // `parent` (null for a root) is kept alive while this storage lives; `name` is what Stat
    // reports (a root's path).
    StgStorage(std::shared_ptr<const StgCompoundFile> file, uint32_t entry, DWORD mode, IStorage* parent,
               std::u16string name);

    const std::shared_ptr<const StgCompoundFile>& file() const { return file_; }
    // The storages and streams directly under this storage, in name order.
    std::vector<uint32_t> children() const;
    // The first child of this name (in the format's comparison: upper case, every script) and
    // type, or kNoEntry.
    uint32_t findChild(const std::u16string& name, uint8_t type) const;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;
    HRESULT STDMETHODCALLTYPE CreateStream(const OLECHAR* pwcsName, DWORD grfMode, DWORD reserved1,
                                           DWORD reserved2, IStream** ppstm) override;
    HRESULT STDMETHODCALLTYPE OpenStream(const OLECHAR* pwcsName, void* reserved1, DWORD grfMode, DWORD reserved2,
                                         IStream** ppstm) override;
    HRESULT STDMETHODCALLTYPE CreateStorage(const OLECHAR* pwcsName, DWORD grfMode, DWORD reserved1,
                                            DWORD reserved2, IStorage** ppstg) override;
    HRESULT STDMETHODCALLTYPE OpenStorage(const OLECHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode,
                                          SNB snbExclude, DWORD reserved, IStorage** ppstg) override;
    HRESULT STDMETHODCALLTYPE CopyTo(DWORD ciidExclude, const IID* rgiidExclude, SNB snbExclude,
                                     IStorage* pstgDest) override;
    HRESULT STDMETHODCALLTYPE MoveElementTo(const OLECHAR* pwcsName, IStorage* pstgDest, const OLECHAR* pwcsNewName,
                                            DWORD grfFlags) override;
    HRESULT STDMETHODCALLTYPE Commit(DWORD grfCommitFlags) override;
    HRESULT STDMETHODCALLTYPE Revert() override;
    HRESULT STDMETHODCALLTYPE EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3,
                                           IEnumSTATSTG** ppenum) override;
    HRESULT STDMETHODCALLTYPE DestroyElement(const OLECHAR* pwcsName) override;
    HRESULT STDMETHODCALLTYPE RenameElement(const OLECHAR* pwcsOldName, const OLECHAR* pwcsNewName) override;
    HRESULT STDMETHODCALLTYPE SetElementTimes(const OLECHAR* pwcsName, const FILETIME* pctime, const FILETIME* patime,
                                              const FILETIME* pmtime) override;
    HRESULT STDMETHODCALLTYPE SetClass(REFCLSID clsid) override;
    HRESULT STDMETHODCALLTYPE SetStateBits(DWORD grfStateBits, DWORD grfMask) override;
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* pstatstg, DWORD grfStatFlag) override;

protected:
    bool answersTo(REFIID riid) const override { return IsEqualIID(riid, IID_IStorage); }

private:
    // A child's type and upper-cased name, with its directory index.
    struct NameKey {
        uint8_t type;
        std::u16string upperName;
        uint32_t index;
    };

    std::shared_ptr<const StgCompoundFile> file_;
    uint32_t entry_;
    DWORD mode_;
    StgReference<IStorage> parent_;
    std::u16string name_;
    // The children by type and name, sorted once when lookups become many, so that looking up
    // every child of a storage costs n log n however the directory's tree is shaped.
    static constexpr unsigned kLookupsBeforeIndex = 8;
    mutable std::atomic<unsigned> lookups_{0};
    mutable std::once_flag namesSorted_;
    mutable std::vector<NameKey> names_;
};

}  // namespace tovxstg

#endif
