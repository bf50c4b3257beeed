#ifndef TOVX_STORAGE_API_H
#define TOVX_STORAGE_API_H

// The operating system's structured-storage service, as the host stack sees it: the storage,
// stream and property-set interfaces, the records they fill, their status codes and flags, and
// the handful of free functions around them (opening a file as a storage, freeing what the
// service hands over, copying a file and changing its attributes).
//
// On Windows this is the system's own service and the SDK's headers declare all of it. Elsewhere
// this header declares the same names with the SDK's values, layouts and method order, so that
// host code is written once and a replacement service can be linked in underneath. Only host
// code includes this header; the native stack never does.
//
// Off Windows, keep in mind:
// - WCHAR and OLECHAR are unsigned short, 16-bit text as on Windows (never wchar_t, which is 32
//   bits here). LONG, ULONG, DWORD and HRESULT are fixed 32-bit types so that every record has
//   the size and offsets it has on 64-bit Windows.
// - The unions that the SDK gives unnamed members (LARGE_INTEGER, CY, DECIMAL, PROPVARIANT) keep
//   them, so `li.LowPart`, `cy.int64` and `pv.vt` read the same on both sides. They are marked
//   __extension__ so that -Wpedantic stays quiet on GCC and Clang.
// - The interfaces are plain abstract classes without a virtual destructor, as on Windows: an
//   object goes away through its own Release, never through delete on an interface pointer.
// - The IIDs and FMTIDs below are only declared. The service's implementation defines each of
//   them once, e.g. `extern const IID IID_IStorage = {0x0000000B, 0x0000, 0x0000, {0xC0, 0x00,
//   0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};`. On Windows the system's uuid library has them.
// - A unit that includes this header must not also include the native stack's constants: both
//   declare the STGTY_* names, just as the SDK's headers would on Windows.

#include "TOVXPlatform.h"

#ifdef _WIN32

// WIN32_LEAN_AND_MEAN (set by TOVXPlatform.h) keeps the component headers out of <windows.h>,
// so they are named here. <objbase.h> brings StgOpenStorage, StgIsStorageFile, the task
// allocator and StringFromGUID2; <objidl.h> the storage interfaces and the FMTIDs; <propidl.h>
// the property-set interfaces and PropVariantClear. The file functions come with <windows.h>.
#include <objbase.h>
#include <objidl.h>
#include <propidl.h>

#else  // !_WIN32

#include <cstddef>
#include <cstdint>

// ---------------------------------------------------------------------------------------------
// Basic types
// ---------------------------------------------------------------------------------------------

// Windows is LLP64: long is 32 bits there, so nothing below is spelled with long.
typedef int32_t HRESULT;
typedef int32_t SCODE;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef uint32_t DWORD;
typedef uint16_t WORD;
typedef uint8_t BYTE;
typedef int32_t BOOL;
typedef int16_t SHORT;
typedef uint16_t USHORT;
typedef char CHAR;
typedef unsigned char UCHAR;
typedef int INT;
typedef unsigned int UINT;
typedef float FLOAT;
typedef double DOUBLE;
typedef int64_t LONGLONG;
typedef uint64_t ULONGLONG;

// Text: narrow strings are char; wide strings are 16-bit units, as the file format and the
// Windows API store them.
typedef unsigned short WCHAR;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;
typedef CHAR* LPSTR;
typedef const CHAR* LPCSTR;
typedef WCHAR OLECHAR;
typedef OLECHAR* LPOLESTR;
typedef const OLECHAR* LPCOLESTR;
// A BSTR points at the first character; its byte length sits in the 32 bits just before it.
typedef OLECHAR* BSTR;

typedef short VARIANT_BOOL;  // true is all bits set (0xFFFF), false is 0
typedef unsigned short VARTYPE;
typedef ULONG PROPID;
typedef DWORD LCID;
typedef WORD CLIPFORMAT;
typedef double DATE;  // days since 1899-12-30, time of day as the fraction

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif
#define VARIANT_TRUE ((VARIANT_BOOL)-1)
#define VARIANT_FALSE ((VARIANT_BOOL)0)

// Calling conventions: meaningful only on 32-bit Windows, empty everywhere else.
#define STDMETHODCALLTYPE
#define WINAPI

// ---------------------------------------------------------------------------------------------
// GUIDs
// ---------------------------------------------------------------------------------------------

// 16 bytes: the first three fields are stored little-endian in files, Data4 as bytes in order.
typedef struct _GUID {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
} GUID;

typedef GUID IID;
typedef GUID CLSID;
typedef GUID FMTID;  // identifies a property set
typedef const GUID& REFGUID;
typedef const IID& REFIID;
typedef const CLSID& REFCLSID;
typedef const FMTID& REFFMTID;

