#include "TOVXStructuredStorageUtils.h"

#include <cstdio>
#include <cstring>

#include "TOVXDate.h"
#include "TOVXMemoryManager.h"
#include "TOVXProperty.h"
#include "TOVXPropertyContainer.h"
#include "TOVXPropertyHandle.h"
#include "TOVXResourceBounds.h"
#include "TOVXStorageReaderInternal.h"

namespace {

constexpr DWORD kSetMode = STGM_READ | STGM_SHARE_EXCLUSIVE;
// Formatted values are cut at this many units, with room for the terminator beyond them.
constexpr size_t kWorkUnits = 261;
constexpr unsigned short kComma = 0x2C;
constexpr unsigned short kFullStop = 0x2E;
constexpr unsigned short kBooleanTrue = 0xFFFF;

// Formats one value into the work text, at most kWorkUnits - 1 characters. The decimal
// mark is the current locale's.
template <typename... Values>
TOVXString formatted(const char* format, Values... values) {
    char buffer[kWorkUnits] = {};
    std::snprintf(buffer, sizeof buffer, format, values...);
    return TOVXString(buffer, nullptr);
}

TOVXString wideText(const WCHAR* text) { return TOVXString(reinterpret_cast<const unsigned short*>(text)); }

// The work text of a value that is formatted, with the value type it stands for; an
// empty text for the types that have none.
TOVXString formatValue(const PROPVARIANT& value, int& valueType) {
    switch (value.vt) {
        case VT_EMPTY:
        case VT_NULL:
        case VT_VOID:
            return TOVXString();  // neither text nor value type
        case VT_I2: valueType = ValueTypeInteger; return formatted("%i", static_cast<int>(value.iVal));
        case VT_I4:
        case VT_INT: valueType = ValueTypeInteger; return formatted("%li", static_cast<long>(value.lVal));
        case VT_R4: valueType = ValueTypeFloat; return formatted("%f", static_cast<double>(value.fltVal));
        case VT_R8: valueType = ValueTypeFloat; return formatted("%lf", value.dblVal);
        // Currency keeps the locale's decimal mark: only the floating types are made to use a point.
        case VT_CY:
            valueType = ValueTypeText;
            return formatted("$%lf", static_cast<double>(value.cyVal.int64) / 10000.0);
        case VT_ERROR:
            valueType = ValueTypeInteger;
            return formatted("0x%08X", static_cast<unsigned int>(static_cast<uint32_t>(value.scode)));
        // Only the stored 0xFFFF is true; any other non-zero word reads false.
        case VT_BOOL:
            valueType = ValueTypeBoolean;
            return formatted("%s", static_cast<unsigned short>(value.boolVal) == kBooleanTrue ? "True" : "False");
        // The 8-bit integers count as text, unlike the wider ones.
        case VT_I1: valueType = ValueTypeText; return formatted("%i", static_cast<int>(static_cast<signed char>(value.cVal)));
        case VT_UI1: valueType = ValueTypeText; return formatted("%u", static_cast<unsigned int>(value.bVal));
        case VT_UI2: valueType = ValueTypeInteger; return formatted("%u", static_cast<unsigned int>(value.uiVal));
        case VT_UI4:
        case VT_UINT: valueType = ValueTypeInteger; return formatted("%lu", static_cast<unsigned long>(value.ulVal));
        case VT_I8: valueType = ValueTypeInteger; return formatted("%lld", static_cast<long long>(value.hVal.QuadPart));
        case VT_UI8:
            valueType = ValueTypeInteger;
            return formatted("%llu", static_cast<unsigned long long>(value.uhVal.QuadPart));
        case VT_CLSID: {
            valueType = ValueTypeInteger;
            WCHAR buffer[kWorkUnits] = {};
            // A value that points at no id has no text; the platform never hands one out.
            if (value.puuid != nullptr) StringFromGUID2(*value.puuid, buffer, static_cast<int>(kWorkUnits - 1));
            return wideText(buffer);
        }
        default:
            // Dates (VT_DATE), decimals, blobs, and every vector, array or reference.
            valueType = ValueTypeUnknown;
            return formatted("%s", "...");
    }
}

// Reads one value of `set` into text and type; the platform's memory is given back.
TOVXResult readValue(IPropertyStorage* set, const PROPSPEC& which, TOVXString& value, int& valueType) {
    TOVXResult result(TOVX_E_FAIL);
    PROPVARIANT variant;
    std::memset(&variant, 0, sizeof variant);
    const HRESULT code = set->ReadMultiple(1, &which, &variant);
    // S_FALSE: the set has no such property.
    if (SUCCEEDED(code) && code != S_FALSE)
        result = TOVXStructuredStorageUtils::ConvertValueToString(variant, value, valueType);
    PropVariantClear(&variant);
    return result;
}

}  // namespace

