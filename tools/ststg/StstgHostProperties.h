#ifndef STSTG_HOST_PROPERTIES_H
#define STSTG_HOST_PROPERTIES_H

// Property sets and values through the platform's service, for the host road. Host units
// only: they see the platform's service header.

#include <cstdint>
#include <string>
#include <vector>

#include "StstgRoad.h"
#include "TOVXStorageApi.h"

namespace ststg {

// Appends the property sets of `storage`: those the service enumerates, in its order, then
// the user-defined set, which the service opens by its id but does not enumerate.
void hostPropertySets(IStorage* storage, std::vector<PropertySetView>& sets);

// "{GUID}" as the service writes it.
std::string guidTextOf(const GUID& id);

// A FILETIME as one count of 100-nanosecond ticks.
inline uint64_t ticksOf(const FILETIME& time) { return (static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime; }

// A vector as the list of its elements, each converted as TOVXStructuredStorageUtils
// converts a single value; a blob or clipboard value as its size and first bytes in hex.
// `text` is the form the text output shows, `json` the same as a JSON value (an array for
// a vector). False, with both left alone, for any other kind of value.
bool humanValue(const PROPVARIANT& value, std::string& text, std::string& json);

}  // namespace ststg

#endif
