#ifndef STSTG_HOST_VALUES_H
#define STSTG_HOST_VALUES_H

// The human form of a platform value that the host stack converts to "..." only. A host
// unit: it sees the platform's service header.

#include <string>

#include "TOVXStorageApi.h"

namespace ststg {

// A vector as the list of its elements, each converted as TOVXStructuredStorageUtils
// converts a single value; a blob or clipboard value as its size and first bytes in hex.
// `text` is the form the text output shows, `json` the same as a JSON value (an array for
// a vector). False, with both left alone, for any other kind of value.
bool humanValue(const PROPVARIANT& value, std::string& text, std::string& json);

}  // namespace ststg

#endif
