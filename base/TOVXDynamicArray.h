#ifndef TOVX_DYNAMIC_ARRAY_H
#define TOVX_DYNAMIC_ARRAY_H

#include <algorithm>
#include <cstdint>
#include <new>
#include <type_traits>

#include "TOVXArray.h"

// A typed array over the untyped functions. Copies share the element block
// (see TOVXArray.h), so a getter that hands out a whole table costs O(1).
// At() is for reading; an element is written through MutableAt(), which first gives
// the array a block of its own, so that no copy sees the write.
template <typename T>
class TOVXDynamicArray : public TOVXArrayFreeCallback {
public:
    TOVXArrayHeader* header;

    TOVXDynamicArray() : header(allocate(1)) {}

    TOVXDynamicArray(int count, const T& value) : header(allocate(count < 1 ? 1 : count)) {
        try {
            for (int i = 0; i < count; ++i) Add(value);
        } catch (...) {
            tovxArrayFree(header, this);  // no destructor runs for a constructor that throws
            throw;
        }
    }

    TOVXDynamicArray(const TOVXDynamicArray& other) : TOVXArrayFreeCallback(), header(tovxArrayCopy(other.header)) {}

    TOVXDynamicArray& operator=(const TOVXDynamicArray& other) {
        if (&other == this) return *this;
        if (header != nullptr) {
            tovxArrayFree(header, this);
            header = nullptr;
        }
        header = tovxArrayCopy(other.header);
        return *this;
    }

    ~TOVXDynamicArray() override {
        tovxArrayFree(header, this);
        header = nullptr;
    }

    int Count() const { return tovxArrayCount(header); }

    T* At(int index) const {
        if (index < 0 || index >= Count()) return nullptr;
        return static_cast<T*>(header->data) + index;
    }

    // A writable element of this array alone; null for an index outside the elements, or
    // when memory for a block of its own ran out.
    T* MutableAt(int index) {
        if (index < 0 || index >= Count() || tovxArrayDetach(header) != 0) return nullptr;
        return static_cast<T*>(header->data) + index;
    }

    T* First() const { return Count() == 0 ? nullptr : static_cast<T*>(header->data); }

    void Add(const T& value) {
        if (header != nullptr && refersInside(&value)) {
            const T copy(value);  // growing may move the block that `value` lives in
            Add(copy);
            return;
        }
        if (tovxArrayAdd(header, const_cast<T*>(&value)) != 0) return;  // out of memory: nothing added
        T* slot = static_cast<T*>(header->data) + (tovxArrayCount(header) - 1);
        if (slot == nullptr) return;
        try {
            new (slot) T(value);
        } catch (...) {
            --header->count;  // a copy that throws leaves the array as it was
            throw;
        }
    }

    // Appends `count` plain values with a single copy.
    void AddRun(const T* values, int count) {
        static_assert(std::is_trivially_copyable<T>::value, "AddRun is for plain values");
        tovxArrayAddRun(header, values, count);
    }

    void Reserve(int capacity) {
        // The capacity field is compared unsigned, as the contract has it; a negative request does nothing.
        if (header != nullptr && capacity >= 0 &&
            static_cast<unsigned int>(capacity) >= static_cast<unsigned int>(header->capacity))
            tovxArrayReallocSize(header, capacity);
    }

    void FreeElements() override {
        const int count = tovxArrayCount(header);
        if (!std::is_trivially_destructible<T>::value && !tovxArrayIsShared(header)) {
            for (int i = 0; i < count; ++i) (static_cast<T*>(header->data) + i)->~T();
        }
        tovxArrayClear(header);
    }

    // Ascending order. The result of any correct sort is the same for integers;
    // introsort keeps the stack shallow on inputs a file can shape.
    void Sort() {
        static_assert(std::is_integral<T>::value && std::is_unsigned<T>::value, "Sort is for unsigned integers");
        if (Count() < 2) return;
        std::sort(First(), First() + Count());
    }

    int IndexOf(const T& value) const {
        const int count = Count();
        for (int i = 0; i < count; ++i)
            if (*At(i) == value) return i;
        return -1;
    }

    // Range access for reading.
    const T* begin() const { return First(); }
    const T* end() const { return First() == nullptr ? nullptr : First() + Count(); }

private:
    static void copyConstruct(void* target, const void* source, int count) {
        T* to = static_cast<T*>(target);
        const T* from = static_cast<const T*>(source);
        int made = 0;
        try {
            for (; made < count; ++made) new (to + made) T(from[made]);
        } catch (...) {
            destroy(to, made);  // a copy that throws leaves no half-made block behind
            throw;
        }
    }

    static void destroy(void* elements, int count) {
        T* items = static_cast<T*>(elements);
        for (int i = 0; i < count; ++i) items[i].~T();
    }

    static constexpr TOVXArrayElementOps kObjectOps = {&copyConstruct, &destroy};

    static TOVXArrayHeader* allocate(int capacity) {
        return tovxArrayAllocate(capacity, static_cast<int>(sizeof(T)),
                                 std::is_trivially_copyable<T>::value ? nullptr : &kObjectOps);
    }

    bool refersInside(const T* value) const {
        const T* first = static_cast<const T*>(header->data);
        return first != nullptr && value >= first && value < first + header->capacity;
    }
};

#endif
