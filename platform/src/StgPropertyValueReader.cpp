#include "StgPropertyValueReader.h"

#include "StgCodePage.h"
#include "StgText.h"

#include <cstring>

namespace tovxstg {

namespace {

uint16_t get16(const uint8_t* bytes) { return static_cast<uint16_t>(bytes[0] | (bytes[1] << 8)); }
uint32_t get32(const uint8_t* bytes) {
    return uint32_t(bytes[0]) | (uint32_t(bytes[1]) << 8) | (uint32_t(bytes[2]) << 16) | (uint32_t(bytes[3]) << 24);
}
uint64_t get64(const uint8_t* bytes) { return uint64_t(get32(bytes)) | (uint64_t(get32(bytes + 4)) << 32); }

// The bytes that one element of a vector of this type takes in memory, 0 for a type that no
// vector of a property set holds.
size_t elementSize(VARTYPE type) {
    switch (type) {
    case VT_I1: case VT_UI1: return 1;
    case VT_I2: case VT_UI2: case VT_BOOL: return 2;
    case VT_I4: case VT_UI4: case VT_R4: case VT_ERROR: return 4;
    case VT_I8: case VT_UI8: case VT_R8: case VT_CY: case VT_DATE: case VT_FILETIME: return 8;
    case VT_CLSID: return sizeof(CLSID);
    case VT_LPSTR: case VT_LPWSTR: case VT_BSTR: return sizeof(void*);
    case VT_CF: return sizeof(CLIPDATA);
    case VT_VARIANT: return sizeof(PROPVARIANT);
    default: return 0;
    }
}

// The fewest bytes that one element of this type takes in the stream.
size_t storedElementSize(VARTYPE type) {
    switch (type) {
    case VT_I1: case VT_UI1: return 1;
    case VT_I2: case VT_UI2: case VT_BOOL: return 2;
    case VT_CLSID: return 16;
    case VT_I8: case VT_UI8: case VT_R8: case VT_CY: case VT_DATE: case VT_FILETIME: return 8;
    default: return 4;
    }
}

// Moves a decoded element into slot `index` of a vector's array; the element keeps nothing.
void storeElement(VARTYPE type, void* array, size_t index, PROPVARIANT& element) {
    switch (type) {
    case VT_CLSID:
        static_cast<CLSID*>(array)[index] = *element.puuid;
        CoTaskMemFree(element.puuid);
        break;
    case VT_CF:
        static_cast<CLIPDATA*>(array)[index] = *element.pclipdata;
        CoTaskMemFree(element.pclipdata);
        break;
    case VT_VARIANT:
        static_cast<PROPVARIANT*>(array)[index] = element;
        break;
    case VT_LPSTR: case VT_LPWSTR: case VT_BSTR:
        static_cast<void**>(array)[index] = element.pszVal;
        break;
    default:
        // Scalars sit at the start of the value's union, in their own width.
        std::memcpy(static_cast<uint8_t*>(array) + index * elementSize(type), &element.cVal, elementSize(type));
        break;
    }
    std::memset(&element, 0, sizeof element);
}

BSTR makeBstr(const std::u16string& text) {
    // The 32-bit byte count lies just before the first character.
    auto* block = static_cast<uint8_t*>(CoTaskMemAlloc(4 + (text.size() + 1) * sizeof(OLECHAR)));
    if (block == nullptr) return nullptr;
    const uint32_t byteCount = static_cast<uint32_t>(text.size() * sizeof(OLECHAR));
    std::memcpy(block, &byteCount, 4);
    auto* characters = reinterpret_cast<OLECHAR*>(block + 4);
    for (size_t i = 0; i < text.size(); ++i) characters[i] = text[i];
    characters[text.size()] = 0;
    return characters;
}

}  // namespace

bool StgPropertyValueReader::word(size_t& at, uint32_t& value) const {
    if (!bytes(at, 4)) return false;
    value = get32(data_ + at);
    at += 4;
    return true;
}

void StgPropertyValueReader::pad(size_t start, size_t& at, bool onlyIfZero) const {
    size_t target = start + ((at - start + 3) & ~size_t(3));
    if (target > size_) target = size_;
    for (size_t i = at; onlyIfZero && i < target; ++i) {
        if (data_[i] != 0) return;
    }
    at = target;
}

bool StgPropertyValueReader::isNarrowString(VARTYPE type) const {
    return type == VT_LPSTR || (type == VT_BSTR && codePage_ != kCodePageUnicode);
}

bool StgPropertyValueReader::read(size_t offset, PROPVARIANT& value, size_t* end) const {
    std::memset(&value, 0, sizeof value);
    size_t at = offset;
    bool decoded = false;
    try {
        decoded = typed(at, value, true);
    } catch (...) {
        PropVariantClear(&value);  // memory ran out: what was decoded goes back before the exception goes on
        throw;
    }
    if (end != nullptr) *end = at;
    if (decoded) return true;
    PropVariantClear(&value);
    return false;
}

bool StgPropertyValueReader::typed(size_t& at, PROPVARIANT& value, bool vectorAllowed) const {
    uint32_t type = 0;
    if (!word(at, type)) return false;
    // The upper half of the type word is padding; the array flag is not for property sets.
    const VARTYPE vt = static_cast<VARTYPE>(type & 0xFFFF);
    if (vt & VT_VECTOR) return vectorAllowed && vector(static_cast<VARTYPE>(vt & ~VT_VECTOR), at, value);
    return scalar(vt, at, value);
}

bool StgPropertyValueReader::narrowText(size_t& at, std::u16string& text) const {
    uint32_t count = 0;
    if (!word(at, count) || !bytes(at, count)) return false;
    text = decodeNarrow(data_ + at, count, codePage_);
    at += count;
    return true;
}

bool StgPropertyValueReader::wideText(size_t& at, std::u16string& text) const {
    uint32_t count = 0;
    if (!word(at, count) || count > (size_ - at) / 2) return false;
    text.clear();
    for (uint32_t i = 0; i < count; ++i) {
        const char16_t unit = get16(data_ + at + 2 * i);
        if (unit == 0) break;
        text.push_back(unit);
    }
    at += size_t(count) * 2;
    return true;
}

bool StgPropertyValueReader::readName(size_t& at, std::u16string& name) const {
    const size_t start = at;
    if (codePage_ != kCodePageUnicode) return narrowText(at, name);
    if (!wideText(at, name)) return false;
    pad(start, at, false);
    return true;
}

bool StgPropertyValueReader::scalar(VARTYPE type, size_t& at, PROPVARIANT& value) const {
    const size_t fixed = type == VT_EMPTY || type == VT_NULL ? 0 : storedElementSize(type);
    switch (type) {
    case VT_EMPTY: case VT_NULL:
        break;
    case VT_I1: case VT_UI1:
        if (!bytes(at, 1)) return false;
        value.bVal = data_[at];
        break;
    case VT_I2: case VT_UI2: case VT_BOOL:
        if (!bytes(at, 2)) return false;
        value.uiVal = get16(data_ + at);
        break;
    case VT_I4: case VT_UI4: case VT_INT: case VT_UINT: case VT_ERROR: case VT_R4:
        if (!bytes(at, 4)) return false;
        value.ulVal = get32(data_ + at);
        at += 4;
        value.vt = type;
        return true;
    case VT_I8: case VT_UI8: case VT_R8: case VT_CY: case VT_DATE: case VT_FILETIME: {
        if (!bytes(at, 8)) return false;
        const uint64_t raw = get64(data_ + at);
        std::memcpy(&value.uhVal, &raw, 8);
        break;
    }
    case VT_DECIMAL:
        if (!bytes(at, 16)) return false;
        value.decVal.scale = data_[at + 2];
        value.decVal.sign = data_[at + 3];
        value.decVal.Hi32 = get32(data_ + at + 4);
        value.decVal.Lo64 = get64(data_ + at + 8);
        at += 16;
        value.vt = type;  // the first word of a DECIMAL is the type
        return true;
    case VT_CLSID: {
        if (!bytes(at, 16)) return false;
        auto* guid = static_cast<CLSID*>(CoTaskMemAlloc(sizeof(CLSID)));
        if (guid == nullptr) return false;
        guid->Data1 = get32(data_ + at);
        guid->Data2 = get16(data_ + at + 4);
        guid->Data3 = get16(data_ + at + 6);
        std::memcpy(guid->Data4, data_ + at + 8, 8);
        value.puuid = guid;
        break;
    }
    case VT_LPSTR: case VT_BSTR: case VT_LPWSTR: {
        std::u16string text;
        if (!(type == VT_LPWSTR ? wideText(at, text) : narrowText(at, text))) return false;
        value.vt = type;
        if (type == VT_LPSTR) value.pszVal = callerCopy(utf16ToUtf8(text));
        if (type == VT_BSTR) value.bstrVal = makeBstr(text);
        if (type == VT_LPWSTR) value.pwszVal = callerCopy(text);
        if (value.pszVal == nullptr) value.vt = VT_EMPTY;
        return value.pszVal != nullptr;
    }
    case VT_BLOB: {
        uint32_t count = 0;
        if (!word(at, count) || !bytes(at, count)) return false;
        value.blob.pBlobData = static_cast<BYTE*>(CoTaskMemAlloc(count));
        if (value.blob.pBlobData == nullptr) return false;
        value.blob.cbSize = count;
        std::memcpy(value.blob.pBlobData, data_ + at, count);
        at += count;
        value.vt = type;
        return true;
    }
    case VT_CF: {
        uint32_t count = 0;
        uint32_t format = 0;
        if (!word(at, count) || count < 4 || !word(at, format) || !bytes(at, count - 4)) return false;
        auto* clip = static_cast<CLIPDATA*>(CoTaskMemAlloc(sizeof(CLIPDATA)));
        if (clip == nullptr) return false;
        clip->cbSize = count;  // counts the format and the data
        clip->ulClipFmt = static_cast<LONG>(format);
        clip->pClipData = static_cast<BYTE*>(CoTaskMemAlloc(count - 4));
        if (clip->pClipData == nullptr) {
            CoTaskMemFree(clip);
            return false;
        }
        std::memcpy(clip->pClipData, data_ + at, count - 4);
        value.pclipdata = clip;
        at += count - 4;
        value.vt = type;
        return true;
    }
    default:
        return false;  // streams, storages, arrays and the like belong to no simple property set
    }
    at += fixed;
    value.vt = type;
    return true;
}

bool StgPropertyValueReader::vector(VARTYPE type, size_t& at, PROPVARIANT& value) const {
    uint32_t count = 0;
    const size_t size = elementSize(type);
    if (size == 0 || !word(at, count) || count > (size_ - at) / storedElementSize(type)) return false;
    void* array = CoTaskMemAlloc(size_t(count) * size);
    if (array == nullptr) return false;
    std::memset(array, 0, size_t(count) * size);
    value.vt = static_cast<VARTYPE>(VT_VECTOR | type);
    value.cac.pElems = static_cast<CHAR*>(array);  // every counted vector has this one layout
    for (uint32_t i = 0; i < count; ++i) {
        const size_t start = at;
        PROPVARIANT element;
        std::memset(&element, 0, sizeof element);
        if (type == VT_VARIANT ? !typed(at, element, false) : !scalar(type, at, element)) {
            PropVariantClear(&element);
            return false;  // the caller clears the elements stored so far
        }
        const VARTYPE stored = element.vt;
        storeElement(type, array, i, element);
        value.cac.cElems = i + 1;
        // Strings, blobs, clipboard data and variants end on a 4-byte boundary. Many writers
        // leave narrow strings unpadded, so those skip only padding that reads as zeros.
        if (type == VT_VARIANT || type == VT_LPSTR || type == VT_BSTR || type == VT_LPWSTR || type == VT_CF) {
            pad(start, at, isNarrowString(type == VT_VARIANT ? stored : type));
        }
    }
    return true;
}

}  // namespace tovxstg
