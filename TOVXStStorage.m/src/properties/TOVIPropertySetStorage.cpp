#include "TOVIPropertySetStorage.h"

#include <cstring>

TOVIPropertySetStorage::TOVIPropertySetStorage() : TOVXReferenceCount(0) {}

TOVIPropertySetStorage::~TOVIPropertySetStorage() {
    // Gives up the container's references; a set lives on while a caller holds one of its own.
    propertyStorages.FreeElements();
}

bool TOVIPropertySetStorage::AddPropertyStorage(TOVIPropertyStorage* storage) {
    if (storage == nullptr) return false;
    propertyStorages.Add(TOVIPropertyStorageHandle(storage));
    return true;
}

int TOVIPropertySetStorage::GetPropertyStorageCount() { return propertyStorages.Count(); }

TOVXResult TOVIPropertySetStorage::GetPropertyStorageWithID(const unsigned char* id, TOVIPropertyStorage*& storage) {
    TOVXResult result(TOVX_E_FAIL);
    storage = nullptr;
    if (id == nullptr) return result;
    const int count = propertyStorages.Count();
    for (int i = 0; i < count; ++i) {
        TOVIPropertyStorage* candidate = *propertyStorages.At(i);
        if (candidate == nullptr) continue;
        unsigned char candidateId[16];
        candidate->GetPropertyStorageID(candidateId);
        if (std::memcmp(candidateId, id, sizeof candidateId) != 0) continue;
        storage = candidate;
        storage->RaiseReference();
        result = TOVX_OK;
        break;
    }
    return result;
}

TOVXResult TOVIPropertySetStorage::GetPropertyStorageWithName(const TOVXString& name, TOVIPropertyStorage*& storage) try {
    TOVXResult result(TOVX_E_FAIL);
    storage = nullptr;
    const int count = propertyStorages.Count();
    for (int i = 0; i < count; ++i) {
        TOVIPropertyStorage* candidate = *propertyStorages.At(i);
        if (candidate == nullptr || !candidate->GetPropertyStorageName().equals(name)) continue;
        storage = candidate;
        storage->RaiseReference();
        result = TOVX_OK;
        break;
    }
    return result;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return TOVXResult(TOVX_E_FAIL);
}

void TOVIPropertySetStorage::GetPropertyStorages(TOVXDynamicArray<TOVIPropertyStorage*>& storages) {
    const int count = propertyStorages.Count();
    for (int i = 0; i < count; ++i) {
        TOVIPropertyStorage* storage = *propertyStorages.At(i);
        if (storage == nullptr) continue;
        const int before = storages.Count();
        storages.Add(storage);
        if (storages.Count() > before) storage->RaiseReference();  // a reference only for a pointer handed out
    }
}
