#ifndef TOVX_PROPERTY_CONTAINER_HANDLE_H
#define TOVX_PROPERTY_CONTAINER_HANDLE_H

#include "TOVXPropertyContainer.h"
#include "TOVXReferenceHandle.h"

// A counted handle on a TOVXPropertyContainer; built on null it is empty.
class TOVXPropertyContainerHandle : public TOVXReferenceHandle {
public:
    TOVXPropertyContainerHandle(TOVXPropertyContainer* container = nullptr) : TOVXReferenceHandle(container) {}
    TOVXPropertyContainerHandle(const TOVXPropertyContainerHandle& other) : TOVXReferenceHandle(other) {}
    ~TOVXPropertyContainerHandle() override = default;

    const TOVXPropertyContainerHandle& operator=(const TOVXPropertyContainerHandle& other) {
        TOVXReferenceHandle::operator=(other);
        return *this;
    }
    bool operator==(const TOVXPropertyContainerHandle& other) const { return TOVXReferenceHandle::operator==(other); }
    bool operator<(const TOVXPropertyContainerHandle& other) const { return TOVXReferenceHandle::operator<(other); }

    TOVXPropertyContainer* operator->() const { return get(); }
    operator TOVXPropertyContainer*() const { return get(); }

private:
    TOVXPropertyContainer* get() const { return static_cast<TOVXPropertyContainer*>(object); }
};

#endif
