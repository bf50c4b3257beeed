// The native stack end to end, as a caller that wants everything would use it.
#include "FuzzTargets.h"

#include "TOVIPropertySetStorage.h"
#include "TOVIPropertyStorage.h"
#include "TOVXNativeOwners.h"
#include "TOVXProperty.h"
#include "TOVXStreamRead.h"
#include "TOVXTreeWalk.h"

namespace tovxfuzz {

namespace {

// Every stream that a lookup by name reaches is read whole, and read again through Seek and
// Read; the walk ends on directories whose links loop.
void readEveryStream(TOVIStorage& root) {
    TOVXTreeWalk::walk(root, [](const TOVXTreeWalk::Item& item) {
        TOVStStorageDirEntry entry = item.entry;
        if (item.parent == nullptr || !entry.isStream() || item.shadowed) return;
        TOVIStream* opened = nullptr;
        item.parent->openStream(entry.getName(), &opened);
        const TOVXStreamPtr stream(opened);
        if (stream == nullptr) return;
        unsigned char chunk[512];
        uint32_t got = 0;
        stream->Seek(0, stream->length() / 2);
        while (stream->Read(chunk, sizeof chunk, &got) == 0 && got > 0) {
        }
        TOVStStorageDirEntry stat;
        stream->Stat(&stat);
    });
}

void readEveryProperty(TOVIPropertyStorage& set) {
    const TOVXDynamicArray<TOVXPropertyHandle> properties = set.GetPropertyArray();
    for (int i = 0; i < properties.Count(); ++i) {
        TOVXPropertyHandle property = *properties.At(i);
        if (!property.IsValid()) continue;
        TOVXString name, value;
        int type = 0;
        property->GetData(name, value, type);
        set.GetPropertyWithID(static_cast<int>(property->GetID()));
        set.GetPropertyWithName(name);
    }
    unsigned char id[16];
    set.GetPropertyStorageID(id);
    set.GetPropertyStorageName();
}

// Every set of the root, found again by id and by name, and every property of each.
void readEveryPropertySet(TOVIStorage& root) {
    TOVIPropertySetStorage* container = root.getPropertySetStorage();
    if (container == nullptr) return;
    TOVXDynamicArray<TOVIPropertyStorage*> sets;
    container->GetPropertyStorages(sets);
    for (TOVIPropertyStorage* set : sets) {
        readEveryProperty(*set);
        unsigned char id[16];
        set->GetPropertyStorageID(id);
        TOVIPropertyStorage* found = nullptr;
        if (container->GetPropertyStorageWithID(id, found).IsSuccess()) found->LowerReference();
        if (container->GetPropertyStorageWithName(set->GetPropertyStorageName(), found).IsSuccess())
            found->LowerReference();
        set->LowerReference();
    }
}

}  // namespace

void nativeStack(const uint8_t* data, size_t size) {
    std::string path;
    if (!writeScratchFile(data, size, path)) return;
    TOVIStorage* opened = nullptr;
    if (TOVStgOpenStorage(TOVXFilePath(path), &opened) != 0) return;
    const TOVXStoragePtr root(opened);
    readEveryStream(*root);
    readEveryPropertySet(*root);
}

void propertyStream(const uint8_t* data, size_t size) {
    if (size > 0x7FFFFFFF) return;
    TOVIPropertyStorageHandle handle(tovxNew<TOVIPropertyStorage>());
    TOVIPropertyStorage* set = handle;
    if (set == nullptr || !set->InitializeFromBuffer(data, static_cast<int>(size))) return;
    readEveryProperty(*set);
}

}  // namespace tovxfuzz
