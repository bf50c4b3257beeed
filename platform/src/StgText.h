#ifndef TOVX_STG_TEXT_H
#define TOVX_STG_TEXT_H

// Text as the service handles it: 16-bit names, the format's name order, conversions to the
// UTF-8 of Linux paths and narrow values, and copies handed to callers.

#include "TOVXStorageApi.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace tovxstg {

// The simple upper-case form of one 16-bit unit (every script, not only ASCII).
char16_t upperCaseUnit(char16_t unit);

// The format's order of names: a shorter name comes first; names of one length compare unit by
// unit after upper-casing. Gives <0, 0 or >0.
int compareNames(const std::u16string& a, const std::u16string& b);

// The units of a caller's zero-terminated text; at most `limit` units are taken, and `cut` tells
// whether the text went on beyond them.
std::u16string fromCallerText(const WCHAR* text, size_t limit, bool* cut = nullptr);

// UTF-16 to UTF-8; an unpaired surrogate becomes U+FFFD.
std::string utf16ToUtf8(const std::u16string& text);

// A zero-terminated copy from CoTaskMemAlloc, the caller's to free; null when memory runs out.
WCHAR* callerCopy(const std::u16string& text);
char* callerCopy(const std::string& text);

}  // namespace tovxstg

#endif
