// tovx_make_workload: writes one of the large benchmark files (BenchWorkloads.h) to a path.
//
//   tovx_make_workload big   FILE SIZE [SMALL_STREAMS] [SECTOR_SHIFT]
//   tovx_make_workload wide  FILE CHILDREN [STREAM_BYTES]
//   tovx_make_workload deep  FILE DEPTH
//   tovx_make_workload props FILE EXTRA_SETS
//
// SIZE takes a suffix K, M or G (powers of 1024). Exit status 0, 1 when the file cannot be
// written, 2 on a usage error.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BenchWorkloads.h"

namespace {

int usage() {
    std::fputs("usage: tovx_make_workload big FILE SIZE[K|M|G] [SMALL_STREAMS] [SECTOR_SHIFT]\n"
               "       tovx_make_workload wide FILE CHILDREN [STREAM_BYTES]\n"
               "       tovx_make_workload deep FILE DEPTH\n"
               "       tovx_make_workload props FILE EXTRA_SETS\n",
               stderr);
    return 2;
}

// A count with an optional binary suffix; false for anything else.
bool parseSize(const std::string& text, uint64_t& value) {
    char* end = nullptr;
    const unsigned long long number = std::strtoull(text.c_str(), &end, 10);
    if (end == text.c_str()) return false;
    const std::string suffix(end);
    const int shift = suffix.empty() ? 0 : suffix == "K" ? 10 : suffix == "M" ? 20 : suffix == "G" ? 30 : -1;
    if (shift < 0) return false;
    value = static_cast<uint64_t>(number) << shift;
    return true;
}

bool parseCount(const std::string& text, int& value) {
    uint64_t size = 0;
    if (!parseSize(text, size) || size > 0x7FFFFFFF) return false;
    value = static_cast<int>(size);
    return true;
}

// Arguments after FILE, with `defaults` for those left out; false when one does not parse.
bool counts(const std::vector<std::string>& arguments, std::vector<int> defaults, size_t required, std::vector<int>& out) {
    if (arguments.size() < required || arguments.size() > defaults.size()) return false;
    out = defaults;
    for (size_t i = 0; i < arguments.size(); ++i)
        if (!parseCount(arguments[i], out[i])) return false;
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 4) return usage();
    const std::string kind = argv[1];
    const std::string path = argv[2];
    std::vector<std::string> rest(argv + 3, argv + argc);
    std::vector<int> values;
    bool written = false;
    if (kind == "big") {
        uint64_t size = 0;
        if (!parseSize(rest[0], size) || size == 0 || size >= (uint64_t(1) << 31)) return usage();
        rest.erase(rest.begin());
        if (!counts(rest, {1000, 9}, 0, values) || (values[1] != 9 && values[1] != 12)) return usage();
        written = tovxbench::writeWorkload(tovxbench::bigStreamWorkload(size, values[0], static_cast<uint16_t>(values[1])), path);
    } else if (kind == "wide") {
        if (!counts(rest, {0, 8}, 1, values)) return usage();
        written = tovxbench::writeWorkload(tovxbench::wideRootWorkload(values[0], values[1]), path);
    } else if (kind == "deep") {
        if (!counts(rest, {0}, 1, values)) return usage();
        written = tovxbench::writeWorkload(tovxbench::deepTreeWorkload(values[0]), path);
    } else if (kind == "props") {
        if (!counts(rest, {0}, 1, values) || values[0] > 254) return usage();
        written = tovxbench::writeWorkload(tovxbench::propertySetWorkload(values[0]), path);
    } else {
        return usage();
    }
    if (!written) {
        std::fprintf(stderr, "tovx_make_workload: cannot write %s\n", path.c_str());
        return 1;
    }
    return 0;
}
