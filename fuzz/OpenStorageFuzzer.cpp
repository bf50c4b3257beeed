// libFuzzer: the native stack end to end (FuzzTargets.h). Findings are kept under
// fuzz/regressions/open_storage/, where the replay test runs them on every build.
#include "FuzzTargets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    tovxfuzz::nativeStack(data, size);
    return 0;
}
