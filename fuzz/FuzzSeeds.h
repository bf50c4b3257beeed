#ifndef TOVX_FUZZ_SEEDS_H
#define TOVX_FUZZ_SEEDS_H

// Inputs that the fuzz targets start from: files and property streams made with the test
// builders, and the files of the shared corpus with the property-set streams inside them.
// fuzz_make_seeds writes them to folders for libFuzzer; the replay test runs them directly.

#include <cstdint>
#include <string>
#include <vector>

namespace tovxfuzz {

struct Seed {
    std::string name;
    std::vector<uint8_t> bytes;
};

// Whole files for the targets that read files, or property-set streams for the parser's.
std::vector<Seed> builderSeeds(const std::string& target);
// The same from the shared corpus; empty when it is not there.
std::vector<Seed> corpusSeeds(const std::string& target);

}  // namespace tovxfuzz

#endif
