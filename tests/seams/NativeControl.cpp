// Built like the seam cases: the native headers alone compile.
#include "TOVIStorage.h"
#include "TOVStSectorChain.h"

int tovxSeamControl() { return 0; }
