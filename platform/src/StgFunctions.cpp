// The service's entry points: probing and opening a file as a storage, and ids as text.

#include "StgCompoundFile.h"
#include "StgModes.h"
#include "StgStorage.h"
#include "StgText.h"

#include <cstdio>
#include <sys/stat.h>

namespace {

const size_t kMaxPathUnits = 32767;

}  // namespace

HRESULT WINAPI StgOpenStorage(const WCHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode, SNB snbExclude,
                              DWORD reserved, IStorage** ppstgOpen) try {
    using namespace tovxstg;
    if (ppstgOpen == nullptr) return STG_E_INVALIDPOINTER;
    *ppstgOpen = nullptr;
    if (pwcsName == nullptr) return STG_E_INVALIDNAME;
    // Reopening through a priority storage and leaving elements out need a writable copy.
    if (pstgPriority != nullptr || snbExclude != nullptr || reserved != 0) return STG_E_INVALIDPARAMETER;
    StgFile::Share share;
    HRESULT status = checkFileMode(grfMode, share);
    if (FAILED(status)) return status;
    const std::u16string path = fromCallerText(pwcsName, kMaxPathUnits);
    std::unique_ptr<StgFile> file;
    status = StgFile::open(utf16ToUtf8(path), share, file);
    if (FAILED(status)) return status;
    std::shared_ptr<const StgCompoundFile> compound;
    status = StgCompoundFile::load(std::move(file), compound);
    if (FAILED(status)) return status;
    *ppstgOpen = new StgStorage(std::move(compound), 0, grfMode, nullptr, path);
    return S_OK;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return STG_E_INSUFFICIENTMEMORY;
}

HRESULT WINAPI StgIsStorageFile(const WCHAR* pwcsName) try {
    using namespace tovxstg;
    if (pwcsName == nullptr) return STG_E_INVALIDNAME;
    const std::string path = utf16ToUtf8(fromCallerText(pwcsName, kMaxPathUnits));
    struct stat status;
    if (stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return STG_E_FILENOTFOUND;
    std::unique_ptr<StgFile> file;
    const HRESULT opened = StgFile::open(path, StgFile::Share::Probe, file);
    if (FAILED(opened)) return opened;
    // Only the signature is looked at, as the platform does.
    return StgCompoundFile::hasSignature(*file) ? S_OK : S_FALSE;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return STG_E_INSUFFICIENTMEMORY;
}

int WINAPI StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax) {
    const int length = 39;  // 38 characters and the terminator
    if (lpsz == nullptr || cchMax < length) return 0;
    char text[length + 1];
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", rguid.Data1,
                  rguid.Data2, rguid.Data3, rguid.Data4[0], rguid.Data4[1], rguid.Data4[2], rguid.Data4[3],
                  rguid.Data4[4], rguid.Data4[5], rguid.Data4[6], rguid.Data4[7]);
    for (int i = 0; i < length; ++i) lpsz[i] = static_cast<unsigned char>(text[i]);
    return length;
}
