#ifndef TOVI_PROPERTY_STORAGE_HANDLE_H
#define TOVI_PROPERTY_STORAGE_HANDLE_H

#include "TOVXReferenceHandle.h"

class TOVIPropertyStorage;

// A counted handle on one parsed property set; built on null it is empty.
class TOVIPropertyStorageHandle : public TOVXReferenceHandle {
public:
    TOVIPropertyStorageHandle(TOVIPropertyStorage* storage = nullptr);
    TOVIPropertyStorageHandle(const TOVIPropertyStorageHandle& other) : TOVXReferenceHandle(other) {}
    ~TOVIPropertyStorageHandle() override = default;

    const TOVIPropertyStorageHandle& operator=(const TOVIPropertyStorageHandle& other) {
        TOVXReferenceHandle::operator=(other);
        return *this;
    }
    bool operator==(const TOVIPropertyStorageHandle& other) const { return TOVXReferenceHandle::operator==(other); }
    bool operator<(const TOVIPropertyStorageHandle& other) const { return TOVXReferenceHandle::operator<(other); }

    // The held object, null for an empty handle; no reference is gained.
    operator TOVIPropertyStorage*() const;
    TOVIPropertyStorage* operator->();
    const TOVIPropertyStorage* operator->() const;
};

#endif
