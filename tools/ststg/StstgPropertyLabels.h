#ifndef STSTG_PROPERTY_LABELS_H
#define STSTG_PROPERTY_LABELS_H

#include <cstdint>
#include <string>

#include "TOVXString.h"

// What the tool knows of property sets beyond what the library gives: the usual names of
// the well-known properties, the stream that holds a set of a given format id, and the
// human form of a few values.
namespace ststg {

constexpr uint32_t kCodePageId = 1;

// The usual name of property `id` in the set whose format id is `setId` ("{GUID}"): the
// summary and document summary properties by their set, CodePage and Locale in any set;
// empty for any other.
std::string wellKnownLabel(const std::string& setId, uint32_t id);

// The word for a value's kind (TOVXProperty's ValueType), as the JSON's `kind` gives it. A
// value that is not there is `notFound`: "not found" on the native road, "empty" on the host
// road, where it is VT_EMPTY or a value the service could not read.
std::string valueKindWord(int type, const char* notFound);

// True for the summary set's EditTime, a FILETIME that holds a duration.
bool isEditTime(const std::string& setId, uint32_t id);

// A duration of `ticks` hundreds of nanoseconds as H:MM:SS, hours counted on past a day.
std::string durationText(uint64_t ticks);

// The name of the stream that holds the set of format id `setId` ("{GUID}"): the two
// summary streams by their well-known names (the user-defined set lives in the second
// section of the document summary stream), any other id as \x05 and 26 characters of five
// bits each. Empty when `setId` is no GUID.
TOVXString propertySetStreamName(const std::string& setId);

}  // namespace ststg

#endif
