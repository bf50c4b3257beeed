// The crafted property streams of the hostile-file issue at 128 KB, 512 KB and 1 MB, printed
// by ststg props through the native stack and through the host stack over the stand-in: one
// dictionary that thousands of id-0 entries point at, and thousands of ids that fall on one
// slot of a hash table. Time should grow in step with the file (the nested storages and the
// namesakes are in TreeWalkBench.cpp).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "HostileFiles.h"
#include "StstgCommands.h"
#include "TestFiles.h"

namespace {

using tovxtest::ScratchFile;

enum class Shape { OneDictionary, CollidingIds };

// A file of about `kilobytes` KB of the shape, built once per run.
const ScratchFile& hostileFile(Shape shape, int kilobytes) {
    static std::map<std::pair<int, int>, std::unique_ptr<ScratchFile>> files;
    auto& slot = files[{static_cast<int>(shape), kilobytes}];
    if (!slot) {
        const uint32_t bytes = static_cast<uint32_t>(kilobytes) * 1024;
        const std::vector<uint8_t> stream = shape == Shape::OneDictionary ? tovxtest::oneDictionaryManyTimes(bytes / 20)
                                                                           : tovxtest::collidingIds(bytes / 28);
        slot = std::make_unique<ScratchFile>(tovxtest::fileWithSummary(stream));
    }
    return *slot;
}

int runQuietly(const std::vector<std::string>& arguments) {
    FILE* sink = std::fopen("/dev/null", "w");
    const int code = ststg::run(arguments, sink, sink);
    std::fclose(sink);
    return code;
}

void propsOf(benchmark::State& state, Shape shape, bool host) {
    const ScratchFile& file = hostileFile(shape, static_cast<int>(state.range(0)));
    const std::vector<std::string> arguments =
        host ? std::vector<std::string>{"--host", "props", file.path()} : std::vector<std::string>{"props", file.path()};
    for (auto _ : state)
        if (runQuietly(arguments) != 0) state.SkipWithError("props failed");
    state.SetComplexityN(state.range(0) * 1024);
}

void BM_StstgPropsOneDictionary(benchmark::State& state) { propsOf(state, Shape::OneDictionary, false); }
void BM_StstgPropsCollidingIds(benchmark::State& state) { propsOf(state, Shape::CollidingIds, false); }
void BM_StstgHostPropsOneDictionary(benchmark::State& state) { propsOf(state, Shape::OneDictionary, true); }
void BM_StstgHostPropsCollidingIds(benchmark::State& state) { propsOf(state, Shape::CollidingIds, true); }

BENCHMARK(BM_StstgPropsOneDictionary)->Arg(128)->Arg(512)->Arg(1024)->Unit(benchmark::kMillisecond)->Complexity();
BENCHMARK(BM_StstgPropsCollidingIds)->Arg(128)->Arg(512)->Arg(1024)->Unit(benchmark::kMillisecond)->Complexity();
BENCHMARK(BM_StstgHostPropsOneDictionary)->Arg(128)->Arg(512)->Arg(1024)->Unit(benchmark::kMillisecond)->Complexity();
BENCHMARK(BM_StstgHostPropsCollidingIds)->Arg(128)->Arg(512)->Arg(1024)->Unit(benchmark::kMillisecond)->Complexity();

}  // namespace
