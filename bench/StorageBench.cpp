// Speed of the native stack: loading images, walking wide trees, reading streams, and
// the array primitives everything rests on.
#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "CfbBuilder.h"
#include "TOVIStorage.h"
#include "TOVXMemoryManager.h"
#include "TestFiles.h"

namespace {

using tovxtest::CfbBuilder;
using tovxtest::ScratchFile;

std::string corpusFile(const char* name) { return tovxtest::corpusDir() + "/files/" + name; }

// One synthetic file per child count and shape, built once per run.
const ScratchFile& wideStorageFile(int children, CfbBuilder::Shape shape) {
    static std::map<std::pair<int, int>, std::unique_ptr<ScratchFile>> files;
    auto& slot = files[{children, static_cast<int>(shape)}];
    if (!slot) {
        CfbBuilder builder;
        builder.shape(shape);
        for (int i = 0; i < children; ++i)
            builder.addStream(CfbBuilder::kRoot, u"s" + std::u16string(std::to_string(i).begin(), std::to_string(i).end()),
                              {static_cast<uint8_t>(i)});
        slot = std::make_unique<ScratchFile>(builder.build());
    }
    return *slot;
}

void BM_LoadImage(benchmark::State& state, const char* name) {
    const std::string path = corpusFile(name);
    if (tovxtest::corpusDir().empty()) {
        state.SkipWithError("corpus not found");
        return;
    }
    for (auto _ : state) {
        TOVIStorage* root = nullptr;
        benchmark::DoNotOptimize(TOVStgOpenStorage(TOVXFilePath(path), &root));
        tovxDelete(root);
    }
}
BENCHMARK_CAPTURE(BM_LoadImage, small_doc, "lo-writer-custom-props.doc");
BENCHMARK_CAPTURE(BM_LoadImage, difat_7mb, "poi-difat-7mb.bin");
BENCHMARK_CAPTURE(BM_LoadImage, sectors_4096, "poi-v4-4096-sectors.bin");

// Enumerating a storage's children should grow about linearly with their number, whatever
// the shape of the sibling tree.
void BM_EnumerateChildren(benchmark::State& state, CfbBuilder::Shape shape) {
    const int children = static_cast<int>(state.range(0));
    const ScratchFile& file = wideStorageFile(children, shape);
    TOVIStorage* root = nullptr;
    if (TOVStgOpenStorage(TOVXFilePath(file.path()), &root) != 0) {
        state.SkipWithError("file did not open");
        return;
    }
    for (auto _ : state) {
        TOVIStorage fresh;  // a storage without a cached child list
        fresh.setStStorageFileInfo(root->getStStorageFileInfo());
        fresh.setDirectoryEntry(root->getDirectoryEntry());
        TOVXDynamicArray<TOVStStorageDirEntry> list;
        benchmark::DoNotOptimize(fresh.enumElements(list));
        if (list.Count() != children) state.SkipWithError("wrong child count");
    }
    state.SetComplexityN(children);
    tovxDelete(root);
}
BENCHMARK_CAPTURE(BM_EnumerateChildren, balanced, CfbBuilder::Shape::Balanced)->RangeMultiplier(10)->Range(100, 100000)->Complexity();
BENCHMARK_CAPTURE(BM_EnumerateChildren, degenerate_chain, CfbBuilder::Shape::RightChain)->RangeMultiplier(10)->Range(100, 100000)->Complexity();

// Looking a name up among many siblings, on a cached list.
void BM_OpenStreamAmongSiblings(benchmark::State& state) {
    const ScratchFile& file = wideStorageFile(10000, CfbBuilder::Shape::Balanced);
    TOVIStorage* root = nullptr;
    if (TOVStgOpenStorage(TOVXFilePath(file.path()), &root) != 0) {
        state.SkipWithError("file did not open");
        return;
    }
    const TOVXString name = TOVXString::FromUtf8("s9999");
    for (auto _ : state) {
        TOVIStream* stream = nullptr;
        benchmark::DoNotOptimize(root->openStream(name, &stream));
        tovxDelete(stream);
    }
    tovxDelete(root);
}
BENCHMARK(BM_OpenStreamAmongSiblings);

// Opening every child storage of a root (as a tree listing does): each open is a lookup
// by name and shares the root's property sets, so the whole pass should be about linear.
const ScratchFile& wideStoragesFile(int children) {
    static std::map<int, std::unique_ptr<ScratchFile>> files;
    auto& slot = files[children];
    if (!slot) {
        CfbBuilder builder;
        for (int i = 0; i < children; ++i)
            builder.addStream(CfbBuilder::kRoot, u"d" + std::u16string(std::to_string(i).begin(), std::to_string(i).end()), {});
        tovxtest::CfbImage image = builder.layout();
        for (int i = 1; i <= children; ++i) image.entries[static_cast<size_t>(i)].type = 1;  // empty storages
        slot = std::make_unique<ScratchFile>(image.serialize());
    }
    return *slot;
}

void BM_OpenEveryChildStorage(benchmark::State& state) {
    const int children = static_cast<int>(state.range(0));
    const ScratchFile& file = wideStoragesFile(children);
    std::vector<TOVXString> names;
    for (int i = 0; i < children; ++i) names.push_back(TOVXString::FromUtf8("d" + std::to_string(i)));
    for (auto _ : state) {
        TOVIStorage* root = nullptr;
        if (TOVStgOpenStorage(TOVXFilePath(file.path()), &root) != 0) {
            state.SkipWithError("file did not open");
            return;
        }
        for (const TOVXString& name : names) {
            TOVIStorage* sub = nullptr;
            root->openStorage(name, &sub);
            tovxDelete(sub);
        }
        tovxDelete(root);
    }
    state.SetComplexityN(children);
}
BENCHMARK(BM_OpenEveryChildStorage)->RangeMultiplier(10)->Range(100, 100000)->Complexity();

void BM_ReadLargeStream(benchmark::State& state) {
    if (tovxtest::corpusDir().empty()) {
        state.SkipWithError("corpus not found");
        return;
    }
    TOVIStorage* root = nullptr;
    if (TOVStgOpenStorage(TOVXFilePath(corpusFile("lo-writer-large-text.doc")), &root) != 0) {
        state.SkipWithError("file did not open");
        return;
    }
    const TOVXString name = TOVXString::FromUtf8("WordDocument");
    int64_t bytes = 0;
    for (auto _ : state) {
        TOVIStream* stream = nullptr;
        root->openStream(name, &stream);
        if (stream != nullptr) bytes += stream->length();
        tovxDelete(stream);
    }
    state.SetBytesProcessed(bytes);
    tovxDelete(root);
}
BENCHMARK(BM_ReadLargeStream);

void BM_ArrayAddBytes(benchmark::State& state) {
    for (auto _ : state) {
        TOVXDynamicArray<unsigned char> bytes;
        for (int i = 0; i < state.range(0); ++i) bytes.Add(static_cast<unsigned char>(i));
        benchmark::DoNotOptimize(bytes.First());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ArrayAddBytes)->Arg(1 << 20);

void BM_CopyDirectoryTable(benchmark::State& state) {
    const ScratchFile& file = wideStorageFile(10000, CfbBuilder::Shape::Balanced);
    TOVIStorage* root = nullptr;
    if (TOVStgOpenStorage(TOVXFilePath(file.path()), &root) != 0) {
        state.SkipWithError("file did not open");
        return;
    }
    for (auto _ : state) {
        TOVXDynamicArray<TOVStStorageDirEntry> table = root->getStStorageFileInfo()->getDirArray();
        benchmark::DoNotOptimize(table.First());
    }
    tovxDelete(root);
}
BENCHMARK(BM_CopyDirectoryTable);

}  // namespace
