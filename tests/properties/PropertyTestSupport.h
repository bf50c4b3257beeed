#ifndef TOVX_TEST_PROPERTY_TEST_SUPPORT_H
#define TOVX_TEST_PROPERTY_TEST_SUPPORT_H

#include <string>

#include "PropertyStreamBuilder.h"
#include "TOVIPropertyStorage.h"
#include "TOVIPropertyStorageHandle.h"
#include "TOVXMemoryManager.h"

namespace tovxtest {

// A set parsed from `bytes`, held by a handle so that it dies with the handle.
struct ParsedSet {
    TOVIPropertyStorageHandle handle;
    bool accepted = false;

    explicit ParsedSet(const Bytes& bytes) : handle(tovxNew<TOVIPropertyStorage>()) {
        accepted = handle->InitializeFromBuffer(bytes.empty() ? nullptr : bytes.data(), int(bytes.size()));
    }
    TOVIPropertyStorage* operator->() { return handle; }

    int count() { return handle->GetPropertyArray().Count(); }
    // Value text of the property with `id` in UTF-8; "<none>" when there is none.
    std::string text(uint32_t id) {
        TOVXPropertyHandle property = handle->GetPropertyWithID(int(id));
        return property.IsValid() ? property->GetValue().ToUtf8() : "<none>";
    }
    int type(uint32_t id) {
        TOVXPropertyHandle property = handle->GetPropertyWithID(int(id));
        return property.IsValid() ? int(property->GetValueType()) : -100;
    }
    std::string name(uint32_t id) {
        TOVXPropertyHandle property = handle->GetPropertyWithID(int(id));
        return property.IsValid() ? property->GetPropertyName().ToUtf8() : "<none>";
    }
    uint32_t idAt(int index) { return (*handle->GetPropertyArray().At(index))->GetID(); }
};

inline Bytes codePageI2(uint16_t codePage) { return typed(2, concat({le16(codePage), le16(0)})); }

}  // namespace tovxtest

#endif
