#ifndef TOVX_FILE_TIME_H
#define TOVX_FILE_TIME_H

#ifdef _WIN32
#include <windows.h>
#else
#include <cstdint>
// 100-nanosecond intervals since 1601-01-01 UTC, in two halves, low half first.
struct FILETIME {
    uint32_t dwLowDateTime;
    uint32_t dwHighDateTime;
};
#endif

#endif
