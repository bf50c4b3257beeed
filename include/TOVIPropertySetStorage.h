#ifndef TOVI_PROPERTY_SET_STORAGE_H
#define TOVI_PROPERTY_SET_STORAGE_H

#include <cstdint>

#include "TOVIPropertyStorage.h"
#include "TOVIPropertyStorageHandle.h"
#include "TOVXDynamicArray.h"
#include "TOVXReferenceCount.h"
#include "TOVXResult.h"
#include "TOVXString.h"

// The parsed property sets of a storage, in the order they were added. Every pointer
// that a lookup hands out carries one reference, which the caller gives back with
// LowerReference.
class TOVIPropertySetStorage : public TOVXReferenceCount {
public:
    TOVIPropertySetStorage();
    ~TOVIPropertySetStorage() override;

    // False for null; otherwise the container takes a reference of its own. No test for duplicates.
    bool AddPropertyStorage(TOVIPropertyStorage* storage);
    int GetPropertyStorageCount();
    // `id` is in the order of the identifier's text form. The first match wins.
    TOVXResult GetPropertyStorageWithID(const unsigned char* id, TOVIPropertyStorage*& storage);
    TOVXResult GetPropertyStorageWithName(const TOVXString& name, TOVIPropertyStorage*& storage);
    // Appends every set to `storages`, which is not emptied first.
    void GetPropertyStorages(TOVXDynamicArray<TOVIPropertyStorage*>& storages);

private:
    TOVXDynamicArray<TOVIPropertyStorageHandle> propertyStorages;
};

#endif
