// TEMPORARY: the few free functions of the platform service that the doubles' tests link
// against, until the platform stand-in lands. Files cannot be opened through it.
#include <cstdio>
#include <cstdlib>

#include "TOVXStorageApi.h"

extern const IID IID_IPropertySetStorage = {0x0000013A, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

void* WINAPI CoTaskMemAlloc(size_t cb) { return std::malloc(cb == 0 ? 1 : cb); }
void WINAPI CoTaskMemFree(void* pv) { std::free(pv); }

HRESULT WINAPI PropVariantClear(PROPVARIANT* pvar) {
    if (pvar == nullptr) return S_OK;
    if (pvar->vt == VT_LPSTR) CoTaskMemFree(pvar->pszVal);
    if (pvar->vt == VT_LPWSTR) CoTaskMemFree(pvar->pwszVal);
    if (pvar->vt == (VT_VECTOR | VT_I4)) CoTaskMemFree(pvar->cal.pElems);
    pvar->vt = VT_EMPTY;
    return S_OK;
}

int WINAPI StringFromGUID2(REFGUID g, LPOLESTR out, int cchMax) {
    if (cchMax < 39) return 0;
    char text[40];
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", g.Data1, g.Data2, g.Data3,
                  g.Data4[0], g.Data4[1], g.Data4[2], g.Data4[3], g.Data4[4], g.Data4[5], g.Data4[6], g.Data4[7]);
    for (int i = 0; i < 39; ++i) out[i] = static_cast<unsigned char>(text[i]);
    return 39;
}

HRESULT WINAPI StgOpenStorage(const WCHAR*, IStorage*, DWORD, SNB, DWORD, IStorage**) { return STG_E_FILENOTFOUND; }
HRESULT WINAPI StgIsStorageFile(const WCHAR*) { return STG_E_FILENOTFOUND; }
BOOL WINAPI CopyFileW(const WCHAR*, const WCHAR*, BOOL) { return FALSE; }
DWORD WINAPI GetFileAttributesW(const WCHAR*) { return INVALID_FILE_ATTRIBUTES; }
BOOL WINAPI SetFileAttributesW(const WCHAR*, DWORD) { return FALSE; }
