// Speed of the tree walk and of ststg on hostile shapes: storages nested thousands deep,
// and thousands of siblings of one name. Files of about 128 KB, 512 KB and 1 MB; time
// and memory should grow in step with the file.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "CfbBuilder.h"
#include "StstgCommands.h"
#include "TOVXNativeOwners.h"
#include "TOVXTreeWalk.h"
#include "TestFiles.h"

namespace {

using tovxtest::CfbBuilder;
using tovxtest::ScratchFile;

constexpr int kEntriesPer128KB = 1000;  // a directory entry takes 128 bytes

// `depth` storages each inside the last, each name the full 31 units.
const ScratchFile& nestedStoragesFile(int depth) {
    static std::map<int, std::unique_ptr<ScratchFile>> files;
    auto& slot = files[depth];
    if (!slot) {
        CfbBuilder builder;
        for (int level = 0, parent = CfbBuilder::kRoot; level < depth; ++level) {
            const std::string digits = std::to_string(level);
            const std::string name = std::string(31 - digits.size(), 'd') + digits;
            parent = builder.addStorage(parent, std::u16string(name.begin(), name.end()));
        }
        slot = std::make_unique<ScratchFile>(builder.build());
    }
    return *slot;
}

// `count` empty sibling streams, all called "x".
const ScratchFile& namesakesFile(int count) {
    static std::map<int, std::unique_ptr<ScratchFile>> files;
    auto& slot = files[count];
    if (!slot) {
        CfbBuilder builder;
        for (int i = 0; i < count; ++i) builder.addStream(CfbBuilder::kRoot, u"x", {});
        slot = std::make_unique<ScratchFile>(builder.build());
    }
    return *slot;
}

void BM_WalkNestedStorages(benchmark::State& state) {
    const int depth = static_cast<int>(state.range(0));
    const ScratchFile& file = nestedStoragesFile(depth);
    TOVIStorage* opened = nullptr;
    if (TOVStgOpenStorage(TOVXFilePath(file.path()), &opened) != 0) {
        state.SkipWithError("file did not open");
        return;
    }
    const TOVXStoragePtr root(opened);
    for (auto _ : state) {
        size_t deepest = 0;
        TOVXTreeWalk::walk(*root, [&](const TOVXTreeWalk::Item& item) { deepest = std::max(deepest, item.path.size()); });
        if (deepest != static_cast<size_t>(depth)) state.SkipWithError("the walk did not reach the bottom");
    }
    state.SetComplexityN(depth);
}
BENCHMARK(BM_WalkNestedStorages)->Arg(kEntriesPer128KB)->Arg(4 * kEntriesPer128KB)->Arg(8 * kEntriesPer128KB)->Complexity();

// Runs ststg with both output streams thrown away.
int runQuietly(const std::vector<std::string>& arguments) {
    FILE* sink = std::fopen("/dev/null", "w");
    const int code = ststg::run(arguments, sink, sink);
    std::fclose(sink);
    return code;
}

void BM_StstgTreeNestedStorages(benchmark::State& state) {
    const int depth = static_cast<int>(state.range(0));
    const ScratchFile& file = nestedStoragesFile(depth);
    for (auto _ : state)
        if (runQuietly({"--native", "tree", file.path()}) != 0) state.SkipWithError("tree failed");
    state.SetComplexityN(depth);
}
BENCHMARK(BM_StstgTreeNestedStorages)->Arg(kEntriesPer128KB)->Arg(4 * kEntriesPer128KB)->Arg(8 * kEntriesPer128KB)->Complexity();

// The same through the host stack over the stand-in, whose walk holds each name once too.
void BM_StstgHostTreeNestedStorages(benchmark::State& state) {
    const int depth = static_cast<int>(state.range(0));
    const ScratchFile& file = nestedStoragesFile(depth);
    for (auto _ : state)
        if (runQuietly({"--host", "tree", file.path()}) != 0) state.SkipWithError("tree failed");
    state.SetComplexityN(depth);
}
BENCHMARK(BM_StstgHostTreeNestedStorages)->Arg(kEntriesPer128KB)->Arg(4 * kEntriesPer128KB)->Arg(8 * kEntriesPer128KB)->Complexity();

// The JSON form spells out every entry's whole path: its size, and so its time, grow with the
// depth times the number of entries.
void BM_StstgTreeJsonNestedStorages(benchmark::State& state) {
    const int depth = static_cast<int>(state.range(0));
    const ScratchFile& file = nestedStoragesFile(depth);
    for (auto _ : state)
        if (runQuietly({"tree", "--json", file.path()}) != 0) state.SkipWithError("tree failed");
    state.SetComplexityN(depth);
}
BENCHMARK(BM_StstgTreeJsonNestedStorages)->Arg(kEntriesPer128KB)->Arg(4 * kEntriesPer128KB)->Arg(8 * kEntriesPer128KB)->Complexity();

void BM_StstgExtractNamesakes(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    const ScratchFile& file = namesakesFile(count);
    const std::string target = file.path() + ".out";
    for (auto _ : state)
        if (runQuietly({"--native", "extract", "--force", file.path(), target}) != 0) state.SkipWithError("extract failed");
    std::error_code ignored;
    std::filesystem::remove_all(target, ignored);
    state.SetComplexityN(count);
}
BENCHMARK(BM_StstgExtractNamesakes)->Arg(kEntriesPer128KB)->Arg(4 * kEntriesPer128KB)->Arg(8 * kEntriesPer128KB)->Complexity();

}  // namespace
