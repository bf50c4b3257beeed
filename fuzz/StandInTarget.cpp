// The platform stand-in end to end through its COM interfaces, as the host stack and any
// other caller of the service would use it, then the host stack's property utilities.
#include "FuzzTargets.h"

#include <vector>

#include "TOVXPropertyContainerHandle.h"
#include "TOVXStorageApi.h"
#include "TOVXStructuredStorageUtils.h"

namespace tovxfuzz {

namespace {

constexpr DWORD kChildMode = STGM_READ | STGM_SHARE_EXCLUSIVE;

template <class Interface>
struct Held {
    Interface* object = nullptr;
    Held() = default;
    explicit Held(Interface* given) : object(given) {}
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    Held(Held&& other) noexcept : object(other.object) { other.object = nullptr; }
    ~Held() {
        if (object != nullptr) object->Release();
    }
};

void readStream(IStream* stream) {
    std::vector<uint8_t> chunk(65536);
    ULONG got = 0;
    while (stream->Read(chunk.data(), static_cast<ULONG>(chunk.size()), &got) == S_OK && got > 0) {
    }
    STATSTG stat;
    if (stream->Stat(&stat, STATFLAG_DEFAULT) == S_OK) CoTaskMemFree(stat.pwcsName);
    LARGE_INTEGER move;
    move.QuadPart = -1;
    ULARGE_INTEGER position;
    if (stream->Seek(move, STREAM_SEEK_END, &position) == S_OK) stream->Read(chunk.data(), 16, &got);
    Held<IStream> clone;
    if (stream->Clone(&clone.object) == S_OK) clone.object->Read(chunk.data(), 16, &got);
}

void readProperty(IPropertyStorage* set, const STATPROPSTG& record) {
    PROPSPEC which;
    which.ulKind = PRSPEC_PROPID;
    which.propid = record.propid;
    PROPVARIANT value;
    set->ReadMultiple(1, &which, &value);
    PropVariantClear(&value);
    LPOLESTR name = nullptr;
    set->ReadPropertyNames(1, &record.propid, &name);
    if (name != nullptr) {
        which.ulKind = PRSPEC_LPWSTR;
        which.lpwstr = name;
        set->ReadMultiple(1, &which, &value);
        PropVariantClear(&value);
    }
    CoTaskMemFree(name);
}

void readSet(IPropertyStorage* set) {
    Held<IEnumSTATPROPSTG> records;
    if (set->Enum(&records.object) == S_OK) {
        STATPROPSTG record;
        while (records.object->Next(1, &record, nullptr) == S_OK) {
            readProperty(set, record);
            CoTaskMemFree(record.lpwstrName);
        }
    }
    STATPROPSETSTG stat;
    set->Stat(&stat);
    TOVXPropertyContainerHandle container;
    TOVXStructuredStorageUtils::GetAllPropertySets(set, container);
}

void readEveryPropertySet(IStorage* storage) {
    Held<IPropertySetStorage> sets;
    if (TOVXStructuredStorageUtils::OpenPropertySetStorage(storage, sets.object).Code() != TOVX_OK) return;
    Held<IEnumSTATPROPSETSTG> records;
    if (sets.object->Enum(&records.object) == S_OK) {
        STATPROPSETSTG record;
        while (records.object->Next(1, &record, nullptr) == S_OK) {
            Held<IPropertyStorage> set;
            if (sets.object->Open(record.fmtid, kChildMode, &set.object) == S_OK) readSet(set.object);
        }
    }
    Held<IPropertyStorage> userDefined;
    if (sets.object->Open(FMTID_UserDefinedProperties, kChildMode, &userDefined.object) == S_OK) readSet(userDefined.object);
}

// Lists the children of `storage`, reads each stream, and hands back the child storages.
void visitChildren(IStorage* storage, std::vector<Held<IStorage>>& found) {
    Held<IEnumSTATSTG> children;
    if (storage->EnumElements(0, nullptr, 0, &children.object) != S_OK) return;
    STATSTG stat;
    while (children.object->Next(1, &stat, nullptr) == S_OK) {
        if (stat.type == STGTY_STORAGE) {
            Held<IStorage> child;
            if (storage->OpenStorage(stat.pwcsName, nullptr, kChildMode, nullptr, 0, &child.object) == S_OK)
                found.push_back(std::move(child));
        } else {
            Held<IStream> stream;
            if (storage->OpenStream(stat.pwcsName, nullptr, kChildMode, 0, &stream.object) == S_OK) readStream(stream.object);
        }
        CoTaskMemFree(stat.pwcsName);
    }
}

}  // namespace

void standIn(const uint8_t* data, size_t size) {
    std::string path;
    if (!writeScratchFile(data, size, path)) return;
    std::vector<WCHAR> name;
    for (const char c : path) name.push_back(static_cast<WCHAR>(static_cast<unsigned char>(c)));
    name.push_back(0);
    Held<IStorage> root;
    if (StgOpenStorage(name.data(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0, &root.object) != S_OK) return;
    // Each storage is opened once: the service shows a tree whatever the file's links.
    std::vector<Held<IStorage>> pending;
    pending.push_back(std::move(root));
    while (!pending.empty()) {
        Held<IStorage> storage(std::move(pending.back()));
        pending.pop_back();
        STATSTG stat;
        if (storage.object->Stat(&stat, STATFLAG_DEFAULT) == S_OK) CoTaskMemFree(stat.pwcsName);
        readEveryPropertySet(storage.object);
        visitChildren(storage.object, pending);
    }
}

}  // namespace tovxfuzz
