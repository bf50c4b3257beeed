#include "StgCodePage.h"

#include "TOVXPlatform.h"

#include <cerrno>
#include <cstdio>
#include <iconv.h>
#include <memory>

namespace tovxstg {

namespace {

std::u16string decodeUtf16(const uint8_t* bytes, size_t count) {
    std::u16string text;
    for (size_t i = 0; i + 1 < count; i += 2) {
        const char16_t unit = static_cast<char16_t>(bytes[i] | (bytes[i + 1] << 8));
        if (unit == 0) break;
        text.push_back(unit);
    }
    return text;
}

std::string iconvName(uint16_t codePage) {
    switch (codePage) {
    case 65001: return "UTF-8";
    case 10000: return "MACINTOSH";
    case 20127: return "ASCII";
    case 1201: return "UTF-16BE";
    default: break;
    }
    if (codePage >= 28591 && codePage <= 28599) return "ISO-8859-" + std::to_string(codePage - 28590);
    return "CP" + std::to_string(codePage);
}

// The C library's conversion, used while the base's decodeCodePage does not know the code page
// (it is built on the same iconv); false when iconv does not know it either.
bool decodeWithIconv(const uint8_t* bytes, size_t count, uint16_t codePage, std::u16string& out) {
    iconv_t converter = iconv_open("UTF-16LE", iconvName(codePage).c_str());
    if (converter == reinterpret_cast<iconv_t>(-1)) return false;
    // Closed however the decoding ends, memory running out in it included.
    const std::unique_ptr<void, int (*)(iconv_t)> closer(converter, &iconv_close);
    std::string wide(count * 4 + 4, '\0');
    char* in = reinterpret_cast<char*>(const_cast<uint8_t*>(bytes));
    size_t inLeft = count;
    char* to = &wide[0];
    size_t toLeft = wide.size();
    while (inLeft > 0) {
        if (iconv(converter, &in, &inLeft, &to, &toLeft) != static_cast<size_t>(-1)) break;
        if (errno == E2BIG || toLeft < 2) break;
        // A byte that does not decode, or a character cut off at the end: U+FFFD, and on.
        *to++ = '\xFD';
        *to++ = '\xFF';
        toLeft -= 2;
        ++in;
        --inLeft;
    }
    const size_t produced = wide.size() - toLeft;
    out = decodeUtf16(reinterpret_cast<const uint8_t*>(wide.data()), produced);
    return true;
}

}  // namespace

std::u16string decodeNarrow(const uint8_t* bytes, size_t count, uint16_t codePage) {
    if (codePage == kCodePageUnicode) return decodeUtf16(bytes, count);
    size_t length = 0;
    while (length < count && bytes[length] != 0) ++length;
    std::u16string text;
    if (tovxplatform::decodeCodePage(bytes, length, codePage, text)) return text;
    if (decodeWithIconv(bytes, length, codePage, text)) return text;
    text.assign(bytes, bytes + length);  // Latin-1: every byte is its own code point
    return text;
}

}  // namespace tovxstg
