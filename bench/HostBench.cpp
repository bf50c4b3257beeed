// The host stack over the platform's service (the library's stand-in off Windows) on the
// large files of LargeFileBench.cpp: opening, reading every stream, listing and searching a
// root of many children, opening a sub-storage, and reading every property set.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "BenchScale.h"
#include "TOVXStorageReader.h"
#include "TOVXStructuredStorageUtils.h"

namespace {

using tovxbench::Scale;
using tovxbench::Workload;

constexpr uint32_t kReadChunk = 1 << 20;

// The root storage of one file, closed with the object.
class HostRoot {
public:
    HostRoot(benchmark::State& state, const std::string& path) {
        TOVXFilePath copy;
        if (!path.empty()) root_ = OpenStorage(TOVXFilePath(path), copy);
        if (root_ == nullptr) state.SkipWithError("the workload did not open");
    }
    ~HostRoot() { CloseStorage(root_); }
    HostRoot(const HostRoot&) = delete;
    HostRoot& operator=(const HostRoot&) = delete;
    IStorage* get() const { return root_; }

private:
    IStorage* root_ = nullptr;
};

// Reads the whole stream in large chunks; the number of bytes that came.
int64_t readWhole(IStream* stream, std::vector<unsigned char>& buffer) {
    uint32_t size = 0;
    if (!GetStreamSize(stream, size)) return 0;
    int64_t total = 0;
    while (total < size) {
        const uint32_t chunk = static_cast<uint32_t>(std::min<int64_t>(kReadChunk, size - total));
        if (!ReadStream(stream, buffer.data(), chunk)) break;
        total += chunk;
    }
    return total;
}

// Every stream of `storage` and of the storages below it, each read to its end.
int64_t readTree(IStorage* storage, std::vector<unsigned char>& buffer) {
    TOVXDynamicArray<TOVXStStorageElement> children;
    GetChildElements(storage, children);
    int64_t total = 0;
    for (const TOVXStStorageElement& child : children) {
        if (child.isStorage == 1) {
            IStorage* sub = OpenStorage(storage, child.name);
            if (sub != nullptr) total += readTree(sub, buffer);
            CloseStorage(sub);
            continue;
        }
        IStream* stream = OpenStream(storage, child.name);
        if (stream != nullptr) total += readWhole(stream, buffer);
        CloseStream(stream);
    }
    return total;
}

void BM_HostOpenLargeFile(benchmark::State& state, Scale scale) {
    const std::string& path = tovxbench::workloadPath(Workload::BigStream, scale);
    for (auto _ : state) {
        HostRoot root(state, path);
        benchmark::DoNotOptimize(root.get());
    }
}

void BM_HostReadEveryStream(benchmark::State& state, Scale scale) {
    HostRoot root(state, tovxbench::workloadPath(Workload::BigStream, scale));
    if (root.get() == nullptr) return;
    std::vector<unsigned char> buffer(kReadChunk);
    int64_t bytes = 0;
    for (auto _ : state) bytes += readTree(root.get(), buffer);
    state.SetBytesProcessed(bytes);
}

void BM_HostReadBigStream(benchmark::State& state, Scale scale) {
    HostRoot root(state, tovxbench::workloadPath(Workload::BigStream, scale));
    if (root.get() == nullptr) return;
    const TOVXString name = TOVXString::FromUtf8(tovxbench::kBigStreamName);
    std::vector<unsigned char> buffer(kReadChunk);
    int64_t bytes = 0;
    for (auto _ : state) {
        IStream* stream = OpenStream(root.get(), name);
        const int64_t got = stream != nullptr ? readWhole(stream, buffer) : 0;
        if (got != static_cast<int64_t>(scale.streamBytes)) state.SkipWithError("short stream");
        bytes += got;
        CloseStream(stream);
    }
    state.SetBytesProcessed(bytes);
}

void BM_HostOpenSubStorage(benchmark::State& state, Scale scale) {
    HostRoot root(state, tovxbench::workloadPath(Workload::BigStream, scale));
    if (root.get() == nullptr) return;
    const TOVXString name = TOVXString::FromUtf8(tovxbench::kFolderName);
    for (auto _ : state) {
        IStorage* folder = OpenStorage(root.get(), name);
        if (folder == nullptr) state.SkipWithError("no folder");
        CloseStorage(folder);
    }
}

void BM_HostOpenWideRoot(benchmark::State& state, Scale scale) {
    const std::string& path = tovxbench::workloadPath(Workload::WideRoot, scale);
    for (auto _ : state) {
        HostRoot root(state, path);
        benchmark::DoNotOptimize(root.get());
    }
}

void BM_HostEnumWideRoot(benchmark::State& state, Scale scale) {
    HostRoot root(state, tovxbench::workloadPath(Workload::WideRoot, scale));
    if (root.get() == nullptr) return;
    for (auto _ : state) {
        TOVXDynamicArray<TOVXStStorageElement> children;
        GetChildElements(root.get(), children);
        if (children.Count() != scale.children) state.SkipWithError("wrong child count");
    }
    state.SetItemsProcessed(state.iterations() * scale.children);
}

void BM_HostSearchWideRoot(benchmark::State& state, Scale scale) {
    HostRoot root(state, tovxbench::workloadPath(Workload::WideRoot, scale));
    if (root.get() == nullptr) return;
    const TOVXString name = TOVXString::FromUtf8(tovxbench::childName(scale.children / 2));
    for (auto _ : state) {
        IStream* stream = OpenStream(root.get(), name);
        if (stream == nullptr) state.SkipWithError("not found");
        CloseStream(stream);
    }
}

// Open, then every property set of the root with all its properties as text.
void BM_HostPropertySets(benchmark::State& state, Scale scale) {
    const std::string& path = tovxbench::workloadPath(Workload::PropertySets, scale);
    for (auto _ : state) {
        HostRoot root(state, path);
        IPropertySetStorage* sets = nullptr;
        if (root.get() == nullptr || !TOVXStructuredStorageUtils::OpenPropertySetStorage(root.get(), sets).IsSuccess()) return;
        TOVXDynamicArray<IPropertyStorage*> opened;
        TOVXStructuredStorageUtils::OpenAllPropertyStorages(sets, opened);
        if (opened.Count() != tovxbench::kPropertySets + 2) state.SkipWithError("sets missing");
        for (IPropertyStorage* set : opened) {
            TOVXPropertyContainerHandle properties;
            TOVXStructuredStorageUtils::GetAllPropertySets(set, properties);
            TOVXStructuredStorageUtils::ClosePropertyStorage(set);
        }
        TOVXStructuredStorageUtils::ClosePropertySetStorage(sets);
    }
    state.SetItemsProcessed(state.iterations() * (tovxbench::kPropertySets + 2));
}

const bool registered = [] {
    bool first = true;
    for (const Scale& scale : tovxbench::benchScales()) {
        const std::string at = std::string("/") + scale.label;
        benchmark::RegisterBenchmark(("BM_HostOpenLargeFile" + at).c_str(), BM_HostOpenLargeFile, scale)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("BM_HostReadEveryStream" + at).c_str(), BM_HostReadEveryStream, scale)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("BM_HostReadBigStream" + at).c_str(), BM_HostReadBigStream, scale)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("BM_HostOpenSubStorage" + at).c_str(), BM_HostOpenSubStorage, scale);
        benchmark::RegisterBenchmark(("BM_HostOpenWideRoot" + at).c_str(), BM_HostOpenWideRoot, scale)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("BM_HostEnumWideRoot" + at).c_str(), BM_HostEnumWideRoot, scale)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("BM_HostSearchWideRoot" + at).c_str(), BM_HostSearchWideRoot, scale);
        if (first) benchmark::RegisterBenchmark("BM_HostPropertySets", BM_HostPropertySets, scale)->Unit(benchmark::kMillisecond);
        first = false;
    }
    return true;
}();

}  // namespace
