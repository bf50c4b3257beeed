#ifndef TOVX_PLATFORM_H
#define TOVX_PLATFORM_H

// The one place where the base meets the operating system. On Windows the system's own
// declarations are used; elsewhere this header declares the few records that the base and
// the native stack share with the platform (FILETIME), and the services that the base needs
// of the system: temporary files and code-page conversion. Only this header and the
// structured-storage service header of the host stack test _WIN32.

#include <cstddef>
#include <cstdint>
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

// Creates a new, empty file of the caller's own in the system's temporary folder, with an
// unpredictable name and owner-only permissions, and gives its path (UTF-8); empty when no
// file could be made.
std::string createTemporaryFile();

// Decodes `count` bytes of narrow text in `codePage` into 16-bit units, appending them to
// `out`. A byte sequence that does not decode becomes U+FFFD. False (and `out` untouched)
// when the platform does not know the code page.
bool decodeCodePage(const unsigned char* bytes, size_t count, unsigned int codePage, std::u16string& out);

}  // namespace tovxplatform

#endif