inline bool IsEqualGUID(REFGUID a, REFGUID b) {
    if (a.Data1 != b.Data1 || a.Data2 != b.Data2 || a.Data3 != b.Data3) return false;
    for (int i = 0; i < 8; ++i) {
        if (a.Data4[i] != b.Data4[i]) return false;
    }
    return true;
}
inline bool IsEqualIID(REFIID a, REFIID b) { return IsEqualGUID(a, b); }
inline bool IsEqualCLSID(REFCLSID a, REFCLSID b) { return IsEqualGUID(a, b); }
inline bool IsEqualFMTID(REFFMTID a, REFFMTID b) { return IsEqualGUID(a, b); }
inline bool operator==(REFGUID a, REFGUID b) { return IsEqualGUID(a, b); }
inline bool operator!=(REFGUID a, REFGUID b) { return !IsEqualGUID(a, b); }

// ---------------------------------------------------------------------------------------------
// Records
// ---------------------------------------------------------------------------------------------

// 64-bit sizes and positions, also reachable as two 32-bit halves, low half first.
typedef union _LARGE_INTEGER {
    __extension__ struct {
        DWORD LowPart;
        LONG HighPart;
    };
    struct {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
} LARGE_INTEGER;

typedef union _ULARGE_INTEGER {
    __extension__ struct {
        DWORD LowPart;
        DWORD HighPart;
    };
    struct {
        DWORD LowPart;
        DWORD HighPart;
    } u;
    ULONGLONG QuadPart;
} ULARGE_INTEGER;

// Currency: a signed 64-bit count of ten-thousandths.
typedef union tagCY {
    __extension__ struct {
        uint32_t Lo;
        int32_t Hi;
    };
    LONGLONG int64;
} CY;

// 96-bit unsigned integer with a power-of-ten scale and a sign. Its first two bytes overlay
// PROPVARIANT::vt, which is why a PROPVARIANT can hold it whole.
typedef struct tagDEC {
    USHORT wReserved;
    __extension__ union {
        __extension__ struct {
            BYTE scale;
            BYTE sign;  // 0x80 for negative
        };
        USHORT signscale;
    };
    ULONG Hi32;
    __extension__ union {
        __extension__ struct {
            ULONG Lo32;
            ULONG Mid32;
        };
        ULONGLONG Lo64;
    };
} DECIMAL;
#define DECIMAL_NEG ((BYTE)0x80)

typedef struct tagBLOB {
    ULONG cbSize;
    BYTE* pBlobData;
} BLOB;

typedef struct tagBSTRBLOB {
    ULONG cbSize;
    BYTE* pData;
} BSTRBLOB;

// Clipboard data: cbSize counts the format field and the bytes that follow it.
typedef struct tagCLIPDATA {
    ULONG cbSize;
    LONG ulClipFmt;
    BYTE* pClipData;
} CLIPDATA;

typedef struct tagSAFEARRAYBOUND {
    ULONG cElements;
    LONG lLbound;
} SAFEARRAYBOUND;

typedef struct tagSAFEARRAY {
    USHORT cDims;
    USHORT fFeatures;
    ULONG cbElements;
    ULONG cLocks;
    void* pvData;
    SAFEARRAYBOUND rgsabound[1];  // cDims of them
} SAFEARRAY;
typedef SAFEARRAY* LPSAFEARRAY;

// Interfaces that records point at; declared in full further down.
struct IUnknown;
struct ISequentialStream;
struct IStream;
struct IStorage;
struct IEnumSTATSTG;
struct IPropertyStorage;
struct IPropertySetStorage;
struct IEnumSTATPROPSTG;
struct IEnumSTATPROPSETSTG;

typedef struct tagVersionedStream {
    GUID guidVersion;
    IStream* pStream;
} VERSIONEDSTREAM;
typedef VERSIONEDSTREAM* LPVERSIONEDSTREAM;

typedef struct tagPROPVARIANT PROPVARIANT;

// Counted vectors: one for each element type that a property value of type VT_VECTOR | VT_x
// can hold. The element memory belongs to the PROPVARIANT and goes with PropVariantClear.
typedef struct tagCAC { ULONG cElems; CHAR* pElems; } CAC;                       // VT_I1
typedef struct tagCAUB { ULONG cElems; UCHAR* pElems; } CAUB;                    // VT_UI1
typedef struct tagCAI { ULONG cElems; SHORT* pElems; } CAI;                      // VT_I2
typedef struct tagCAUI { ULONG cElems; USHORT* pElems; } CAUI;                   // VT_UI2
typedef struct tagCAL { ULONG cElems; LONG* pElems; } CAL;                       // VT_I4
typedef struct tagCAUL { ULONG cElems; ULONG* pElems; } CAUL;                    // VT_UI4
typedef struct tagCAFLT { ULONG cElems; FLOAT* pElems; } CAFLT;                  // VT_R4
typedef struct tagCADBL { ULONG cElems; DOUBLE* pElems; } CADBL;                 // VT_R8
typedef struct tagCACY { ULONG cElems; CY* pElems; } CACY;                       // VT_CY
typedef struct tagCADATE { ULONG cElems; DATE* pElems; } CADATE;                 // VT_DATE
typedef struct tagCABSTR { ULONG cElems; BSTR* pElems; } CABSTR;                 // VT_BSTR
typedef struct tagCABSTRBLOB { ULONG cElems; BSTRBLOB* pElems; } CABSTRBLOB;     // VT_BSTR_BLOB
typedef struct tagCABOOL { ULONG cElems; VARIANT_BOOL* pElems; } CABOOL;         // VT_BOOL
typedef struct tagCASCODE { ULONG cElems; SCODE* pElems; } CASCODE;              // VT_ERROR
typedef struct tagCAPROPVARIANT { ULONG cElems; PROPVARIANT* pElems; } CAPROPVARIANT;  // VT_VARIANT
typedef struct tagCAH { ULONG cElems; LARGE_INTEGER* pElems; } CAH;              // VT_I8
typedef struct tagCAUH { ULONG cElems; ULARGE_INTEGER* pElems; } CAUH;           // VT_UI8
typedef struct tagCALPSTR { ULONG cElems; LPSTR* pElems; } CALPSTR;              // VT_LPSTR
typedef struct tagCALPWSTR { ULONG cElems; LPWSTR* pElems; } CALPWSTR;           // VT_LPWSTR
typedef struct tagCAFILETIME { ULONG cElems; FILETIME* pElems; } CAFILETIME;     // VT_FILETIME
typedef struct tagCACLIPDATA { ULONG cElems; CLIPDATA* pElems; } CACLIPDATA;     // VT_CF
typedef struct tagCACLSID { ULONG cElems; CLSID* pElems; } CACLSID;              // VT_CLSID

// One typed property value: vt selects the union member. Pointers, strings and vectors are
// owned by the value and given back with PropVariantClear. The automation members of the
// SDK's union (IDispatch pointers) are left out: property sets cannot hold them.
struct tagPROPVARIANT {
    __extension__ union {
        __extension__ struct {
            VARTYPE vt;
            WORD wReserved1;
            WORD wReserved2;
            WORD wReserved3;
            __extension__ union {
                CHAR cVal;
                UCHAR bVal;
                SHORT iVal;
                USHORT uiVal;
                LONG lVal;
                ULONG ulVal;
                INT intVal;
                UINT uintVal;
                LARGE_INTEGER hVal;
                ULARGE_INTEGER uhVal;
                FLOAT fltVal;
                DOUBLE dblVal;
                VARIANT_BOOL boolVal;
                SCODE scode;
                CY cyVal;
                DATE date;
                FILETIME filetime;
                CLSID* puuid;
                CLIPDATA* pclipdata;
                BSTR bstrVal;
                BSTRBLOB bstrblobVal;
                BLOB blob;
                LPSTR pszVal;
                LPWSTR pwszVal;
                IUnknown* punkVal;
                IStream* pStream;
                IStorage* pStorage;
                LPVERSIONEDSTREAM pVersionedStream;
                LPSAFEARRAY parray;
                CAC cac;
                CAUB caub;
                CAI cai;
                CAUI caui;
                CAL cal;
                CAUL caul;
                CAH cah;
                CAUH cauh;
                CAFLT caflt;
                CADBL cadbl;
                CABOOL cabool;
                CASCODE cascode;
                CACY cacy;
                CADATE cadate;
                CAFILETIME cafiletime;
                CACLSID cauuid;
                CACLIPDATA caclipdata;
                CABSTR cabstr;
                CABSTRBLOB cabstrblob;
                CALPSTR calpstr;
                CALPWSTR calpwstr;
                CAPROPVARIANT capropvar;
                CHAR* pcVal;
                UCHAR* pbVal;
                SHORT* piVal;
                USHORT* puiVal;
                LONG* plVal;
                ULONG* pulVal;
                INT* pintVal;
                UINT* puintVal;
                FLOAT* pfltVal;
                DOUBLE* pdblVal;
                VARIANT_BOOL* pboolVal;
                DECIMAL* pdecVal;
                SCODE* pscode;
                CY* pcyVal;
                DATE* pdate;
                BSTR* pbstrVal;
                IUnknown** ppunkVal;
                LPSAFEARRAY* pparray;
                PROPVARIANT* pvarVal;
            };
        };
        DECIMAL decVal;  // VT_DECIMAL fills the whole record; its first word is vt
    };
};
typedef PROPVARIANT* LPPROPVARIANT;

// A list of element names to leave out when a storage is opened or copied; null for none.
typedef LPOLESTR* SNB;

// What Stat and the element enumerator report about one storage or stream. The receiver frees
// pwcsName with CoTaskMemFree unless STATFLAG_NONAME was asked for.
typedef struct tagSTATSTG {
    LPOLESTR pwcsName;
    DWORD type;  // an STGTY value
    ULARGE_INTEGER cbSize;
    FILETIME mtime;
    FILETIME ctime;
    FILETIME atime;
    DWORD grfMode;
    DWORD grfLocksSupported;
    CLSID clsid;
    DWORD grfStateBits;
    DWORD reserved;
} STATSTG;

// Picks a property by id or by name, as ulKind says (PRSPEC_*).
typedef struct tagPROPSPEC {
    ULONG ulKind;
    __extension__ union {
        PROPID propid;
        LPOLESTR lpwstr;
    };
} PROPSPEC;

// One property as the property enumerator reports it. The receiver frees lpwstrName (null for a
// property without a name) with CoTaskMemFree.
typedef struct tagSTATPROPSTG {
    LPOLESTR lpwstrName;
    PROPID propid;
    VARTYPE vt;
} STATPROPSTG;

// One property set as its Stat and the set enumerator report it.
typedef struct tagSTATPROPSETSTG {
    FMTID fmtid;
    CLSID clsid;
    DWORD grfFlags;  // PROPSETFLAG_*
    FILETIME mtime;
    FILETIME ctime;
    FILETIME atime;
    DWORD dwOSVersion;
} STATPROPSETSTG;

// ---------------------------------------------------------------------------------------------
// Constants
// ---------------------------------------------------------------------------------------------

// Access modes for opening storages, streams and property sets. Reading is 0: a mode that
// names no access bit opens read-only.
#define STGM_DIRECT 0x00000000
#define STGM_TRANSACTED 0x00010000
#define STGM_SIMPLE 0x08000000
#define STGM_READ 0x00000000
#define STGM_WRITE 0x00000001
#define STGM_READWRITE 0x00000002
#define STGM_SHARE_DENY_NONE 0x00000040
#define STGM_SHARE_DENY_READ 0x00000030
#define STGM_SHARE_DENY_WRITE 0x00000020
#define STGM_SHARE_EXCLUSIVE 0x00000010
#define STGM_PRIORITY 0x00040000
#define STGM_DELETEONRELEASE 0x04000000
#define STGM_NOSCRATCH 0x00100000
#define STGM_CREATE 0x00001000
#define STGM_CONVERT 0x00020000
#define STGM_FAILIFTHERE 0x00000000
#define STGM_NOSNAPSHOT 0x00200000
#define STGM_DIRECT_SWMR 0x00400000

// STATSTG::type.
typedef enum tagSTGTY {
    STGTY_STORAGE = 1,
    STGTY_STREAM = 2,
    STGTY_LOCKBYTES = 3,
    STGTY_PROPERTY = 4
} STGTY;

// Origin of IStream::Seek.
typedef enum tagSTREAM_SEEK {
    STREAM_SEEK_SET = 0,
    STREAM_SEEK_CUR = 1,
    STREAM_SEEK_END = 2
} STREAM_SEEK;

// Region locks of IStream::LockRegion.
typedef enum tagLOCKTYPE {
    LOCK_WRITE = 1,
    LOCK_EXCLUSIVE = 2,
    LOCK_ONLYONCE = 4
} LOCKTYPE;

// Commit flags.
typedef enum tagSTGC {
    STGC_DEFAULT = 0,
    STGC_OVERWRITE = 1,
    STGC_ONLYIFCURRENT = 2,
    STGC_DANGEROUSLYCOMMITMERELYTODISKCACHE = 4,
    STGC_CONSOLIDATE = 8
} STGC;

// What Stat leaves out: NONAME spares the caller the name it would have to free.
typedef enum tagSTATFLAG {
    STATFLAG_DEFAULT = 0,
    STATFLAG_NONAME = 1,
    STATFLAG_NOOPEN = 2
} STATFLAG;

// PROPSPEC::ulKind.
#define PRSPEC_INVALID 0xffffffff
#define PRSPEC_LPWSTR 0
#define PRSPEC_PROPID 1

// STATPROPSETSTG::grfFlags and IPropertySetStorage::Create.
#define PROPSETFLAG_DEFAULT 0
#define PROPSETFLAG_NONSIMPLE 1
#define PROPSETFLAG_ANSI 2
#define PROPSETFLAG_UNBUFFERED 4
#define PROPSETFLAG_CASE_SENSITIVE 8
#define PROPSET_BEHAVIOR_CASE_SENSITIVE 1

// Property ids with a fixed meaning in every set.
#define PID_DICTIONARY 0x00000000  // the names of the named properties
#define PID_CODEPAGE 0x00000001    // code page of the set's narrow strings
#define PID_FIRST_USABLE 0x00000002
#define PID_FIRST_NAME_DEFAULT 0x00000fff
#define PID_LOCALE 0x80000000
#define PID_MODIFY_TIME 0x80000001
#define PID_SECURITY 0x80000002
#define PID_BEHAVIOR 0x80000003
#define PID_ILLEGAL 0xffffffff
#define PID_MIN_READONLY 0x80000000
#define PID_MAX_READONLY 0xbfffffff

// Value types. The low twelve bits name the type; VT_VECTOR, VT_ARRAY and VT_BYREF are flags
// above them.
enum VARENUM {
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_CY = 6,
    VT_DATE = 7,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_DECIMAL = 14,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_VOID = 24,
    VT_HRESULT = 25,
    VT_PTR = 26,
    VT_SAFEARRAY = 27,
    VT_CARRAY = 28,
    VT_USERDEFINED = 29,
    VT_LPSTR = 30,
    VT_LPWSTR = 31,
    VT_RECORD = 36,
    VT_INT_PTR = 37,
    VT_UINT_PTR = 38,
    VT_FILETIME = 64,
    VT_BLOB = 65,
    VT_STREAM = 66,
    VT_STORAGE = 67,
    VT_STREAMED_OBJECT = 68,
    VT_STORED_OBJECT = 69,
    VT_BLOB_OBJECT = 70,
    VT_CF = 71,
    VT_CLSID = 72,
    VT_VERSIONED_STREAM = 73,
    VT_BSTR_BLOB = 0xfff,
    VT_VECTOR = 0x1000,
    VT_ARRAY = 0x2000,
    VT_BYREF = 0x4000,
    VT_RESERVED = 0x8000,
    VT_ILLEGAL = 0xffff,
    VT_ILLEGALMASKED = 0xfff,
    VT_TYPEMASK = 0xfff
};

// File attributes of GetFileAttributesW and SetFileAttributesW.
#define FILE_ATTRIBUTE_READONLY 0x00000001
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010
#define FILE_ATTRIBUTE_NORMAL 0x00000080
#define INVALID_FILE_ATTRIBUTES ((DWORD)-1)

// ---------------------------------------------------------------------------------------------
// Status codes
// ---------------------------------------------------------------------------------------------

// Negative is failure. S_FALSE is a success that answers "no" (not a compound file, no such
// property, no more elements).
#define SUCCEEDED(hr) (((HRESULT)(hr)) >= 0)
#define FAILED(hr) (((HRESULT)(hr)) < 0)

#define S_OK ((HRESULT)0x00000000)
#define S_FALSE ((HRESULT)0x00000001)

#define E_UNEXPECTED ((HRESULT)0x8000FFFF)
#define E_NOTIMPL ((HRESULT)0x80004001)
#define E_NOINTERFACE ((HRESULT)0x80004002)
#define E_POINTER ((HRESULT)0x80004003)
#define E_FAIL ((HRESULT)0x80004005)
#define E_OUTOFMEMORY ((HRESULT)0x8007000E)
#define E_INVALIDARG ((HRESULT)0x80070057)

#define STG_E_INVALIDFUNCTION ((HRESULT)0x80030001)
#define STG_E_FILENOTFOUND ((HRESULT)0x80030002)
#define STG_E_PATHNOTFOUND ((HRESULT)0x80030003)
#define STG_E_TOOMANYOPENFILES ((HRESULT)0x80030004)
#define STG_E_ACCESSDENIED ((HRESULT)0x80030005)
#define STG_E_INVALIDHANDLE ((HRESULT)0x80030006)
#define STG_E_INSUFFICIENTMEMORY ((HRESULT)0x80030008)
#define STG_E_INVALIDPOINTER ((HRESULT)0x80030009)
#define STG_E_NOMOREFILES ((HRESULT)0x80030012)
#define STG_E_DISKISWRITEPROTECTED ((HRESULT)0x80030013)
#define STG_E_SEEKERROR ((HRESULT)0x80030019)
#define STG_E_WRITEFAULT ((HRESULT)0x8003001D)
#define STG_E_READFAULT ((HRESULT)0x8003001E)
#define STG_E_SHAREVIOLATION ((HRESULT)0x80030020)  // another process holds the file
#define STG_E_LOCKVIOLATION ((HRESULT)0x80030021)
#define STG_E_FILEALREADYEXISTS ((HRESULT)0x80030050)
#define STG_E_INVALIDPARAMETER ((HRESULT)0x80030057)
#define STG_E_MEDIUMFULL ((HRESULT)0x80030070)
#define STG_E_PROPSETMISMATCHED ((HRESULT)0x800300F0)
#define STG_E_ABNORMALAPIEXIT ((HRESULT)0x800300FA)
#define STG_E_INVALIDHEADER ((HRESULT)0x800300FB)
#define STG_E_INVALIDNAME ((HRESULT)0x800300FC)
#define STG_E_UNKNOWN ((HRESULT)0x800300FD)
#define STG_E_UNIMPLEMENTEDFUNCTION ((HRESULT)0x800300FE)
#define STG_E_INVALIDFLAG ((HRESULT)0x800300FF)
#define STG_E_INUSE ((HRESULT)0x80030100)
#define STG_E_NOTCURRENT ((HRESULT)0x80030101)
#define STG_E_REVERTED ((HRESULT)0x80030102)
#define STG_E_CANTSAVE ((HRESULT)0x80030103)
#define STG_E_OLDFORMAT ((HRESULT)0x80030104)
#define STG_E_OLDDLL ((HRESULT)0x80030105)
#define STG_E_SHAREREQUIRED ((HRESULT)0x80030106)
#define STG_E_NOTFILEBASEDSTORAGE ((HRESULT)0x80030107)
#define STG_E_EXTANTMARSHALLINGS ((HRESULT)0x80030108)
#define STG_E_DOCFILECORRUPT ((HRESULT)0x80030109)
#define STG_E_BADBASEADDRESS ((HRESULT)0x80030110)
#define STG_E_INCOMPLETE ((HRESULT)0x80030201)
#define STG_E_TERMINATED ((HRESULT)0x80030202)

// ---------------------------------------------------------------------------------------------
// Interfaces
// ---------------------------------------------------------------------------------------------

// The methods of each interface are declared in the SDK's order: callers on Windows reach them
// through the same table slots, so the order is part of the contract.

// Reference counting and interface lookup, the base of every other interface. Each pointer
// handed out carries one reference, given back with Release.
struct IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
};

