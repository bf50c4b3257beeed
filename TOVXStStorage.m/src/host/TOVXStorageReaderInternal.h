#ifndef TOVX_STORAGE_READER_INTERNAL_H
#define TOVX_STORAGE_READER_INTERNAL_H

// Functions of the storage reader that the host stack shares but does not export.

#include "TOVXDynamicArray.h"
#include "TOVXStorageApi.h"
#include "TOVXString.h"

// Gives one reference back; null does nothing. Always true. CloseStorage, CloseStream,
// ClosePropertySetStorage and ClosePropertyStorage are this one function.
bool tovxReleaseInterface(IUnknown* object);

// The names of the children of `storage` of one kind: 1 storages, 0 streams; any other
// kind matches none. True when the platform let the walk start.
bool GetFilteredChildNames(IStorage* storage, TOVXDynamicArray<TOVXString>& out, int kind);

#endif
