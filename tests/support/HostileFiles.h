#ifndef TOVX_TEST_HOSTILE_FILES_H
#define TOVX_TEST_HOSTILE_FILES_H

// The shapes that a crafted file takes to make a careless reader spend minutes or gigabytes,
// at any size: for the malformed-file suite and the benchmarks.

#include <cstdint>
#include <vector>

namespace tovxtest {

// The 16 bytes of the summary set's format id as a stream stores them.
const std::vector<uint8_t>& summaryFormatId();

// A file whose one stream is the summary set `stream`.
std::vector<uint8_t> fileWithSummary(const std::vector<uint8_t>& stream);

// A summary set of `entries` table entries of id 0 that all point at one dictionary of `entries`
// names: read once per entry, it would cost the square of the stream's size. About 20 bytes an entry.
std::vector<uint8_t> oneDictionaryManyTimes(uint32_t entries);

// A summary set of `count` properties whose ids (multiples of 2^16) all fall on one slot of a
// table of 2^16 slots, each named by the dictionary: code page 1200, then ids 1<<16 .. count<<16
// with the values 1 .. count, each named "n". About 28 bytes a property.
std::vector<uint8_t> collidingIds(uint32_t count);

// `count` storages, each inside the last, with names of 31 units ("ddd...0" to "dd...N").
// 128 bytes a storage.
std::vector<uint8_t> nestedStorages(int count);

// `count` sibling streams all called "x", the i-th holding patternBytes(8, i). 128 bytes a stream.
std::vector<uint8_t> namesakes(int count);

}  // namespace tovxtest

#endif
