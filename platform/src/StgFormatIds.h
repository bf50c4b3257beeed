#ifndef TOVX_STG_FORMAT_IDS_H
#define TOVX_STG_FORMAT_IDS_H

// The published mapping between a property set's format id and the name of its stream: two
// well-known names, and for every other id "\005" and 26 characters that spell its 128 bits, five
// at a time, from the lowest bit of its first stored byte.

#include "TOVXStorageApi.h"

#include <string>

namespace tovxstg {

std::u16string streamNameOfFormatId(const FMTID& fmtid);

// The format id that a stream name stands for; false for a name that is no property-set name.
// Letters count in either case.
bool formatIdOfStreamName(const std::u16string& name, FMTID& fmtid);

}  // namespace tovxstg

#endif
