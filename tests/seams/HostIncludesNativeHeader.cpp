// Host code may not reach the native stack: both stacks declare the STGTY_* names.
#include "TOVXStorageReader.h"
#include "TOVIStorage.h"
