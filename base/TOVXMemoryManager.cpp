#include "TOVXMemoryManager.h"

#include <cstdlib>

void* TOVXMemoryManager::Allocate(unsigned int size) { return std::malloc(size); }

void TOVXMemoryManager::Deallocate(void* block) { std::free(block); }
