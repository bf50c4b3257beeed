#include "TOVXReferenceHandle.h"

#include <functional>

TOVXReferenceHandle::TOVXReferenceHandle(TOVXReferenceCount* counted) : object(counted) {
    if (object != nullptr) object->RaiseReference();
}

TOVXReferenceHandle::TOVXReferenceHandle(const TOVXReferenceHandle& other) : object(other.object) {
    if (object != nullptr) object->RaiseReference();
}

TOVXReferenceHandle::~TOVXReferenceHandle() {
    TOVXReferenceCount* old = object;
    object = nullptr;
    if (old != nullptr) old->LowerReference();
}

const TOVXReferenceHandle& TOVXReferenceHandle::operator=(const TOVXReferenceHandle& other) {
    // Raise before lowering, so that assigning a handle on the same object never frees it;
    // and let go of the old object last, since its destruction may reach back into this handle's owner.
    TOVXReferenceCount* incoming = other.object;
    if (incoming != nullptr) incoming->RaiseReference();
    TOVXReferenceCount* old = object;
    object = incoming;
    if (old != nullptr) old->LowerReference();
    return *this;
}

bool TOVXReferenceHandle::operator<(const TOVXReferenceHandle& other) const {
    return std::less<const TOVXReferenceCount*>()(object, other.object);
}
