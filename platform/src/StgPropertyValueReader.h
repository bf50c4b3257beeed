#ifndef TOVX_STG_PROPERTY_VALUE_READER_H
#define TOVX_STG_PROPERTY_VALUE_READER_H

// Typed values of one property-set section, decoded into PROPVARIANTs whose memory comes from
// CoTaskMemAlloc (PropVariantClear gives it back).

#include "TOVXStorageApi.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace tovxstg {

class StgPropertyValueReader {
public:
    // `data` holds the section from its start to the end of the stream; narrow strings are in
    // `codePage`.
    StgPropertyValueReader(const uint8_t* data, size_t size, uint16_t codePage)
        : data_(data), size_(size), codePage_(codePage) {}

    // Decodes the typed value at `offset` into `value`, which starts empty. False (and `value`
    // empty) when the value runs past the end or has a type that a property set cannot hold.
    // `end`, when given, receives where the decoding stopped.
    bool read(size_t offset, PROPVARIANT& value, size_t* end = nullptr) const;

    // A string of the set's dictionary at `at`: a count of characters, then the characters, padded
    // to 4 bytes in a Unicode set only. Moves `at` past it; false when it runs past the end.
    bool readName(size_t& at, std::u16string& name) const;

    // The 32-bit word at `at`, moving past it; false at the end.
    bool word(size_t& at, uint32_t& value) const;

private:
    // A variant inside a vector holds no vector itself, which also bounds the nesting.
    bool typed(size_t& at, PROPVARIANT& value, bool vectorAllowed) const;
    bool scalar(VARTYPE type, size_t& at, PROPVARIANT& value) const;
    bool vector(VARTYPE type, size_t& at, PROPVARIANT& value) const;
    bool narrowText(size_t& at, std::u16string& text) const;
    bool wideText(size_t& at, std::u16string& text) const;
    bool bytes(size_t at, size_t count) const { return at <= size_ && count <= size_ - at; }
    // Moves `at` to the next multiple of 4 bytes from `start`; with `onlyIfZero`, only when the
    // bytes passed over are zeros.
    void pad(size_t start, size_t& at, bool onlyIfZero) const;
    bool isNarrowString(VARTYPE type) const;

    const uint8_t* data_;
    size_t size_;
    uint16_t codePage_;
};

}  // namespace tovxstg

#endif
