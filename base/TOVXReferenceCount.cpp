#include "TOVXReferenceCount.h"

#include "TOVXMemoryManager.h"

unsigned int TOVXReferenceCount::RaiseReference() { return ++referenceCount; }

unsigned int TOVXReferenceCount::LowerReference() {
    if (referenceCount == 0) return 0;
    if (--referenceCount > 0) return referenceCount;
    // The block starts at the most derived object, which need not be this base.
    void* block = dynamic_cast<void*>(this);
    this->~TOVXReferenceCount();
    tovxDeallocate(block);
    return 0;
}

const char* TOVXReferenceCount::GetName() const { return ""; }
