#ifndef TOVX_PLATFORM_H
#define TOVX_PLATFORM_H

// The one place where the base meets the operating system. On Windows the system's own
// declarations are used; elsewhere this header declares the few records that the base and
// the native stack share with the platform (FILETIME), and the services that the base needs
// of the system: opening a file by a UTF-8 path, temporary files and code-page conversion. Only this header and the
// structured-storage service header of the host stack test _WIN32.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#else
// 100-nanosecond intervals since 1601-01-01 UTC, in two halves, low half first.
struct FILETIME {
    uint32_t dwLowDateTime;
    uint32_t dwHighDateTime;
};
typedef FILETIME* PFILETIME;
typedef FILETIME* LPFILETIME;
#endif

namespace tovxplatform {

// Opens the file that a UTF-8 path names, in the stdio `mode`; null when that fails. Windows
// is handed the path as UTF-16, so that names outside the machine's code page open as well.
FILE* openFile(const std::string& utf8Path, const char* mode);

// Creates a new, empty file of the caller's own in the system's temporary folder, with an
// unpredictable name and owner-only permissions, and gives its path (UTF-8); empty when no
// file could be made.
std::string createTemporaryFile();

// Decodes up to `count` bytes of narrow text in the Windows code page `codePage` into 16-bit
// units, appending them to `out`; the text ends at its first zero byte. A byte sequence that
// does not decode becomes U+FFFD and decoding goes on one byte further. False (and `out`
// untouched) when the platform does not know the code page, or when the number stands for no
// fixed narrow encoding (0 to 3, the machine's own pages; 1200 and the other UTF-16 and
// UTF-32 pages). Windows converts with MultiByteToWideChar, elsewhere the C library's iconv.
bool decodeCodePage(const unsigned char* bytes, size_t count, unsigned int codePage, std::u16string& out);

#ifdef _WIN32
// UTF-8 of a zero-ended UTF-16 text of the system's (a path, an argument); empty for none.
std::string utf8FromWide(const wchar_t* text);
#endif

}  // namespace tovxplatform

#endif
