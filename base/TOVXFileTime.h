#ifndef TOVX_FILE_TIME_H
#define TOVX_FILE_TIME_H

// FILETIME: the system's own on Windows, the base platform layer's elsewhere.
#include "TOVXPlatform.h"

#endif
