// Native code may not reach the host stack.
#include "TOVIStorage.h"
#include "TOVXStorageReader.h"
