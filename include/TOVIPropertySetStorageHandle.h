#ifndef TOVI_PROPERTY_SET_STORAGE_HANDLE_H
#define TOVI_PROPERTY_SET_STORAGE_HANDLE_H

#include "TOVXReferenceHandle.h"

class TOVIPropertySetStorage;

// A counted handle on a property-set container; built on null it is empty.
class TOVIPropertySetStorageHandle : public TOVXReferenceHandle {
public:
    TOVIPropertySetStorageHandle(TOVIPropertySetStorage* storage = nullptr);
    TOVIPropertySetStorageHandle(const TOVIPropertySetStorageHandle& other) : TOVXReferenceHandle(other) {}
    ~TOVIPropertySetStorageHandle() override = default;

    const TOVIPropertySetStorageHandle& operator=(const TOVIPropertySetStorageHandle& other) {
        TOVXReferenceHandle::operator=(other);
        return *this;
    }
    bool operator==(const TOVIPropertySetStorageHandle& other) const { return TOVXReferenceHandle::operator==(other); }
    bool operator<(const TOVIPropertySetStorageHandle& other) const { return TOVXReferenceHandle::operator<(other); }

    // The held object, null for an empty handle; no reference is gained.
    operator TOVIPropertySetStorage*() const;
    TOVIPropertySetStorage* operator->();
    const TOVIPropertySetStorage* operator->() const;
};

#endif
