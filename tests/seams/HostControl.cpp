// Built like the host seam case: the host headers alone compile.
#include "TOVStgOpenStorageRoot.h"
#include "TOVXStStorageElement.h"
#include "TOVXStorageReader.h"
#include "TOVXStructuredStorageUtils.h"

int tovxHostSeamControl() { return STGTY_STORAGE; }
