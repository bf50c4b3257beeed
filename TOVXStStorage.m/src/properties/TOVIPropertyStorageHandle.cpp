#include "TOVIPropertyStorageHandle.h"

#include "TOVIPropertyStorage.h"

TOVIPropertyStorageHandle::TOVIPropertyStorageHandle(TOVIPropertyStorage* storage) : TOVXReferenceHandle(storage) {}

TOVIPropertyStorageHandle::operator TOVIPropertyStorage*() const { return static_cast<TOVIPropertyStorage*>(object); }

TOVIPropertyStorage* TOVIPropertyStorageHandle::operator->() { return static_cast<TOVIPropertyStorage*>(object); }

const TOVIPropertyStorage* TOVIPropertyStorageHandle::operator->() const {
    return static_cast<const TOVIPropertyStorage*>(object);
}