struct ISequentialStream : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Read(void* pv, ULONG cb, ULONG* pcbRead) = 0;
    virtual HRESULT STDMETHODCALLTYPE Write(const void* pv, ULONG cb, ULONG* pcbWritten) = 0;
};

// The bytes of one stream, with a seek position.
struct IStream : public ISequentialStream {
    virtual HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin,
                                           ULARGE_INTEGER* plibNewPosition) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER libNewSize) = 0;
    virtual HRESULT STDMETHODCALLTYPE CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                                             ULARGE_INTEGER* pcbWritten) = 0;
    virtual HRESULT STDMETHODCALLTYPE Commit(DWORD grfCommitFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Revert() = 0;
    virtual HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb,
                                                 DWORD dwLockType) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb,
                                                   DWORD dwLockType) = 0;
    virtual HRESULT STDMETHODCALLTYPE Stat(STATSTG* pstatstg, DWORD grfStatFlag) = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IStream** ppstm) = 0;
};

// Walks the direct children of one storage. Next gives S_OK while it delivers as many records
// as were asked for, S_FALSE when fewer are left.
struct IEnumSTATSTG : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG celt, STATSTG* rgelt, ULONG* pceltFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG celt) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumSTATSTG** ppenum) = 0;
};

// A directory of a compound file: the root or a sub-storage.
struct IStorage : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE CreateStream(const OLECHAR* pwcsName, DWORD grfMode, DWORD reserved1,
                                                   DWORD reserved2, IStream** ppstm) = 0;
    virtual HRESULT STDMETHODCALLTYPE OpenStream(const OLECHAR* pwcsName, void* reserved1, DWORD grfMode,
                                                 DWORD reserved2, IStream** ppstm) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateStorage(const OLECHAR* pwcsName, DWORD grfMode, DWORD reserved1,
                                                    DWORD reserved2, IStorage** ppstg) = 0;
    virtual HRESULT STDMETHODCALLTYPE OpenStorage(const OLECHAR* pwcsName, IStorage* pstgPriority,
                                                  DWORD grfMode, SNB snbExclude, DWORD reserved,
                                                  IStorage** ppstg) = 0;
    virtual HRESULT STDMETHODCALLTYPE CopyTo(DWORD ciidExclude, const IID* rgiidExclude, SNB snbExclude,
                                             IStorage* pstgDest) = 0;
    virtual HRESULT STDMETHODCALLTYPE MoveElementTo(const OLECHAR* pwcsName, IStorage* pstgDest,
                                                    const OLECHAR* pwcsNewName, DWORD grfFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Commit(DWORD grfCommitFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Revert() = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3,
                                                   IEnumSTATSTG** ppenum) = 0;
    virtual HRESULT STDMETHODCALLTYPE DestroyElement(const OLECHAR* pwcsName) = 0;
    virtual HRESULT STDMETHODCALLTYPE RenameElement(const OLECHAR* pwcsOldName,
                                                    const OLECHAR* pwcsNewName) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetElementTimes(const OLECHAR* pwcsName, const FILETIME* pctime,
                                                      const FILETIME* patime, const FILETIME* pmtime) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetClass(REFCLSID clsid) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetStateBits(DWORD grfStateBits, DWORD grfMask) = 0;
    virtual HRESULT STDMETHODCALLTYPE Stat(STATSTG* pstatstg, DWORD grfStatFlag) = 0;
};

