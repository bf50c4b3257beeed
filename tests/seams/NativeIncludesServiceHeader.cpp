// Native code may not reach the platform's structured-storage service.
#include "TOVIStorage.h"
#include "TOVXStorageApi.h"
