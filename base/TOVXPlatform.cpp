#include "TOVXPlatform.h"

#include "TOVXString.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

#ifndef _WIN32
#include <iconv.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace tovxplatform {

namespace {

#ifdef _WIN32

// UTF-8 to UTF-16 and back for the file system's wide calls; a malformed sequence becomes U+FFFD.
std::wstring wideFromUtf8(const std::string& text) {
    if (text.empty() || text.size() > static_cast<size_t>(INT_MAX)) return std::wstring();
    const int size = static_cast<int>(text.size());
    const int units = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0);
    if (units <= 0) return std::wstring();
    std::wstring wide(static_cast<size_t>(units), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), size, &wide[0], units);
    return wide;
}

#else

std::string temporaryFolder() {
    const char* folder = std::getenv("TMPDIR");
    std::string result = folder != nullptr && *folder != '\0' ? folder : "/tmp";
    if (result.back() != '/') result += '/';
    return result;
}

#endif

constexpr char16_t kReplacement = 0xFFFD;

// Narrow text ends at its first zero byte, wherever the count says it ends.
size_t textLength(const unsigned char* bytes, size_t count) {
    size_t length = 0;
    while (length < count && bytes[length] != 0) ++length;
    return length;
}

#ifdef _WIN32

// Code pages whose meaning depends on the machine (the system's ANSI, OEM, Mac and thread
// pages, and the symbol page) and the UTF-16 and UTF-32 pages, which are no narrow text.
bool decodesAsNarrowText(unsigned int codePage) {
    switch (codePage) {
    case CP_ACP: case CP_OEMCP: case CP_MACCP: case CP_THREAD_ACP: case CP_SYMBOL:
    case 1200: case 1201: case 12000: case 12001:
        return false;
    default:
        return IsValidCodePage(codePage) != 0;
    }
}

// The escape-based pages and UTF-7 take no error flag: they decode as the system decodes them.
bool takesErrorFlag(unsigned int codePage) {
    return !(codePage >= 50220 && codePage <= 50229) && !(codePage >= 57002 && codePage <= 57011) && codePage != 65000;
}

// The whole text at once; false when a byte sequence does not decode (or the text is too long for one call).
bool decodeWhole(const unsigned char* bytes, size_t length, unsigned int codePage, DWORD flags, std::u16string& out) {
    if (length > static_cast<size_t>(INT_MAX)) return false;
    const char* text = reinterpret_cast<const char*>(bytes);
    const int size = static_cast<int>(length);
    const int units = MultiByteToWideChar(codePage, flags, text, size, nullptr, 0);
    if (units <= 0) return false;
    std::u16string decoded(static_cast<size_t>(units), u'\0');
    if (MultiByteToWideChar(codePage, flags, text, size, reinterpret_cast<wchar_t*>(&decoded[0]), units) != units) return false;
    out += decoded;
    return true;
}

// One character at a time: the shortest run of bytes (up to four) that decodes, else U+FFFD for one byte.
void decodeByCharacter(const unsigned char* bytes, size_t length, unsigned int codePage, std::u16string& out) {
    size_t position = 0;
    while (position < length) {
        size_t used = 0;
        for (size_t width = 1; width <= 4 && position + width <= length && used == 0; ++width)
            if (decodeWhole(bytes + position, width, codePage, MB_ERR_INVALID_CHARS, out)) used = width;
        if (used == 0) {
            out.push_back(kReplacement);
            used = 1;
        }
        position += used;
    }
}

#else

struct IconvName {
    unsigned int codePage;
    const char* name;
};

