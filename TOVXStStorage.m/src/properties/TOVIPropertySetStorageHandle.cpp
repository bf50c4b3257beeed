#include "TOVIPropertySetStorageHandle.h"

#include "TOVIPropertySetStorage.h"

TOVIPropertySetStorageHandle::TOVIPropertySetStorageHandle(TOVIPropertySetStorage* storage) : TOVXReferenceHandle(storage) {}

TOVIPropertySetStorageHandle::operator TOVIPropertySetStorage*() const {
    return static_cast<TOVIPropertySetStorage*>(object);
}

TOVIPropertySetStorage* TOVIPropertySetStorageHandle::operator->() { return static_cast<TOVIPropertySetStorage*>(object); }

const TOVIPropertySetStorage* TOVIPropertySetStorageHandle::operator->() const {
    return static_cast<const TOVIPropertySetStorage*>(object);
}
