// The task allocator, and the release of what a property value owns.

#include "TOVXStorageApi.h"

#include <cstdlib>
#include <cstring>

void* WINAPI CoTaskMemAlloc(size_t cb) { return std::malloc(cb == 0 ? 1 : cb); }

void WINAPI CoTaskMemFree(void* pv) { std::free(pv); }

namespace {

void freeBstr(BSTR text) {
    if (text != nullptr) CoTaskMemFree(reinterpret_cast<uint8_t*>(text) - 4);  // the count lies before it
}

// Frees what one element of a vector owns.
void clearElement(VARTYPE type, void* elements, ULONG index) {
    switch (type) {
    case VT_LPSTR: case VT_LPWSTR: CoTaskMemFree(static_cast<void**>(elements)[index]); break;
    case VT_BSTR: freeBstr(static_cast<BSTR*>(elements)[index]); break;
    case VT_CF: CoTaskMemFree(static_cast<CLIPDATA*>(elements)[index].pClipData); break;
    case VT_BSTR_BLOB: CoTaskMemFree(static_cast<BSTRBLOB*>(elements)[index].pData); break;
    case VT_VARIANT: PropVariantClear(&static_cast<PROPVARIANT*>(elements)[index]); break;
    default: break;
    }
}

bool isPlainScalar(VARTYPE type) {
    switch (type) {
    case VT_EMPTY: case VT_NULL: case VT_I1: case VT_UI1: case VT_I2: case VT_UI2: case VT_BOOL: case VT_I4:
    case VT_UI4: case VT_INT: case VT_UINT: case VT_ERROR: case VT_R4: case VT_I8: case VT_UI8: case VT_R8:
    case VT_CY: case VT_DATE: case VT_FILETIME: case VT_DECIMAL: case VT_HRESULT:
        return true;
    default:
        return false;
    }
}

}  // namespace

HRESULT WINAPI PropVariantClear(PROPVARIANT* pvar) {
    if (pvar == nullptr) return S_OK;
    const VARTYPE type = pvar->vt;
    const VARTYPE element = static_cast<VARTYPE>(type & VT_TYPEMASK);
    if (type & VT_BYREF) {
        // The caller's memory: nothing to free.
    } else if (type & VT_VECTOR) {
        if ((type & ~(VT_VECTOR | VT_TYPEMASK)) != 0) return E_INVALIDARG;
        for (ULONG i = 0; i < pvar->cac.cElems; ++i) clearElement(element, pvar->cac.pElems, i);
        CoTaskMemFree(pvar->cac.pElems);
    } else if (!isPlainScalar(type)) {
        switch (type) {
        case VT_LPSTR: case VT_LPWSTR: case VT_CLSID: CoTaskMemFree(pvar->pszVal); break;
        case VT_BSTR: freeBstr(pvar->bstrVal); break;
        case VT_BLOB: case VT_BLOB_OBJECT: CoTaskMemFree(pvar->blob.pBlobData); break;
        case VT_BSTR_BLOB: CoTaskMemFree(pvar->bstrblobVal.pData); break;
        case VT_CF:
            if (pvar->pclipdata != nullptr) CoTaskMemFree(pvar->pclipdata->pClipData);
            CoTaskMemFree(pvar->pclipdata);
            break;
        case VT_UNKNOWN: case VT_STREAM: case VT_STORAGE: case VT_STREAMED_OBJECT: case VT_STORED_OBJECT:
            if (pvar->punkVal != nullptr) pvar->punkVal->Release();
            break;
        default:
            return E_INVALIDARG;  // a type that this service never makes, left as it is
        }
    }
    std::memset(pvar, 0, sizeof *pvar);
    return S_OK;
}