GUID TOVXStructuredStorageUtils::StorageIDToFMTID(const unsigned char* id) {
    // The id's bytes stand in the order of its printed form, so the three numeric fields
    // read as big-endian numbers; the last eight bytes are taken as they are.
    GUID fmtid;
    fmtid.Data1 = static_cast<uint32_t>(id[0]) << 24 | static_cast<uint32_t>(id[1]) << 16 |
                  static_cast<uint32_t>(id[2]) << 8 | static_cast<uint32_t>(id[3]);
    fmtid.Data2 = static_cast<uint16_t>(id[4] << 8 | id[5]);
    fmtid.Data3 = static_cast<uint16_t>(id[6] << 8 | id[7]);
    std::memcpy(fmtid.Data4, id + 8, sizeof fmtid.Data4);
    return fmtid;
}

TOVXResult TOVXStructuredStorageUtils::OpenPropertySetStorage(IStorage* storage, IPropertySetStorage*& out) {
    if (storage == nullptr) return TOVXResult(TOVX_E_NULL_STORAGE);
    IPropertySetStorage* view = nullptr;
    if (storage->QueryInterface(IID_IPropertySetStorage, reinterpret_cast<void**>(&view)) != S_OK)
        return TOVXResult(TOVX_E_FAIL);
    out = view;
    return TOVXResult(TOVX_OK);
}

TOVXResult TOVXStructuredStorageUtils::OpenPropertySetWithId(IStorage* storage, const unsigned char* id,
                                                             IPropertyStorage*& out) {
    if (storage == nullptr) return TOVXResult(TOVX_E_NULL_POINTER);
    const GUID fmtid = StorageIDToFMTID(id);
    IPropertySetStorage* view = nullptr;
    HRESULT code = storage->QueryInterface(IID_IPropertySetStorage, reinterpret_cast<void**>(&view));
    if (FAILED(code) || view == nullptr) return TOVXResult(TOVX_E_FAIL);
    TOVXResult result(TOVX_E_FAIL);
    IPropertyStorage* set = nullptr;
    code = view->Open(fmtid, kSetMode, &set);
    if (SUCCEEDED(code) && set != nullptr) {
        out = set;
        result = TOVX_OK;
    }
    view->Release();  // the set stands on its own
    return result;
}

// Memory that runs out gives TOVX_E_FAIL, in every function of the class (TOVXResourceBounds.h).
TOVXResult TOVXStructuredStorageUtils::OpenPropertySetWithName(IPropertySetStorage* sets, int propertyId,
                                                               const TOVXString& name, IPropertyStorage*& out) try {
    if (sets == nullptr) return TOVXResult(TOVX_E_NULL_POINTER);
    TOVXResult result(TOVX_E_FAIL);
    IEnumSTATPROPSETSTG* records = nullptr;
    if (FAILED(sets->Enum(&records)) || records == nullptr) return result;
    const TOVXReleasedAtEnd<IEnumSTATPROPSETSTG> enumerator(records);
    STATPROPSETSTG record;
    std::memset(&record, 0, sizeof record);
    while (records->Next(1, &record, nullptr) == S_OK) {
        IPropertyStorage* set = nullptr;
        if (FAILED(sets->Open(record.fmtid, kSetMode, &set)) || set == nullptr) continue;
        // Sets open exclusively: this one goes before the next is opened, unless it is the one.
        const TOVXReleasedAtEnd<IPropertyStorage> opened(set);
        TOVXString value;
        int valueType = ValueTypeNotFound;
        // A set without the property reads as empty text, so an empty `name` takes it.
        result = GetValueWithId(propertyId, set, value, valueType);
        if (value.equals(name)) {
            out = set;
            set = nullptr;
            result = TOVX_OK;
            break;
        }
    }
    return result;
} catch (...) {
    return TOVXResult(TOVX_E_FAIL);
}

