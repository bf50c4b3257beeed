#ifndef TOVX_BENCH_SCALE_H
#define TOVX_BENCH_SCALE_H

// The sizes of the large-file benchmarks. A plain run uses a 64 MiB stream and a root of
// 100,000 children, so that it stays short; with TOVX_BENCH_LARGE=1 in the environment the
// 1 GiB stream and the root of 1,000,000 children are measured as well (about 1.2 GB of
// files in the temporary folder, made once per run and removed at its end). Each scale's
// workloads are made the first time a benchmark asks for them.

#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "BenchWorkloads.h"

namespace tovxbench {

struct Scale {
    const char* label;  // part of the benchmark's name
    uint64_t streamBytes;
    int children;
};

inline std::vector<Scale> benchScales() {
    std::vector<Scale> scales{{"64MiB_100k", uint64_t(64) << 20, 100000}};
    const char* large = std::getenv("TOVX_BENCH_LARGE");
    if (large != nullptr && std::strcmp(large, "1") == 0) scales.push_back({"1GiB_1M", uint64_t(1) << 30, 1000000});
    return scales;
}

constexpr int kSmallStreams = 1000;
constexpr int kPropertySets = 200;

enum class Workload { BigStream, WideRoot, PropertySets };

// The file of one workload at one scale, made on first use and kept for the run.
inline const std::string& workloadPath(Workload kind, const Scale& scale) {
    static std::map<std::pair<int, std::string>, std::unique_ptr<WorkloadFile>> files;
    auto& slot = files[{static_cast<int>(kind), scale.label}];
    if (!slot) {
        switch (kind) {
            case Workload::BigStream: slot = std::make_unique<WorkloadFile>(bigStreamWorkload(scale.streamBytes, kSmallStreams)); break;
            case Workload::WideRoot: slot = std::make_unique<WorkloadFile>(wideRootWorkload(scale.children)); break;
            case Workload::PropertySets: slot = std::make_unique<WorkloadFile>(propertySetWorkload(kPropertySets)); break;
        }
    }
    return slot->path();
}

}  // namespace tovxbench

#endif
