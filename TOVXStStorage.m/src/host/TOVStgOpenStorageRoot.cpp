#include "TOVStgOpenStorageRoot.h"

#include "TOVXStorageApi.h"

namespace {
constexpr int kPathUnits = 5000;  // a longer path is cut by the conversion
}

// Memory that runs out before the call gives null, as a refused file does (TOVXResourceBounds.h).
IStorage* TOVStgOpenStorageRoot(const TOVXFilePath& path) try {
    IStorage* storage = nullptr;
    unsigned short name[kPathUnits];
    path.GetPath().convertToWideCharacter(name, kPathUnits);
    // The status is not passed on: the pointer alone tells the caller.
    StgOpenStorage(reinterpret_cast<const WCHAR*>(name), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0,
                   &storage);
    return storage;
} catch (...) {
    return nullptr;
}