TOVXResult TOVXStructuredStorageUtils::OpenAllPropertyStorages(IPropertySetStorage* sets,
                                                               TOVXDynamicArray<IPropertyStorage*>& out) {
    if (sets == nullptr) return TOVXResult(TOVX_E_NULL_POINTER);
    TOVXResult result(TOVX_E_FAIL);
    IEnumSTATPROPSETSTG* records = nullptr;
    const HRESULT code = sets->Enum(&records);
    if (SUCCEEDED(code) && records != nullptr) {
        STATPROPSETSTG record;
        std::memset(&record, 0, sizeof record);
        while (records->Next(1, &record, nullptr) == S_OK) {
            IPropertyStorage* set = nullptr;
            if (sets->Open(record.fmtid, kSetMode, &set) != S_OK) continue;
            const int before = out.Count();
            out.Add(set);
            if (out.Count() == before) set->Release();  // no memory left to hold it
        }
    }
    if (records != nullptr) records->Release();
    // Counts what `out` held before the call as well.
    if (out.Count() > 0) result = TOVX_OK;
    return result;
}

bool TOVXStructuredStorageUtils::ClosePropertySetStorage(IPropertySetStorage* sets) {
    return tovxReleaseInterface(sets);
}

bool TOVXStructuredStorageUtils::ClosePropertyStorage(IPropertyStorage* set) { return tovxReleaseInterface(set); }

TOVXResult TOVXStructuredStorageUtils::ConvertValueToString(const PROPVARIANT& value, TOVXString& text,
                                                            int& valueType) try {
    switch (value.vt) {
        // Strings are assigned at once, even when empty; the wide string is the exception.
        case VT_BSTR:
            text = wideText(value.bstrVal);
            valueType = ValueTypeText;
            return TOVXResult(TOVX_OK);
        // Narrow text as the platform hands it out: UTF-8 here (the base decodes other bytes as
        // Windows-1252); the set's code page plays no part.
        case VT_LPSTR:
            text = TOVXString(value.pszVal, nullptr);
            valueType = ValueTypeText;
            return TOVXResult(TOVX_OK);
        // A null pointer changes nothing; empty text sets the type and leaves the text alone.
        case VT_LPWSTR:
            if (value.pwszVal == nullptr) return TOVXResult(TOVX_OK);
            valueType = ValueTypeText;
            if (value.pwszVal[0] != 0) text = wideText(value.pwszVal);
            return TOVXResult(TOVX_OK);
        case VT_FILETIME:
            valueType = ValueTypeDate;
            TOVXDate::FormatDate(value.filetime, text, 1, false);
            return TOVXResult(TOVX_OK);
        default:
            break;
    }
    const TOVXString work = formatValue(value, valueType);
    // Formatted text never replaces text the caller already holds; the value type stands.
    if (work.length() == 0 || text.length() != 0) return TOVXResult(TOVX_OK);
    // Floating-point numbers show a point whatever the locale's decimal mark.
    text = value.vt == VT_R4 || value.vt == VT_R8 ? work.replace(kComma, kFullStop) : work;
    return TOVXResult(TOVX_OK);
} catch (...) {
    return TOVXResult(TOVX_E_FAIL);
}

