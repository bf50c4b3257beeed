#ifndef TOVX_PROPERTY_HANDLE_H
#define TOVX_PROPERTY_HANDLE_H

#include "TOVXProperty.h"
#include "TOVXReferenceHandle.h"

// A counted handle on a TOVXProperty; built on null it is empty.
class TOVXPropertyHandle : public TOVXReferenceHandle {
public:
    TOVXPropertyHandle(TOVXProperty* property = nullptr) : TOVXReferenceHandle(property) {}
    TOVXPropertyHandle(const TOVXPropertyHandle& other) : TOVXReferenceHandle(other) {}
    ~TOVXPropertyHandle() override = default;

    const TOVXPropertyHandle& operator=(const TOVXPropertyHandle& other) {
        TOVXReferenceHandle::operator=(other);
        return *this;
    }
    bool operator==(const TOVXPropertyHandle& other) const { return TOVXReferenceHandle::operator==(other); }
    bool operator<(const TOVXPropertyHandle& other) const { return TOVXReferenceHandle::operator<(other); }

    TOVXProperty* operator->() const { return get(); }
    operator TOVXProperty*() const { return get(); }

private:
    TOVXProperty* get() const { return static_cast<TOVXProperty*>(object); }
};

#endif
