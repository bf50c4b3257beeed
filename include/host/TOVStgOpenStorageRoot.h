#ifndef TOV_STG_OPEN_STORAGE_ROOT_H
#define TOV_STG_OPEN_STORAGE_ROOT_H

#include "TOVXFilePath.h"

// The platform's storage interface, declared only: a caller that does not use the
// interface needs no platform header to call the function.
struct IStorage;

// Opens `path` through the platform's structured-storage service for reading, denying
// other writers, and gives the root storage, or null when the platform refuses. The
// reference is the caller's, to be given back with CloseStorage. Unlike OpenStorage it
// makes no retry through a copy, and it converts at most 5000 units of the path.
IStorage* TOVStgOpenStorageRoot(const TOVXFilePath& path);

#endif
