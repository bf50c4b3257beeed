#include "StstgHostProperties.h"

#include <cstdio>
#include <cstring>
#include <vector>

#include "StstgText.h"
#include "TOVXStructuredStorageUtils.h"

namespace ststg {

namespace {

constexpr uint32_t kBytesShown = 16;

// "N bytes: 01 02 ..." with the first bytes in hex, and "..." when there are more.
std::string bytesText(const unsigned char* bytes, uint32_t count) {
    std::string text = std::to_string(count) + (count == 1 ? " byte" : " bytes");
    for (uint32_t i = 0; i < count && i < kBytesShown && bytes != nullptr; ++i) {
        char hex[4];
        std::snprintf(hex, sizeof hex, "%02x", bytes[i]);
        text += (i == 0 ? ": " : " ") + std::string(hex);
    }
    return count > kBytesShown ? text + " ..." : text;
}

// How large one element of a vector of `type` is, and whether the single value holds a
// pointer to it (class ids and clipboard data) rather than the element itself; 0 for a
// type no vector holds.
size_t elementSize(VARTYPE type, bool& byPointer) {
    byPointer = false;
    switch (type) {
        case VT_I1: case VT_UI1: return 1;
        case VT_I2: case VT_UI2: case VT_BOOL: return 2;
        case VT_I4: case VT_UI4: case VT_R4: case VT_ERROR: return 4;
        case VT_I8: case VT_UI8: case VT_R8: case VT_CY: case VT_DATE: case VT_FILETIME: return 8;
        case VT_LPSTR: case VT_LPWSTR: case VT_BSTR: return sizeof(void*);
        case VT_VARIANT: return sizeof(PROPVARIANT);
        case VT_CLSID: byPointer = true; return sizeof(CLSID);
        case VT_CF: byPointer = true; return sizeof(CLIPDATA);
        default: return 0;
    }
}

std::string elementText(const PROPVARIANT& element) {
    TOVXString text;
    int type = -1;
    TOVXStructuredStorageUtils::ConvertValueToString(element, text, type);
    std::string human, json;
    if (type == 0 && humanValue(element, human, json)) return human;
    return text.ToUtf8();
}

// The elements of a vector as text. Every counted vector of the value's union has its count
// and its pointer at the same place, so the bytes of the n-th element are found alike for
// all of them and copied into a single value of the element's type.
bool vectorElements(const PROPVARIANT& value, std::vector<std::string>& elements) {
    const VARTYPE type = static_cast<VARTYPE>(value.vt & VT_TYPEMASK);
    bool byPointer = false;
    const size_t size = elementSize(type, byPointer);
    if (size == 0) return false;
    const unsigned char* first = reinterpret_cast<const unsigned char*>(value.cac.pElems);
    for (ULONG i = 0; i < value.cac.cElems && first != nullptr; ++i) {
        const unsigned char* at = first + i * size;
        if (type == VT_VARIANT) {
            elements.push_back(elementText(*reinterpret_cast<const PROPVARIANT*>(at)));
            continue;
        }
        PROPVARIANT element;
        std::memset(&element, 0, sizeof element);
        element.vt = type;
        if (byPointer) std::memcpy(&element.puuid, &at, sizeof at);
        else std::memcpy(&element.cVal, at, size);
        elements.push_back(elementText(element));
    }
    return true;
}

}  // namespace

bool humanValue(const PROPVARIANT& value, std::string& text, std::string& json) {
    if (value.vt & VT_VECTOR) {
        std::vector<std::string> elements;
        if (!vectorElements(value, elements)) return false;
        json = "[";
        for (size_t i = 0; i < elements.size(); ++i) json += (i > 0 ? ", " : "") + jsonString(elements[i]);
        json += "]";
        text = json;
        return true;
    }
    if (value.vt == VT_BLOB) {
        text = bytesText(value.blob.pBlobData, value.blob.cbSize);
    } else if (value.vt == VT_CF && value.pclipdata != nullptr) {
        // The size counts the format word before the data.
        const uint32_t data = value.pclipdata->cbSize >= 4 ? value.pclipdata->cbSize - 4 : 0;
        text = "clipboard format " + std::to_string(value.pclipdata->ulClipFmt) + ", " + bytesText(value.pclipdata->pClipData, data);
    } else {
        return false;
    }
    json = jsonString(text);
    return true;
}

}  // namespace ststg
