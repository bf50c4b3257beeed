#include "TOVXArray.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "TOVXMemoryManager.h"

struct TOVXArrayBlock {
    int holders;
    const TOVXArrayElementOps* ops;
};

namespace {

// Elements start at a fixed, generously aligned distance behind the block's bookkeeping.
constexpr std::size_t kBlockPrefix = (sizeof(TOVXArrayBlock) + alignof(std::max_align_t) - 1) /
                                     alignof(std::max_align_t) * alignof(std::max_align_t);

unsigned char* elementsOf(TOVXArrayBlock* block) { return reinterpret_cast<unsigned char*>(block) + kBlockPrefix; }

TOVXArrayBlock* newBlock(int capacity, int elementSize, const TOVXArrayElementOps* ops) {
    if (capacity < 1) capacity = 1;
    if (elementSize < 1) elementSize = 1;
    const std::uint64_t bytes = kBlockPrefix + static_cast<std::uint64_t>(capacity) * static_cast<std::uint64_t>(elementSize);
    if (bytes > UINT32_MAX) return nullptr;
    void* memory = tovxAllocate(static_cast<unsigned int>(bytes));
    if (memory == nullptr) return nullptr;
    TOVXArrayBlock* block = static_cast<TOVXArrayBlock*>(memory);
    block->holders = 1;
    block->ops = ops;
    return block;
}

void copyElements(const TOVXArrayElementOps* ops, void* target, const void* source, int count, int elementSize) {
    if (count <= 0) return;
    if (ops != nullptr)
        ops->copy(target, source, count);
    else
        std::memcpy(target, source, static_cast<std::size_t>(count) * static_cast<std::size_t>(elementSize));
}

void dropBlock(TOVXArrayBlock* block) {
    if (block != nullptr && --block->holders == 0) tovxDeallocate(block);
}

// Gives `header` a block of its own with room for `capacity` elements, keeping its elements.
// Objects are copy-constructed into the new block; the old copies are destroyed only when
// no other array still holds the old block.
bool moveToNewBlock(TOVXArrayHeader* header, int capacity) {
    TOVXArrayBlock* old = header->block;
    const TOVXArrayElementOps* ops = old != nullptr ? old->ops : nullptr;
    TOVXArrayBlock* fresh = newBlock(capacity, header->elementSize, ops);
    if (fresh == nullptr) return false;
    if (old != nullptr && header->count > 0) {
        try {
            copyElements(ops, elementsOf(fresh), header->data, header->count, header->elementSize);
        } catch (...) {
            tovxDeallocate(fresh);  // the array keeps its old block
            throw;
        }
        if (ops != nullptr && old->holders == 1) ops->destroy(header->data, header->count);
    }
    dropBlock(old);
    header->block = fresh;
    header->capacity = capacity < 1 ? 1 : capacity;
    header->data = elementsOf(fresh);
    return true;
}

// Makes room for `extra` more elements in a block that this array alone holds.
bool prepareToGrow(TOVXArrayHeader* header, int extra) {
    const std::int64_t needed = static_cast<std::int64_t>(header->count) + extra;
    if (needed > INT32_MAX) return false;
    const bool shared = header->block == nullptr || header->block->holders > 1;
    if (!shared && needed <= header->capacity) return true;
    std::int64_t capacity = header->capacity < 1 ? 1 : header->capacity;
    while (capacity < needed) capacity *= 2;  // doubling keeps Add amortised O(1)
    if (capacity > INT32_MAX) capacity = needed;
    return moveToNewBlock(header, static_cast<int>(capacity));
}

}  // namespace

TOVXArrayHeader* tovxArrayAllocate(int capacity, int elementSize, const TOVXArrayElementOps* ops) {
    TOVXArrayHeader* header = static_cast<TOVXArrayHeader*>(tovxAllocate(sizeof(TOVXArrayHeader)));
    if (header == nullptr) return nullptr;
    if (capacity < 1) capacity = 1;
    header->block = newBlock(capacity, elementSize, ops);
    if (header->block == nullptr) {
        tovxDeallocate(header);
        return nullptr;
    }
    header->capacity = capacity;
    header->count = 0;
    header->elementSize = elementSize < 1 ? 1 : elementSize;
    header->data = elementsOf(header->block);
    return header;
}

int tovxArrayAdd(TOVXArrayHeader*& header, void* element) {
    (void)element;  // the typed layer stores the value into the new slot
    if (header == nullptr || !prepareToGrow(header, 1)) return -1;
    ++header->count;
    return 0;
}

int tovxArrayAddRun(TOVXArrayHeader*& header, const void* elements, int count) {
    if (count <= 0) return 0;
    if (header == nullptr || elements == nullptr || !prepareToGrow(header, count)) return -1;
    std::memcpy(static_cast<unsigned char*>(header->data) + static_cast<std::size_t>(header->count) * header->elementSize,
                elements, static_cast<std::size_t>(count) * header->elementSize);
    header->count += count;
    return 0;
}

int tovxArrayCount(TOVXArrayHeader* header) { return header == nullptr ? 0 : header->count; }

int tovxArrayClear(TOVXArrayHeader*& header) {
    if (header == nullptr) return 0;
    // A shared block keeps its elements for the other holders; this array starts afresh.
    if (header->block != nullptr && header->block->holders > 1) {
        header->count = 0;
        if (!moveToNewBlock(header, 1)) {
            dropBlock(header->block);
            header->block = nullptr;
            header->capacity = 0;
            header->data = nullptr;
        }
        return 0;
    }
    header->count = 0;
    return 0;
}

TOVXArrayHeader* tovxArrayCopy(TOVXArrayHeader* header) {
    if (header == nullptr) return nullptr;
    TOVXArrayHeader* copy = static_cast<TOVXArrayHeader*>(tovxAllocate(sizeof(TOVXArrayHeader)));
    if (copy == nullptr) return nullptr;
    *copy = *header;
    if (copy->block != nullptr) ++copy->block->holders;
    return copy;
}

void tovxArrayFree(TOVXArrayHeader*& header, TOVXArrayFreeCallback* callback) {
    if (header == nullptr) return;
    // Only the last holder of a block releases its elements.
    if (callback != nullptr && !tovxArrayIsShared(header)) callback->FreeElements();
    dropBlock(header->block);
    tovxDeallocate(header);
    header = nullptr;
}

int tovxArrayReallocSize(TOVXArrayHeader*& header, int capacity) {
    if (header == nullptr) return -1;
    const bool shared = header->block == nullptr || header->block->holders > 1;
    if (!shared && capacity <= header->capacity) return 0;
    if (capacity < header->count) capacity = header->count;
    return moveToNewBlock(header, capacity) ? 0 : -1;
}

bool tovxArrayIsShared(const TOVXArrayHeader* header) {
    return header != nullptr && header->block != nullptr && header->block->holders > 1;
}

int tovxArrayDetach(TOVXArrayHeader*& header) {
    if (header == nullptr) return -1;
    if (!tovxArrayIsShared(header)) return 0;
    return moveToNewBlock(header, header->capacity) ? 0 : -1;
}
