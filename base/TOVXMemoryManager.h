#ifndef TOVX_MEMORY_MANAGER_H
#define TOVX_MEMORY_MANAGER_H

#include <new>
#include <utility>

// All heap objects and buffers of the library go through these two.
class TOVXMemoryManager {
public:
    static void* Allocate(unsigned int size);
    static void Deallocate(void* block);

    // Tests only: while a gate is set, Allocate asks it first and answers null when it says
    // no, so that a test can show every caller surviving memory that runs out anywhere.
    using Gate = bool (*)();
    static void SetGateForTesting(Gate gate);
};

// The library's wrappers: a size of 0 becomes 1, and releasing null does nothing.
inline void* tovxAllocate(unsigned int size) { return TOVXMemoryManager::Allocate(size == 0 ? 1 : size); }
inline void tovxDeallocate(void* block) {
    if (block != nullptr) TOVXMemoryManager::Deallocate(block);
}

// Creates an object in a block from the memory manager; a null block gives a null object.
// A constructor that throws gives its block back before the exception goes on.
template <typename T, typename... Args>
T* tovxNew(Args&&... args) {
    void* block = tovxAllocate(sizeof(T));
    if (block == nullptr) return nullptr;
    try {
        return new (block) T(std::forward<Args>(args)...);
    } catch (...) {
        tovxDeallocate(block);
        throw;
    }
}

template <typename T>
void tovxDelete(T* object) {
    if (object == nullptr) return;
    object->~T();
    tovxDeallocate(object);
}

#endif