// Windows code page numbers and the names that the C library's iconv gives the same pages.
const IconvName kIconvNames[] = {
    {37, "IBM037"},        {437, "IBM437"},       {500, "IBM500"},        {708, "ISO-8859-6"},
    {737, "CP737"},        {775, "CP775"},        {850, "IBM850"},        {852, "IBM852"},
    {855, "IBM855"},       {857, "IBM857"},       {858, "IBM858"},        {860, "IBM860"},
    {861, "IBM861"},       {862, "IBM862"},       {863, "IBM863"},        {864, "IBM864"},
    {865, "IBM865"},       {866, "IBM866"},       {869, "IBM869"},        {870, "IBM870"},
    {874, "CP874"},        {875, "IBM875"},       {932, "CP932"},         {936, "CP936"},
    {949, "CP949"},        {950, "CP950"},        {1026, "IBM1026"},      {1047, "IBM1047"},
    {1140, "IBM1140"},     {1141, "IBM1141"},     {1142, "IBM1142"},      {1143, "IBM1143"},
    {1144, "IBM1144"},     {1145, "IBM1145"},     {1146, "IBM1146"},      {1147, "IBM1147"},
    {1148, "IBM1148"},     {1149, "IBM1149"},     {1250, "CP1250"},       {1251, "CP1251"},
    {1252, "CP1252"},      {1253, "CP1253"},      {1254, "CP1254"},       {1255, "CP1255"},
    {1256, "CP1256"},      {1257, "CP1257"},      {1258, "CP1258"},       {1361, "JOHAB"},
    {10000, "MACINTOSH"},  {10007, "MAC-CYRILLIC"}, {10029, "MAC-CENTRALEUROPE"}, {10079, "MAC-IS"},
    {20127, "ASCII"},      {20866, "KOI8-R"},     {20932, "EUC-JP"},      {21866, "KOI8-U"},
    {28591, "ISO-8859-1"}, {28592, "ISO-8859-2"}, {28593, "ISO-8859-3"},  {28594, "ISO-8859-4"},
    {28595, "ISO-8859-5"}, {28596, "ISO-8859-6"}, {28597, "ISO-8859-7"},  {28598, "ISO-8859-8"},
    {28599, "ISO-8859-9"}, {28603, "ISO-8859-13"}, {28605, "ISO-8859-15"}, {38598, "ISO-8859-8"},
    {50220, "ISO-2022-JP"}, {50221, "ISO-2022-JP"}, {50222, "ISO-2022-JP"}, {50225, "ISO-2022-KR"},
    {51932, "EUC-JP"},     {51936, "EUC-CN"},     {51949, "EUC-KR"},      {54936, "GB18030"},
    {65000, "UTF-7"},      {65001, "UTF-8"},
};

// The pages whose bytes 0x00 to 0x7F are ASCII, as iconv decodes them: the Windows pages
// 874 and 1250 to 1258, ISO 8859, US-ASCII and UTF-8.
bool extendsAscii(unsigned int codePage) {
    return codePage == 874 || (codePage >= 1250 && codePage <= 1258) || (codePage >= 28591 && codePage <= 28605) ||
           codePage == 20127 || codePage == 65001;
}

bool isAscii(const unsigned char* bytes, size_t length) {
    for (size_t i = 0; i < length; ++i)
        if (bytes[i] >= 0x80) return false;
    return true;
}

const char* iconvNameOf(unsigned int codePage) {
    for (const IconvName& entry : kIconvNames)
        if (entry.codePage == codePage) return entry.name;
    return nullptr;
}

// Appends the UTF-16LE units that iconv wrote, whatever the host's own byte order.
void appendLittleEndianUnits(const char* begin, const char* end, std::u16string& out) {
    for (const char* unit = begin; unit + 1 < end; unit += 2)
        out.push_back(static_cast<char16_t>(static_cast<unsigned char>(unit[0]) | static_cast<unsigned char>(unit[1]) << 8));
}