// Walks the properties of one set.
struct IEnumSTATPROPSTG : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG celt, STATPROPSTG* rgelt, ULONG* pceltFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG celt) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumSTATPROPSTG** ppenum) = 0;
};

// Walks the property sets of one storage.
struct IEnumSTATPROPSETSTG : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG celt, STATPROPSETSTG* rgelt, ULONG* pceltFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG celt) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumSTATPROPSETSTG** ppenum) = 0;
};

// One property set. ReadMultiple gives S_FALSE when none of the asked properties exists, and
// ReadPropertyNames S_FALSE when none of the ids has a name.
struct IPropertyStorage : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE ReadMultiple(ULONG count, const PROPSPEC properties[],
                                                   PROPVARIANT rgpropvar[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE WriteMultiple(ULONG count, const PROPSPEC properties[],
                                                    const PROPVARIANT rgpropvar[], PROPID propidNameFirst) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteMultiple(ULONG count, const PROPSPEC properties[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReadPropertyNames(ULONG cpropid, const PROPID rgpropid[],
                                                        LPOLESTR rglpwstrName[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE WritePropertyNames(ULONG cpropid, const PROPID rgpropid[],
                                                         const LPOLESTR rglpwstrName[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeletePropertyNames(ULONG cpropid, const PROPID rgpropid[]) = 0;
    virtual HRESULT STDMETHODCALLTYPE Commit(DWORD grfCommitFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Revert() = 0;
    virtual HRESULT STDMETHODCALLTYPE Enum(IEnumSTATPROPSTG** ppenum) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetTimes(const FILETIME* pctime, const FILETIME* patime,
                                               const FILETIME* pmtime) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetClass(REFCLSID clsid) = 0;
    virtual HRESULT STDMETHODCALLTYPE Stat(STATPROPSETSTG* pstatpsstg) = 0;
};

// The property sets of one storage, reached from it with QueryInterface.
struct IPropertySetStorage : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Create(REFFMTID rfmtid, const CLSID* pclsid, DWORD grfFlags,
                                             DWORD grfMode, IPropertyStorage** ppprstg) = 0;
    virtual HRESULT STDMETHODCALLTYPE Open(REFFMTID rfmtid, DWORD grfMode, IPropertyStorage** ppprstg) = 0;
    virtual HRESULT STDMETHODCALLTYPE Delete(REFFMTID rfmtid) = 0;
    virtual HRESULT STDMETHODCALLTYPE Enum(IEnumSTATPROPSETSTG** ppenum) = 0;
};

// Interface ids, with their values for the implementation that defines them.
extern const IID IID_IUnknown;             // {00000000-0000-0000-C000-000000000046}
extern const IID IID_ISequentialStream;    // {0C733A30-2A1C-11CE-ADE5-00AA0044773D}
extern const IID IID_IStream;              // {0000000C-0000-0000-C000-000000000046}
extern const IID IID_IEnumSTATSTG;         // {0000000D-0000-0000-C000-000000000046}
extern const IID IID_IStorage;             // {0000000B-0000-0000-C000-000000000046}
extern const IID IID_IPropertyStorage;     // {00000138-0000-0000-C000-000000000046}
extern const IID IID_IEnumSTATPROPSTG;     // {00000139-0000-0000-C000-000000000046}
extern const IID IID_IPropertySetStorage;  // {0000013A-0000-0000-C000-000000000046}
extern const IID IID_IEnumSTATPROPSETSTG;  // {0000013B-0000-0000-C000-000000000046}

// The ids of the well-known property sets.
extern const FMTID FMTID_SummaryInformation;     // {F29F85E0-4FF9-1068-AB91-08002B27B3D9}
extern const FMTID FMTID_DocSummaryInformation;  // {D5CDD502-2E9C-101B-9397-08002B2CF9AE}
// The user-defined properties: the second section of the document summary set's stream.
extern const FMTID FMTID_UserDefinedProperties;  // {D5CDD505-2E9C-101B-9397-08002B2CF9AE}

// ---------------------------------------------------------------------------------------------
// Functions
// ---------------------------------------------------------------------------------------------

// Opens a file as a root storage. On success *ppstgOpen holds one new reference.
HRESULT WINAPI StgOpenStorage(const WCHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode, SNB snbExclude,
                              DWORD reserved, IStorage** ppstgOpen);

// S_OK when the file is a compound file, S_FALSE when it is some other file, an error when it
// cannot be read.
HRESULT WINAPI StgIsStorageFile(const WCHAR* pwcsName);

// The allocator for memory that crosses the interfaces: names in STATSTG and STATPROPSTG, the
// names of ReadPropertyNames. CoTaskMemFree takes null.
void* WINAPI CoTaskMemAlloc(size_t cb);
void WINAPI CoTaskMemFree(void* pv);

// Frees what a value owns and leaves it VT_EMPTY.
HRESULT WINAPI PropVariantClear(PROPVARIANT* pvar);

// Writes a GUID as "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" with upper-case digits and a
// terminator. Gives the units written, terminator included, or 0 when cchMax is below 39.
int WINAPI StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax);

// File functions. CopyFileW overwrites an existing target unless bFailIfExists is set, and
// gives non-zero on success; GetFileAttributesW gives INVALID_FILE_ATTRIBUTES on failure.
BOOL WINAPI CopyFileW(const WCHAR* lpExistingFileName, const WCHAR* lpNewFileName, BOOL bFailIfExists);
DWORD WINAPI GetFileAttributesW(const WCHAR* lpFileName);
BOOL WINAPI SetFileAttributesW(const WCHAR* lpFileName, DWORD dwFileAttributes);

// ---------------------------------------------------------------------------------------------
// Layout checks: the sizes and offsets of 64-bit Windows (and, where no pointer is involved,
// of every Windows).
// ---------------------------------------------------------------------------------------------

static_assert(sizeof(HRESULT) == 4 && sizeof(ULONG) == 4 && sizeof(LONG) == 4 && sizeof(DWORD) == 4,
              "32-bit integer types");
static_assert(sizeof(WCHAR) == 2, "16-bit text units");
static_assert(sizeof(VARTYPE) == 2 && sizeof(VARIANT_BOOL) == 2, "16-bit value type and boolean");
static_assert(sizeof(LARGE_INTEGER) == 8 && sizeof(ULARGE_INTEGER) == 8 && sizeof(CY) == 8, "64-bit unions");
static_assert(sizeof(DECIMAL) == 16 && offsetof(DECIMAL, Hi32) == 4 && offsetof(DECIMAL, Lo64) == 8,
              "DECIMAL layout");
static_assert(offsetof(PROPVARIANT, vt) == 0 && offsetof(PROPVARIANT, wReserved3) == 6 &&
                  offsetof(PROPVARIANT, lVal) == 8 && offsetof(PROPVARIANT, filetime) == 8,
              "PROPVARIANT header");
static_assert(offsetof(STATPROPSETSTG, grfFlags) == 32 && offsetof(STATPROPSETSTG, mtime) == 36 &&
                  offsetof(STATPROPSETSTG, dwOSVersion) == 60 && sizeof(STATPROPSETSTG) == 64,
              "STATPROPSETSTG layout");
#if UINTPTR_MAX == 0xFFFFFFFFFFFFFFFFu
static_assert(sizeof(PROPVARIANT) == 24 && offsetof(PROPVARIANT, blob.pBlobData) == 16 &&
                  offsetof(PROPVARIANT, cal.pElems) == 16,
              "PROPVARIANT layout");
static_assert(sizeof(STATSTG) == 80 && offsetof(STATSTG, type) == 8 && offsetof(STATSTG, cbSize) == 16 &&
                  offsetof(STATSTG, mtime) == 24 && offsetof(STATSTG, grfMode) == 48 &&
                  offsetof(STATSTG, clsid) == 56 && offsetof(STATSTG, grfStateBits) == 72,
              "STATSTG layout");
static_assert(sizeof(STATPROPSTG) == 16 && offsetof(STATPROPSTG, propid) == 8 &&
                  offsetof(STATPROPSTG, vt) == 12,
              "STATPROPSTG layout");
static_assert(sizeof(PROPSPEC) == 16 && offsetof(PROPSPEC, propid) == 8, "PROPSPEC layout");
static_assert(sizeof(BLOB) == 16 && sizeof(CLIPDATA) == 16 && sizeof(CAUL) == 16, "counted records");
#endif

#endif  // _WIN32

// ---------------------------------------------------------------------------------------------
// Checks that hold with the SDK's declarations and with the ones above alike.
// ---------------------------------------------------------------------------------------------

static_assert(sizeof(GUID) == 16, "GUID is 16 bytes");
static_assert(sizeof(FILETIME) == 8, "FILETIME is two 32-bit halves");
static_assert(sizeof(STATPROPSETSTG) == 64, "STATPROPSETSTG holds no pointer and has one size");

#endif
