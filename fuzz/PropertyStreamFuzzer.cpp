// Feeds arbitrary bytes to the property-set parser as one stream, then reads every
// property back by id and by name.
#include <cstdint>

#include "TOVIPropertyStorage.h"
#include "TOVIPropertyStorageHandle.h"
#include "TOVXMemoryManager.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 0x7FFFFFFF) return 0;
    TOVIPropertyStorageHandle handle(tovxNew<TOVIPropertyStorage>());
    TOVIPropertyStorage* set = handle;
    if (!set->InitializeFromBuffer(data, static_cast<int>(size))) return 0;
    TOVXDynamicArray<TOVXPropertyHandle> properties = set->GetPropertyArray();
    for (int i = 0; i < properties.Count(); ++i) {
        TOVXPropertyHandle property = *properties.At(i);
        if (!property.IsValid()) continue;
        TOVXString name, value;
        int type = 0;
        property->GetData(name, value, type);
        set->GetPropertyWithID(static_cast<int>(property->GetID()));
        set->GetPropertyWithName(name);
    }
    unsigned char id[16];
    set->GetPropertyStorageID(id);
    set->GetPropertyStorageName();
    return 0;
}
