// The native stack on large files: loading the image, reading every stream of a file with
// one large stream, listing and searching a root of many children, opening a sub-storage,
// and finding and parsing the property sets. Sizes: BenchScale.h.
#include <benchmark/benchmark.h>

#include <string>

#include "BenchScale.h"
#include "TOVIStorage.h"
#include "TOVXMemoryManager.h"
#include "TOVXNativeOwners.h"
#include "TOVXTreeWalk.h"

namespace {

using tovxbench::Scale;
using tovxbench::Workload;

TOVXStoragePtr openRoot(benchmark::State& state, const std::string& path) {
    TOVIStorage* root = nullptr;
    if (path.empty() || TOVStgOpenStorage(TOVXFilePath(path), &root) != 0) state.SkipWithError("the workload did not open");
    return TOVXStoragePtr(root);
}

void BM_NativeLoadLargeImage(benchmark::State& state, Scale scale) {
    const std::string& path = tovxbench::workloadPath(Workload::BigStream, scale);
    for (auto _ : state) {
        TOVXStoragePtr root = openRoot(state, path);
        benchmark::DoNotOptimize(root.get());
    }
}

// Every stream the tree walk reaches, each gathered whole.
void BM_NativeReadEveryStream(benchmark::State& state, Scale scale) {
    const TOVXStoragePtr root = openRoot(state, tovxbench::workloadPath(Workload::BigStream, scale));
    if (root == nullptr) return;
    int64_t bytes = 0;
    for (auto _ : state) {
        TOVXTreeWalk::walk(*root, [&](const TOVXTreeWalk::Item& item) {
            TOVStStorageDirEntry entry = item.entry;
            if (item.parent == nullptr || !entry.isStream() || item.shadowed) return;
            TOVIStream* stream = nullptr;
            item.parent->openStream(entry.getName(), &stream);
            if (stream != nullptr) bytes += stream->length();
            tovxDelete(stream);
        });
    }
    state.SetBytesProcessed(bytes);
}

void BM_NativeReadBigStream(benchmark::State& state, Scale scale) {
    const TOVXStoragePtr root = openRoot(state, tovxbench::workloadPath(Workload::BigStream, scale));
    if (root == nullptr) return;
    const TOVXString name = TOVXString::FromUtf8(tovxbench::kBigStreamName);
    int64_t bytes = 0;
    for (auto _ : state) {
        TOVIStream* stream = nullptr;
        root->openStream(name, &stream);
        if (stream == nullptr || stream->length() != scale.streamBytes) state.SkipWithError("short stream");
        if (stream != nullptr) bytes += stream->length();
        tovxDelete(stream);
    }
    state.SetBytesProcessed(bytes);
}

// A sub-storage of the large file: its open shares the image's tables, whatever their size.
void BM_NativeOpenSubStorage(benchmark::State& state, Scale scale) {
    const TOVXStoragePtr root = openRoot(state, tovxbench::workloadPath(Workload::BigStream, scale));
    if (root == nullptr) return;
    const TOVXString name = TOVXString::FromUtf8(tovxbench::kFolderName);
    for (auto _ : state) {
        TOVIStorage* folder = nullptr;
        if (root->openStorage(name, &folder) != 0) state.SkipWithError("no folder");
        tovxDelete(folder);
    }
}

void BM_NativeLoadWideRoot(benchmark::State& state, Scale scale) {
    const std::string& path = tovxbench::workloadPath(Workload::WideRoot, scale);
    for (auto _ : state) {
        TOVXStoragePtr root = openRoot(state, path);
        benchmark::DoNotOptimize(root.get());
    }
}

// Each round lists the children of a storage that has not listed them before.
void BM_NativeEnumWideRoot(benchmark::State& state, Scale scale) {
    const TOVXStoragePtr root = openRoot(state, tovxbench::workloadPath(Workload::WideRoot, scale));
    if (root == nullptr) return;
    for (auto _ : state) {
        TOVIStorage fresh;
        fresh.setStStorageFileInfo(root->getStStorageFileInfo());
        fresh.setDirectoryEntry(root->getDirectoryEntry());
        TOVXDynamicArray<TOVStStorageDirEntry> children;
        fresh.enumElements(children);
        if (children.Count() != scale.children) state.SkipWithError("wrong child count");
    }
    state.SetItemsProcessed(state.iterations() * scale.children);
}

// The first search on a storage that has not listed its children: the listing and the name
// index are made on the way. Then a search on a storage that has them.
void BM_NativeSearchWideRootFirst(benchmark::State& state, Scale scale) {
    const TOVXStoragePtr root = openRoot(state, tovxbench::workloadPath(Workload::WideRoot, scale));
    if (root == nullptr) return;
    const TOVXString name = TOVXString::FromUtf8(tovxbench::childName(scale.children));
    for (auto _ : state) {
        TOVIStorage fresh;
        fresh.setStStorageFileInfo(root->getStStorageFileInfo());
        fresh.setDirectoryEntry(root->getDirectoryEntry());
        TOVIStream* stream = nullptr;
        if (fresh.openStream(name, &stream) != 0) state.SkipWithError("not found");
        tovxDelete(stream);
    }
}

void BM_NativeSearchWideRootAgain(benchmark::State& state, Scale scale) {
    const TOVXStoragePtr root = openRoot(state, tovxbench::workloadPath(Workload::WideRoot, scale));
    if (root == nullptr) return;
    const TOVXString name = TOVXString::FromUtf8(tovxbench::childName(scale.children / 2));
    TOVIStream* first = nullptr;
    root->openStream(name, &first);  // lists the children and indexes their names
    tovxDelete(first);
    for (auto _ : state) {
        TOVIStream* stream = nullptr;
        if (root->openStream(name, &stream) != 0) state.SkipWithError("not found");
        tovxDelete(stream);
    }
}

// Open, find every property-set stream of the root and parse it.
void BM_NativePropertySets(benchmark::State& state, Scale scale) {
    const std::string& path = tovxbench::workloadPath(Workload::PropertySets, scale);
    for (auto _ : state) {
        TOVXStoragePtr root = openRoot(state, path);
        if (root == nullptr) return;
        if (root->getPropertySetStorage()->GetPropertyStorageCount() != tovxbench::kPropertySets + 2)
            state.SkipWithError("sets missing");
    }
    state.SetItemsProcessed(state.iterations() * (tovxbench::kPropertySets + 2));
}

// One registration per scale; the property sets do not grow with it and run once.
const bool registered = [] {
    bool first = true;
    for (const Scale& scale : tovxbench::benchScales()) {
        const std::string at = std::string("/") + scale.label;
        benchmark::RegisterBenchmark(("BM_NativeLoadLargeImage" + at).c_str(), BM_NativeLoadLargeImage, scale)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("BM_NativeReadEveryStream" + at).c_str(), BM_NativeReadEveryStream, scale)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("BM_NativeReadBigStream" + at).c_str(), BM_NativeReadBigStream, scale)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("BM_NativeOpenSubStorage" + at).c_str(), BM_NativeOpenSubStorage, scale);
        benchmark::RegisterBenchmark(("BM_NativeLoadWideRoot" + at).c_str(), BM_NativeLoadWideRoot, scale)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("BM_NativeEnumWideRoot" + at).c_str(), BM_NativeEnumWideRoot, scale)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("BM_NativeSearchWideRootFirst" + at).c_str(), BM_NativeSearchWideRootFirst, scale)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("BM_NativeSearchWideRootAgain" + at).c_str(), BM_NativeSearchWideRootAgain, scale);
        if (first) benchmark::RegisterBenchmark("BM_NativePropertySets", BM_NativePropertySets, scale)->Unit(benchmark::kMillisecond);
        first = false;
    }
    return true;
}();

}  // namespace