TOVXResult TOVXStructuredStorageUtils::GetValueWithId(int propertyId, IPropertyStorage* set, TOVXString& value,
                                                      int& valueType) {
    if (set == nullptr) return TOVXResult(TOVX_E_NULL_POINTER);
    valueType = ValueTypeNotFound;
    value = TOVXString();
    PROPSPEC which;
    std::memset(&which, 0, sizeof which);
    which.ulKind = PRSPEC_PROPID;
    which.propid = static_cast<PROPID>(propertyId);
    return readValue(set, which, value, valueType);
}

TOVXResult TOVXStructuredStorageUtils::GetValueWithName(const TOVXString& name, IPropertyStorage* set,
                                                        TOVXString& value, int& valueType) try {
    if (set == nullptr) return TOVXResult(TOVX_E_NULL_POINTER);
    valueType = ValueTypeNotFound;
    value = TOVXString();
    unsigned short* wide = nullptr;
    const TOVXResult converted = TOVXStringToWideChars(name, wide);
    if (!converted.IsSuccess() || wide == nullptr) {
        if (wide != nullptr) TOVXReleaseWideChars(wide);
        return converted;
    }
    PROPSPEC which;
    std::memset(&which, 0, sizeof which);
    which.ulKind = PRSPEC_LPWSTR;
    which.lpwstr = reinterpret_cast<LPOLESTR>(wide);
    const TOVXResult result = readValue(set, which, value, valueType);
    TOVXReleaseWideChars(wide);
    return result;
} catch (...) {
    return TOVXResult(TOVX_E_FAIL);
}

TOVXResult TOVXStructuredStorageUtils::GetPropertySetName(int propertyId, IPropertyStorage* set, TOVXString& name) try {
    if (set == nullptr) return TOVXResult(TOVX_E_NULL_POINTER);
    TOVXResult result(TOVX_E_FAIL);
    name = TOVXString();
    const PROPID id = static_cast<PROPID>(propertyId);
    LPOLESTR text = nullptr;
    const HRESULT code = set->ReadPropertyNames(1, &id, &text);
    const TOVXFreedAtEnd<OLECHAR> given(text);
    name = wideText(text);  // null for a property without a name: empty text
    if (code == S_OK) result = TOVX_OK;
    return result;
} catch (...) {
    return TOVXResult(TOVX_E_FAIL);
}

TOVXResult TOVXStructuredStorageUtils::GetAllPropertySets(IPropertyStorage* set, TOVXPropertyContainerHandle& out) try {
    if (set == nullptr) return TOVXResult(TOVX_E_NULL_POINTER);
    TOVXResult result(TOVX_E_FAIL);
    IEnumSTATPROPSTG* records = nullptr;
    if (FAILED(set->Enum(&records)) || records == nullptr) return result;
    const TOVXReleasedAtEnd<IEnumSTATPROPSTG> enumerator(records);
    TOVXDynamicArray<TOVXPropertyHandle> properties;
    STATPROPSTG record;
    std::memset(&record, 0, sizeof record);
    while (records->Next(1, &record, nullptr) == S_OK) {
        // The name comes from the set's dictionary alone; the record's copy is not used.
        const TOVXFreedAtEnd<OLECHAR> recordName(record.lpwstrName);
        const int id = static_cast<int>(record.propid);
        TOVXString name;
        TOVXString value;
        int valueType = ValueTypeNotFound;
        // A property whose name or value cannot be read still goes in, with what the reads left.
        GetPropertySetName(id, set, name);
        GetValueWithId(id, set, value, valueType);
        const TOVXPropertyHandle property(tovxNew<TOVXProperty>(name, static_cast<ValueType>(valueType), value));
        if (property.IsValid()) property->SetID(record.propid);
        properties.Add(property);  // an empty handle too, when no memory was left
    }
    out = TOVXPropertyContainerHandle(tovxNew<TOVXPropertyContainer>(properties, TOVXString()));
    const TOVXPropertyContainer* container = out;
    if (container != nullptr && out->GetNumberOfUserProperties() > 0) result = TOVX_OK;
    return result;
} catch (...) {
    return TOVXResult(TOVX_E_FAIL);
}
