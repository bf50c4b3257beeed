#ifndef TOVX_FUZZ_TARGETS_H
#define TOVX_FUZZ_TARGETS_H

// What each fuzz target does with one input, shared by the libFuzzer programs and by the
// replay test that runs every kept finding and every seed through the same code with g++.
// Each runs its input to the end through public entry points and asks nothing back: a
// crash, a sanitizer report, a leak, an exception or a slow input is the finding.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tovxfuzz {

// The native stack end to end: the input as a file opened with TOVStgOpenStorage, the whole
// tree walked, every stream read, every property set parsed and every property read.
void nativeStack(const uint8_t* data, size_t size);

// The property-set parser alone: the input as one property-set stream, every property read
// back by id and by name.
void propertyStream(const uint8_t* data, size_t size);

// The platform stand-in end to end through its COM interfaces: the input as a file opened
// with StgOpenStorage, every storage enumerated and opened, every stream read, every property
// set and every value read and cleared; then the host stack's property utilities over it.
void standIn(const uint8_t* data, size_t size);

struct Target {
    const char* name;  // the folder under fuzz/regressions
    void (*run)(const uint8_t* data, size_t size);
};
const std::vector<Target>& targets();

// A file in the temporary folder of this process for inputs that must be files, written anew
// for each input. False when it cannot be written.
bool writeScratchFile(const uint8_t* data, size_t size, std::string& path);

}  // namespace tovxfuzz

#endif
