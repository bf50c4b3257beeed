#ifndef TOVX_REFERENCE_HANDLE_H
#define TOVX_REFERENCE_HANDLE_H

#include "TOVXReferenceCount.h"

// Base of the counted handles: holds one reference on its object, or nothing.
// Only derived handles, which add typed access, are usable.
class TOVXReferenceHandle {
public:
    virtual bool IsValid() const { return object != nullptr; }

protected:
    explicit TOVXReferenceHandle(TOVXReferenceCount* counted = nullptr);
    TOVXReferenceHandle(const TOVXReferenceHandle& other);
    virtual ~TOVXReferenceHandle();
    const TOVXReferenceHandle& operator=(const TOVXReferenceHandle& other);
    bool operator==(const TOVXReferenceHandle& other) const { return object == other.object; }
    bool operator<(const TOVXReferenceHandle& other) const;

    TOVXReferenceCount* object;  // the counted object, null for an empty handle
};

#endif