// Runs all `length` bytes through `converter`. A sequence that does not decode, or that the
// text ends inside, becomes U+FFFD, and decoding goes on one byte further.
void decodeWith(iconv_t converter, const unsigned char* bytes, size_t length, std::u16string& out) {
    char* in = const_cast<char*>(reinterpret_cast<const char*>(bytes));  // iconv's signature; the bytes are only read
    size_t inLeft = length;
    char buffer[512];
    for (;;) {
        char* outPosition = buffer;
        size_t outLeft = sizeof buffer;
        // With no input left, a last call writes what the converter still holds: a character
        // kept back in case a combining mark follows, or the end of a shift state.
        const bool flushing = inLeft == 0;
        const size_t result = flushing ? iconv(converter, nullptr, nullptr, &outPosition, &outLeft)
                                       : iconv(converter, &in, &inLeft, &outPosition, &outLeft);
        const int error = errno;
        appendLittleEndianUnits(buffer, outPosition, out);
        if (result != static_cast<size_t>(-1)) {
            if (flushing) return;
            continue;
        }
        if (error == E2BIG) continue;
        if (flushing) return;
        if (error != EILSEQ && error != EINVAL) {  // no other error is documented: give up on the rest
            out.push_back(kReplacement);
            return;
        }
        out.push_back(kReplacement);
        ++in;
        --inLeft;
    }
}

#endif

}  // namespace

#ifdef _WIN32
std::string utf8FromWide(const wchar_t* text) {
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (bytes <= 1) return std::string();
    std::string narrow(static_cast<size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, &narrow[0], bytes, nullptr, nullptr);
    narrow.pop_back();  // the terminator that the count included
    return narrow;
}
#endif

FILE* openFile(const std::string& utf8Path, const char* mode) {
#ifdef _WIN32
    const std::wstring path = wideFromUtf8(utf8Path);
    const std::wstring wideMode = mode == nullptr ? std::wstring() : wideFromUtf8(mode);
    return path.empty() || wideMode.empty() ? nullptr : _wfopen(path.c_str(), wideMode.c_str());
#else
    return std::fopen(utf8Path.c_str(), mode);
#endif
}

std::string createTemporaryFile() {
#ifdef _WIN32
    wchar_t folder[MAX_PATH + 1];
    const DWORD length = GetTempPathW(MAX_PATH + 1, folder);
    if (length == 0 || length > MAX_PATH) return std::string();
    wchar_t name[MAX_PATH + 1];
    return GetTempFileNameW(folder, L"tvx", 0, name) != 0 ? utf8FromWide(name) : std::string();
#else
    std::string pattern = temporaryFolder() + "tovxststorage-XXXXXX";
    const mode_t previous = umask(077);
    const int descriptor = mkstemp(&pattern[0]);  // O_EXCL with a random name, mode 0600
    umask(previous);
    if (descriptor < 0) return std::string();
    close(descriptor);
    return pattern;
#endif
}

bool decodeCodePage(const unsigned char* bytes, size_t count, unsigned int codePage, std::u16string& out) {
    const size_t length = bytes == nullptr ? 0 : textLength(bytes, count);
#ifdef _WIN32
    if (!decodesAsNarrowText(codePage)) return false;
    std::u16string decoded;
    if (!takesErrorFlag(codePage)) {
        decodeWhole(bytes, length, codePage, 0, decoded);
    } else if (!decodeWhole(bytes, length, codePage, MB_ERR_INVALID_CHARS, decoded)) {
        decoded.clear();
        decodeByCharacter(bytes, length, codePage, decoded);
    }
#else
    // Text all in ASCII reads as the same units in every page that extends ASCII, and valid
    // UTF-8 decodes here as iconv decodes it: neither needs a converter loaded. Anything
    // else goes to iconv, whose replacements stand.
    if (extendsAscii(codePage) && isAscii(bytes, length)) {
        out.append(bytes, bytes + length);
        return true;
    }
    if (codePage == 65001 && tovx::decodeUtf8(bytes, length, out)) return true;
    const char* name = iconvNameOf(codePage);
    if (name == nullptr) return false;
    const iconv_t converter = iconv_open("UTF-16LE", name);
    if (converter == reinterpret_cast<iconv_t>(-1)) return false;  // this C library lacks the page
    // Closed however the decoding ends, memory running out in it included.
    const std::unique_ptr<void, int (*)(iconv_t)> closer(converter, &iconv_close);
    std::u16string decoded;
    decodeWith(converter, bytes, length, decoded);
#endif
    out += decoded;
    return true;
}

}  // namespace tovxplatform
