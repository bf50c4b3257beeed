#ifndef TOVX_REFERENCE_COUNT_H
#define TOVX_REFERENCE_COUNT_H

// Base of every object whose life is ruled by a count of references. Such objects are
// created through TOVXMemoryManager (tovxNew) and destroy themselves when the last
// reference goes.
class TOVXReferenceCount {
public:
    explicit TOVXReferenceCount(unsigned int count = 0) : referenceCount(count) {}
    virtual ~TOVXReferenceCount() = default;

    TOVXReferenceCount(const TOVXReferenceCount&) = delete;
    TOVXReferenceCount& operator=(const TOVXReferenceCount&) = delete;

    virtual unsigned int RaiseReference();
    // Takes one reference off; at 0 the object is destroyed and its block given back.
    // On an object that holds no reference it does nothing, so a stray call cannot free it twice.
    virtual unsigned int LowerReference();
    // Zero-terminated bytes naming the object; empty unless a class names its objects.
    virtual const char* GetName() const;

    unsigned int GetReferenceCount() const { return referenceCount; }

private:
    unsigned int referenceCount;
};

#endif
