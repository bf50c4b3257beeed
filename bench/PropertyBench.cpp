// Speed of the property-set parser on real-sized and on crafted streams.
#include <benchmark/benchmark.h>

#include <string>

#include "PropertyStreamBuilder.h"
#include "TOVIPropertyStorage.h"
#include "TOVIPropertyStorageHandle.h"
#include "TOVXMemoryManager.h"

namespace {

using namespace tovxtest;

void parse(benchmark::State& state, const Bytes& stream) {
    for (auto _ : state) {
        TOVIPropertyStorageHandle set(tovxNew<TOVIPropertyStorage>());
        TOVIPropertyStorage* parsed = set;
        benchmark::DoNotOptimize(parsed->InitializeFromBuffer(stream.data(), static_cast<int>(stream.size())));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(stream.size()));
}

void BM_ParseTypicalSummary(benchmark::State& state) {
    PropertyStreamBuilder builder;
    builder.value(1, typed(2, le16(1252)));
    for (uint32_t id = 2; id < 20; ++id) builder.value(id, typed(30, narrowString("a value of moderate length " + std::to_string(id))));
    builder.value(20, typed(64, le64(132000000000000000ull)));
    parse(state, builder.build());
}
BENCHMARK(BM_ParseTypicalSummary);

// A property count of 0xFFFFFFFF in a stream of 100 bytes.
void BM_ParseImpossibleCount(benchmark::State& state) {
    // The one section starts at 48: its size word, then its property count at 52.
    Bytes stream = patched(PropertyStreamBuilder().value(2, typed(3, le32(1))).build(), 52, le32(0xFFFFFFFF));
    stream.resize(100, 0);
    parse(state, stream);
}
BENCHMARK(BM_ParseImpossibleCount);

// Thousands of table entries that all point at one long string.
void BM_ParseManyEntriesOnOneLongText(benchmark::State& state) {
    const uint32_t entries = 4000;
    PropertyStreamBuilder builder;
    builder.value(2, typed(30, narrowString(std::string(50000, 'a'))));
    for (uint32_t id = 3; id < 2 + entries; ++id) builder.entryAt(id, 8 + 8 * entries);
    parse(state, builder.build());
}
BENCHMARK(BM_ParseManyEntriesOnOneLongText);

}  // namespace
