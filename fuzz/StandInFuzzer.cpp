// libFuzzer: the platform stand-in end to end (FuzzTargets.h). Findings are kept under
// fuzz/regressions/stand_in/, where the replay test runs them on every build.
#include "FuzzTargets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    tovxfuzz::standIn(data, size);
    return 0;
}
