// Writes the seeds of every fuzz target into <folder>/<target>/, for libFuzzer to start from.
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

#include "FuzzSeeds.h"
#include "FuzzTargets.h"

namespace {

bool writeFile(const std::string& path, const std::vector<uint8_t>& bytes) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) return false;
    const bool written = bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && written;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_make_seeds FOLDER\n");
        return 2;
    }
    const std::string folder = argv[1];
    std::error_code ignored;  // a folder that cannot be made fails the first write
    std::filesystem::create_directory(folder, ignored);
    for (const tovxfuzz::Target& target : tovxfuzz::targets()) {
        const std::string into = folder + "/" + target.name;
        std::filesystem::create_directory(into, ignored);
        size_t count = 0;
        for (const auto& seeds : {tovxfuzz::builderSeeds(target.name), tovxfuzz::corpusSeeds(target.name)}) {
            for (const tovxfuzz::Seed& seed : seeds) {
                if (!writeFile(into + "/" + seed.name, seed.bytes)) {
                    std::fprintf(stderr, "fuzz_make_seeds: cannot write %s/%s\n", into.c_str(), seed.name.c_str());
                    return 1;
                }
                ++count;
            }
        }
        std::printf("%s: %zu seeds\n", target.name, count);
    }
    return 0;
}
