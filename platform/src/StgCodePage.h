#ifndef TOVX_STG_CODE_PAGE_H
#define TOVX_STG_CODE_PAGE_H

// Narrow text of a property set, in the set's code page, to 16-bit units.

#include <cstddef>
#include <cstdint>
#include <string>

namespace tovxstg {

const uint16_t kCodePageUnicode = 1200;  // strings stored as UTF-16LE
const uint16_t kCodePageDefault = 1252;  // for a set that names no code page

// Decodes `count` bytes in `codePage`, ending at the first zero character. Bytes that do not
// decode become U+FFFD; a code page that the system does not know decodes as Latin-1.
std::u16string decodeNarrow(const uint8_t* bytes, size_t count, uint16_t codePage);

}  // namespace tovxstg

#endif
