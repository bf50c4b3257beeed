#include "FuzzTargets.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace tovxfuzz {

const std::vector<Target>& targets() {
    static const std::vector<Target> all = {
        {"open_storage", &nativeStack},
        {"property_stream", &propertyStream},
#if TOVX_FUZZ_STAND_IN
        {"stand_in", &standIn},
#endif
    };
    return all;
}

bool writeScratchFile(const uint8_t* data, size_t size, std::string& path) {
    static const std::string scratch = [] {
        const char* folder = std::getenv("TMPDIR");
        return std::string(folder != nullptr && *folder != '\0' ? folder : "/tmp") + "/tovx-fuzz-" +
               std::to_string(getpid()) + ".cfb";
    }();
    path = scratch;
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) return false;
    const bool written = size == 0 || std::fwrite(data, 1, size, file) == size;
    return std::fclose(file) == 0 && written;
}

}  // namespace tovxfuzz
