#ifndef TOVX_TEST_HOST_DOUBLES_H
#define TOVX_TEST_HOST_DOUBLES_H

// Small doubles of the platform's storage and property-set interfaces, for the cases that
// only they can show: a walk failing part way, a lookup or a Stat failing, and a count of
// every reference and every text handed out. Each double is owned by its test; Release
// only counts. Texts handed out are entered in the Ledger, which the test build's wraps
// of CoTaskMemFree and PropVariantClear fill in (see HostLedger.cpp).

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "TOVXStorageApi.h"

namespace hosttest {

// What the library gave back of what the doubles handed out.
class Ledger {
public:
    static Ledger& instance();
    void reset();

    LPOLESTR name(const std::u16string& text);   // a name text, to be freed with CoTaskMemFree
    void* value(size_t bytes);                   // value memory, to be given back with PropVariantClear
    void onFree(void* block);
    void onClear(const PROPVARIANT& value);

    // True when every name and every value handed out since reset went back exactly once.
    bool allBackOnce() const;
    int namesHandedOut() const { return namesOut_; }
    int valuesHandedOut() const { return valuesOut_; }

private:
    static void handOut(std::map<void*, int>& live, void* block, bool& fault);
    static bool allOnce(const std::map<void*, int>& live);
    std::map<void*, int> names_;   // name text -> frees seen
    std::map<void*, int> values_;  // value memory -> clears seen
    int namesOut_ = 0;
    int valuesOut_ = 0;
    bool fault_ = false;
};

template <typename Interface>
class Counted : public Interface {
public:
    virtual ~Counted() = default;  // the platform's interfaces have none: doubles are deleted as Counted
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override {
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references); }
    ULONG STDMETHODCALLTYPE Release() override {
        ++releases;
        return static_cast<ULONG>(--references);
    }
    Interface* handOut() {
        ++references;
        return this;
    }
    int references = 0;  // handed out and not given back
    int releases = 0;
};

struct FakeChild {
    std::u16string name;
    DWORD type;
};

class FakeElements : public Counted<IEnumSTATSTG> {
public:
    FakeElements(const std::vector<FakeChild>& children, size_t failAt) : children_(children), failAt_(failAt) {}
    HRESULT STDMETHODCALLTYPE Next(ULONG count, STATSTG* records, ULONG* fetched) override;
    HRESULT STDMETHODCALLTYPE Skip(ULONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reset() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IEnumSTATSTG**) override { return E_NOTIMPL; }

private:
    std::vector<FakeChild> children_;
    size_t failAt_;
    size_t next_ = 0;
};

class FakeStream : public Counted<IStream> {
public:
    explicit FakeStream(std::vector<uint8_t> bytes) : bytes(std::move(bytes)) {}
    HRESULT STDMETHODCALLTYPE Read(void* buffer, ULONG count, ULONG* read) override;
    HRESULT STDMETHODCALLTYPE Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* status, DWORD flag) override;
    HRESULT STDMETHODCALLTYPE Clone(IStream**) override { return E_NOTIMPL; }

    std::vector<uint8_t> bytes;
    uint64_t position = 0;
    uint64_t reportedSize = UINT64_MAX;  // what Stat gives; the byte count when left at UINT64_MAX
    int failReadAt = -1;                 // the Read call (from 0) that fails, -1 for none
    bool failStat = false;
    bool failSeek = false;
    int reads = 0;
    int stats = 0;
    int seeks = 0;
};

class FakePropertySets;

