#ifndef TOVX_CODE_PAGE_H
#define TOVX_CODE_PAGE_H

#include "TOVXString.h"

// Decoding of narrow text in the single-byte code pages that TOVXString's own narrow
// constructor (UTF-8, else Windows-1252) would misread: Mac Roman, the other Windows
// pages, the common OEM pages and ISO 8859-1.
class TOVXCodePage {
public:
    static const unsigned int kLatin1 = 28591;

    // True when Decode knows `codePage`.
    static bool HasTable(unsigned int codePage);
    // Decodes up to `count` bytes, ending at the first zero byte, into `text`; false
    // (and `text` untouched) for a code page without a table.
    static bool Decode(const unsigned char* bytes, int count, unsigned int codePage, TOVXString& text);
};

#endif
