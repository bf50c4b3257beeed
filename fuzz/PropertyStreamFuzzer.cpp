// libFuzzer: the property-set parser alone (FuzzTargets.h). Findings are kept under
// fuzz/regressions/property_stream/, where the replay test runs them on every build.
#include "FuzzTargets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    tovxfuzz::propertyStream(data, size);
    return 0;
}
