#include "HostDoubles.h"

#include <algorithm>
#include <cstring>

namespace hosttest {

namespace {

bool sameId(const FMTID& a, const FMTID& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

template <typename Record, typename Interface>
class FakeRecords : public Counted<Interface> {
public:
    FakeRecords(std::vector<Record> records, size_t failAt) : records_(std::move(records)), failAt_(failAt) {}
    HRESULT STDMETHODCALLTYPE Next(ULONG count, Record* out, ULONG* fetched) override {
        if (count != 1 || fetched != nullptr) return E_INVALIDARG;  // the library asks for one at a time
        if (next_ == failAt_) return E_FAIL;
        if (next_ >= records_.size()) return S_FALSE;
        *out = records_[next_++];
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reset() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(Interface**) override { return E_NOTIMPL; }

private:
    std::vector<Record> records_;
    size_t failAt_;
    size_t next_ = 0;
};

// Property records hand out a fresh name text for each one delivered.
class FakePropertyRecords : public Counted<IEnumSTATPROPSTG> {
public:
    FakePropertyRecords(const std::vector<FakeProperty>& properties, size_t failAt)
        : properties_(properties), failAt_(failAt) {}
    HRESULT STDMETHODCALLTYPE Next(ULONG count, STATPROPSTG* out, ULONG* fetched) override {
        if (count != 1 || fetched != nullptr) return E_INVALIDARG;
        if (next_ == failAt_) return E_FAIL;
        if (next_ >= properties_.size()) return S_FALSE;
        const FakeProperty& property = properties_[next_++];
        out->propid = property.id;
        out->vt = property.vt;
        out->lpwstrName = property.name.empty() ? nullptr : Ledger::instance().name(property.name);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reset() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IEnumSTATPROPSTG**) override { return E_NOTIMPL; }

private:
    std::vector<FakeProperty> properties_;
    size_t failAt_;
    size_t next_ = 0;
};

void fillValue(const FakeProperty& property, PROPVARIANT& value) {
    std::memset(&value, 0, sizeof value);
    value.vt = property.vt;
    if (property.vt == VT_LPWSTR) {
        auto* text = static_cast<WCHAR*>(Ledger::instance().value((property.text.size() + 1) * 2));
        std::memcpy(text, property.text.c_str(), (property.text.size() + 1) * 2);
        value.pwszVal = text;
    } else if (property.vt == VT_LPSTR) {
        auto* text = static_cast<char*>(Ledger::instance().value(property.text.size() + 1));
        for (size_t i = 0; i <= property.text.size(); ++i) text[i] = static_cast<char>(property.text.c_str()[i]);
        value.pszVal = text;
    } else if (property.vt == (VT_VECTOR | VT_I4)) {
        value.cal.cElems = 1;
        value.cal.pElems = static_cast<LONG*>(Ledger::instance().value(sizeof(LONG)));
        value.cal.pElems[0] = static_cast<LONG>(property.number);
    } else {
        value.hVal.QuadPart = property.number;  // every scalar member starts at the same place
    }
}

}  // namespace

Ledger& Ledger::instance() {
    static Ledger ledger;
    return ledger;
}

void Ledger::reset() { *this = Ledger(); }

void Ledger::handOut(std::map<void*, int>& live, void* block, bool& fault) {
    // A block handed out again was freed in between; it must have been freed once.
    auto found = live.find(block);
    if (found != live.end() && found->second != 1) fault = true;
    live[block] = 0;
}

LPOLESTR Ledger::name(const std::u16string& text) {
    auto* units = static_cast<LPOLESTR>(CoTaskMemAlloc((text.size() + 1) * sizeof(WCHAR)));
    std::memcpy(units, text.c_str(), (text.size() + 1) * sizeof(WCHAR));
    handOut(names_, units, fault_);
    ++namesOut_;
    return units;
}

void* Ledger::value(size_t bytes) {
    void* block = CoTaskMemAlloc(bytes);
    handOut(values_, block, fault_);
    ++valuesOut_;
    return block;
}

void Ledger::onFree(void* block) {
    auto found = names_.find(block);
    if (found != names_.end()) ++found->second;
}

void Ledger::onClear(const PROPVARIANT& value) {
    void* held = value.vt == VT_LPWSTR ? static_cast<void*>(value.pwszVal)
                 : value.vt == VT_LPSTR ? static_cast<void*>(value.pszVal)
                 : value.vt == (VT_VECTOR | VT_I4) ? static_cast<void*>(value.cal.pElems)
                                                    : nullptr;
    auto found = values_.find(held);
    if (found != values_.end()) ++found->second;
}

bool Ledger::allOnce(const std::map<void*, int>& live) {
    return std::all_of(live.begin(), live.end(), [](const std::pair<void* const, int>& entry) { return entry.second == 1; });
}

bool Ledger::allBackOnce() const { return !fault_ && allOnce(names_) && allOnce(values_); }

HRESULT FakeElements::Next(ULONG count, STATSTG* records, ULONG* fetched) {
    if (count != 1 || fetched != nullptr) return E_INVALIDARG;
    if (next_ == failAt_) return E_FAIL;
    if (next_ >= children_.size()) return S_FALSE;
    std::memset(records, 0, sizeof *records);
    records->pwcsName = Ledger::instance().name(children_[next_].name);
    records->type = children_[next_].type;
    ++next_;
    return S_OK;
}

HRESULT FakeStream::Read(void* buffer, ULONG count, ULONG* read) {
    if (reads++ == failReadAt) return STG_E_READFAULT;
    const uint64_t available = position < bytes.size() ? bytes.size() - position : 0;
    const ULONG moved = static_cast<ULONG>(std::min<uint64_t>(count, available));
    if (moved > 0) std::memcpy(buffer, bytes.data() + position, moved);
    position += moved;
    *read = moved;
    return S_OK;
}

HRESULT FakeStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* newPosition) {
    ++seeks;
    if (failSeek) return STG_E_INVALIDFUNCTION;
    const int64_t base = origin == STREAM_SEEK_SET ? 0
                         : origin == STREAM_SEEK_CUR ? static_cast<int64_t>(position)
                                                     : static_cast<int64_t>(bytes.size());
    if (origin > STREAM_SEEK_END || base + move.QuadPart < 0) return STG_E_INVALIDFUNCTION;
    position = static_cast<uint64_t>(base + move.QuadPart);
    if (newPosition != nullptr) newPosition->QuadPart = position;
    return S_OK;
}

HRESULT FakeStream::Stat(STATSTG* status, DWORD flag) {
    ++stats;
    if (failStat) return STG_E_ACCESSDENIED;
    std::memset(status, 0, sizeof *status);
    status->type = STGTY_STREAM;
    status->cbSize.QuadPart = reportedSize != UINT64_MAX ? reportedSize : bytes.size();
    if (flag == STATFLAG_DEFAULT) status->pwcsName = Ledger::instance().name(u"stream");
    return S_OK;
}

HRESULT FakeStorage::QueryInterface(REFIID id, void** out) {
    *out = nullptr;
    if (propertySets == nullptr || !IsEqualIID(id, IID_IPropertySetStorage)) return E_NOINTERFACE;
    *out = propertySets->handOut();
    return S_OK;
}

HRESULT FakeStorage::OpenStream(const OLECHAR* name, void*, DWORD mode, DWORD, IStream** stream) {
    lastName = reinterpret_cast<const char16_t*>(name);
    lastMode = mode;
    auto found = streams.find(lastName);
    if (found == streams.end()) return STG_E_FILENOTFOUND;
    *stream = found->second->handOut();
    return S_OK;
}

HRESULT FakeStorage::OpenStorage(const OLECHAR* name, IStorage*, DWORD mode, SNB, DWORD, IStorage** storage) {
    lastName = reinterpret_cast<const char16_t*>(name);
    lastMode = mode;
    auto found = storages.find(lastName);
    if (found == storages.end()) return STG_E_FILENOTFOUND;
    *storage = found->second->handOut();
    return S_OK;
}

HRESULT FakeStorage::EnumElements(DWORD, void*, DWORD, IEnumSTATSTG** elements) {
    if (FAILED(enumResult) || enumHandsOutNothing) return enumResult;
    enumerators.push_back(new FakeElements(children, nextFailsAt));
    *elements = enumerators.back()->handOut();
    return enumResult;
}

FakeStorage::~FakeStorage() {
    for (FakeElements* elements : enumerators) delete elements;
}

HRESULT FakeSet::ReadMultiple(ULONG count, const PROPSPEC whichOnes[], PROPVARIANT values[]) {
    if (count != 1) return E_INVALIDARG;
    if (failReads) return STG_E_ACCESSDENIED;
    for (const FakeProperty& property : properties) {
        const bool byId = whichOnes[0].ulKind == PRSPEC_PROPID && whichOnes[0].propid == property.id;
        const bool byName = whichOnes[0].ulKind == PRSPEC_LPWSTR && !property.name.empty() &&
                            property.name == reinterpret_cast<const char16_t*>(whichOnes[0].lpwstr);
        if (!byId && !byName) continue;
        fillValue(property, values[0]);
        return S_OK;
    }
    return S_FALSE;
}

HRESULT FakeSet::ReadPropertyNames(ULONG count, const PROPID ids[], LPOLESTR names[]) {
    if (count != 1) return E_INVALIDARG;
    if (failReads) return STG_E_ACCESSDENIED;
    names[0] = nullptr;
    for (const FakeProperty& property : properties) {
        if (property.id != ids[0] || property.name.empty()) continue;
        names[0] = Ledger::instance().name(property.name);
        return S_OK;
    }
    return S_FALSE;
}

HRESULT FakeSet::Enum(IEnumSTATPROPSTG** records) {
    if (failEnum) return STG_E_ACCESSDENIED;
    enumerators.push_back(new FakePropertyRecords(properties, nextFailsAt));
    *records = enumerators.back()->handOut();
    return S_OK;
}

FakeSet::~FakeSet() {
    for (auto* records : enumerators) delete records;
}

HRESULT FakePropertySets::Open(REFFMTID id, DWORD mode, IPropertyStorage** set) {
    opened.push_back(id);
    lastMode = mode;
    for (const FMTID& refused : refusedToOpen)
        if (sameId(refused, id)) return STG_E_ACCESSDENIED;
    for (FakeSet* candidate : sets) {
        if (!sameId(candidate->fmtid, id)) continue;
        *set = candidate->handOut();
        return S_OK;
    }
    return STG_E_FILENOTFOUND;
}

HRESULT FakePropertySets::Enum(IEnumSTATPROPSETSTG** records) {
    if (failEnum) return STG_E_ACCESSDENIED;
    std::vector<STATPROPSETSTG> list;
    for (const FakeSet* set : sets) {
        STATPROPSETSTG record;
        std::memset(&record, 0, sizeof record);
        record.fmtid = set->fmtid;
        list.push_back(record);
    }
    enumerators.push_back(new FakeRecords<STATPROPSETSTG, IEnumSTATPROPSETSTG>(list, SIZE_MAX));
    *records = enumerators.back()->handOut();
    return S_OK;
}

FakePropertySets::~FakePropertySets() {
    for (auto* records : enumerators) delete records;
}

FMTID fakeId(uint8_t first) {
    FMTID id;
    std::memset(&id, 0, sizeof id);
    id.Data1 = first;
    return id;
}

bool allReleased(const FakeStorage& storage) {
    if (storage.references != 0) return false;
    return std::all_of(storage.enumerators.begin(), storage.enumerators.end(),
                       [](const FakeElements* elements) { return elements->references == 0; });
}

}  // namespace hosttest

// The test program is linked with --wrap for these two: every call from the library comes
// here first, is entered in the ledger, and goes on to the platform.
extern "C" void __real__Z13CoTaskMemFreePv(void* block);
extern "C" HRESULT __real__Z16PropVariantClearP14tagPROPVARIANT(PROPVARIANT* value);

extern "C" void __wrap__Z13CoTaskMemFreePv(void* block) {
    hosttest::Ledger::instance().onFree(block);
    __real__Z13CoTaskMemFreePv(block);
}

extern "C" HRESULT __wrap__Z16PropVariantClearP14tagPROPVARIANT(PROPVARIANT* value) {
    if (value != nullptr) hosttest::Ledger::instance().onClear(*value);
    return __real__Z16PropVariantClearP14tagPROPVARIANT(value);
}
