#include "TOVXMemoryManager.h"

#include <cstdlib>

namespace {
TOVXMemoryManager::Gate gate = nullptr;
}  // namespace

void* TOVXMemoryManager::Allocate(unsigned int size) {
    if (gate != nullptr && !gate()) return nullptr;
    return std::malloc(size);
}

void TOVXMemoryManager::Deallocate(void* block) { std::free(block); }

void TOVXMemoryManager::SetGateForTesting(Gate test) { gate = test; }
