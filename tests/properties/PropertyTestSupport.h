#ifndef TOVX_TEST_PROPERTY_TEST_SUPPORT_H
#define TOVX_TEST_PROPERTY_TEST_SUPPORT_H

#include <cstdio>
#include <string>

#include "PropertyStreamBuilder.h"
#include "TOVIPropertyStorage.h"
#include "TOVIPropertyStorageHandle.h"
#include "TOVXMemoryManager.h"

namespace tovxtest {

// A set parsed from `bytes`, held by a handle so that it dies with the handle.
struct ParsedSet {
    TOVIPropertyStorageHandle handle;
    bool accepted;

    explicit ParsedSet(const Bytes& bytes)
        : handle(tovxNew<TOVIPropertyStorage>()), accepted(handle->InitializeFromBuffer(bytes.empty() ? nullptr : bytes.data(), int(bytes.size()))) {}
    TOVIPropertyStorage* operator->() { return handle; }

    int count() { return handle->GetPropertyArray().Count(); }
    uint32_t idAt(int index) { return (*handle->GetPropertyArray().At(index))->GetID(); }
    // Value text, value type and name of the property with `id` (text in UTF-8); "<none>" or -100 without one.
    std::string text(uint32_t id) { return with(id) ? with(id)->GetValue().ToUtf8() : "<none>"; }
    int type(uint32_t id) { return with(id) ? int(with(id)->GetValueType()) : -100; }
    std::string name(uint32_t id) { return with(id) ? with(id)->GetPropertyName().ToUtf8() : "<none>"; }
    TOVXPropertyHandle with(uint32_t id) { return handle->GetPropertyWithID(int(id)); }
    // The set's id as 32 hex digits, in stored order.
    std::string idHex() {
        unsigned char id[16];
        handle->GetPropertyStorageID(id);
        std::string out;
        char digits[3];
        for (unsigned char byte : id) out += (std::snprintf(digits, sizeof digits, "%02X", byte), digits);
        return out;
    }
};

inline Bytes codePageI2(uint16_t codePage) { return typed(2, concat({le16(codePage), le16(0)})); }

}  // namespace tovxtest

#endif