class FakeStorage : public Counted<IStorage> {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override;
    HRESULT STDMETHODCALLTYPE CreateStream(const OLECHAR*, DWORD, DWORD, DWORD, IStream**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE OpenStream(const OLECHAR* name, void*, DWORD mode, DWORD, IStream** stream) override;
    HRESULT STDMETHODCALLTYPE CreateStorage(const OLECHAR*, DWORD, DWORD, DWORD, IStorage**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE OpenStorage(const OLECHAR* name, IStorage*, DWORD mode, SNB, DWORD,
                                          IStorage** storage) override;
    HRESULT STDMETHODCALLTYPE CopyTo(DWORD, const IID*, SNB, IStorage*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE MoveElementTo(const OLECHAR*, IStorage*, const OLECHAR*, DWORD) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EnumElements(DWORD, void*, DWORD, IEnumSTATSTG** elements) override;
    HRESULT STDMETHODCALLTYPE DestroyElement(const OLECHAR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RenameElement(const OLECHAR*, const OLECHAR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetElementTimes(const OLECHAR*, const FILETIME*, const FILETIME*,
                                              const FILETIME*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE SetClass(REFCLSID) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetStateBits(DWORD, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }

    std::vector<FakeChild> children;
    HRESULT enumResult = S_OK;       // EnumElements' status
    bool enumHandsOutNothing = false;
    size_t nextFailsAt = SIZE_MAX;   // the record at which Next fails
    std::map<std::u16string, FakeStream*> streams;
    std::map<std::u16string, FakeStorage*> storages;
    FakePropertySets* propertySets = nullptr;  // what QueryInterface gives, or E_NOINTERFACE
    std::vector<FakeElements*> enumerators;    // every enumerator handed out, owned here
    std::u16string lastName;
    DWORD lastMode = 0;
    ~FakeStorage() override;
};

// One property of a FakeSet: its value is made fresh for each read.
struct FakeProperty {
    PROPID id;
    std::u16string name;  // empty: the property has no name
    VARTYPE vt;
    int64_t number;       // the value of a scalar; for VT_LPWSTR and VT_LPSTR the text below
    std::u16string text;
};

class FakeSet : public Counted<IPropertyStorage> {
public:
    HRESULT STDMETHODCALLTYPE ReadMultiple(ULONG count, const PROPSPEC whichOnes[], PROPVARIANT values[]) override;
    HRESULT STDMETHODCALLTYPE WriteMultiple(ULONG, const PROPSPEC[], const PROPVARIANT[], PROPID) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DeleteMultiple(ULONG, const PROPSPEC[]) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE ReadPropertyNames(ULONG count, const PROPID ids[], LPOLESTR names[]) override;
    HRESULT STDMETHODCALLTYPE WritePropertyNames(ULONG, const PROPID[], const LPOLESTR[]) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DeletePropertyNames(ULONG, const PROPID[]) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Enum(IEnumSTATPROPSTG** records) override;
    HRESULT STDMETHODCALLTYPE SetTimes(const FILETIME*, const FILETIME*, const FILETIME*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetClass(REFCLSID) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Stat(STATPROPSETSTG*) override { return E_NOTIMPL; }
    ~FakeSet() override;

    FMTID fmtid{};
    std::vector<FakeProperty> properties;
    bool failReads = false;
    bool failEnum = false;
    size_t nextFailsAt = SIZE_MAX;
    std::vector<Counted<IEnumSTATPROPSTG>*> enumerators;
};

class FakePropertySets : public Counted<IPropertySetStorage> {
public:
    HRESULT STDMETHODCALLTYPE Create(REFFMTID, const CLSID*, DWORD, DWORD, IPropertyStorage**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Open(REFFMTID id, DWORD mode, IPropertyStorage** set) override;
    HRESULT STDMETHODCALLTYPE Delete(REFFMTID) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Enum(IEnumSTATPROPSETSTG** records) override;
    ~FakePropertySets() override;

    std::vector<FakeSet*> sets;           // in the enumerator's order; not owned
    std::vector<FMTID> refusedToOpen;     // ids whose Open fails
    bool failEnum = false;
    std::vector<FMTID> opened;            // every id asked for, in order
    DWORD lastMode = 0;
    std::vector<Counted<IEnumSTATPROPSETSTG>*> enumerators;
};

// A format id with `first` as Data1 and zeros elsewhere.
FMTID fakeId(uint8_t first);
// True when every interface handed out by these doubles was given back.
bool allReleased(const FakeStorage& storage);

}  // namespace hosttest

#endif
