#ifndef TOVX_NATIVE_OWNERS_H
#define TOVX_NATIVE_OWNERS_H

#include <memory>

#include "TOVIStorage.h"
#include "TOVIStream.h"
#include "TOVXMemoryManager.h"

// Owners for what the native stack hands out through an out pointer: the caller frees
// it with tovxDelete.
struct TOVXStorageDeleter {
    void operator()(TOVIStorage* storage) const { tovxDelete(storage); }
};
struct TOVXStreamDeleter {
    void operator()(TOVIStream* stream) const { tovxDelete(stream); }
};
using TOVXStoragePtr = std::unique_ptr<TOVIStorage, TOVXStorageDeleter>;
using TOVXStreamPtr = std::unique_ptr<TOVIStream, TOVXStreamDeleter>;

#endif
