#ifndef TOVX_CODE_PAGE_H
#define TOVX_CODE_PAGE_H

#include "TOVXString.h"

// Decoding of narrow text in a Windows code page. The single-byte pages that documents use
// most (Windows 1250 to 1257, Mac Roman, OEM 437, 850 and 866, ISO 8859-1) decode from the
// library's own tables, which is faster; every other page, the multi-byte ones among them,
// goes through the platform's conversion.
class TOVXCodePage {
public:
    static const unsigned int kLatin1 = 28591;
    static const unsigned int kWindowsLatin1 = 1252;

    // True when Decode reads `codePage` from a table of the library's own.
    static bool HasTable(unsigned int codePage);
    // Decodes up to `count` bytes, ending at the first zero byte, into `text`; a byte
    // sequence that does not decode becomes U+FFFD. False (and `text` untouched) for a code
    // page that neither a table nor the platform knows.
    static bool Decode(const unsigned char* bytes, int count, unsigned int codePage, TOVXString& text);
};

#endif
