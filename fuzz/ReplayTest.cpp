// Every input that ever made a fuzz target fail, and every seed, run again through the same
// entry points as the libFuzzer programs, without libFuzzer: in the normal builds with g++,
// and under the sanitizers of the sanitize preset. A slow input fails as a crash does.
#include <gtest/gtest.h>

#include <dirent.h>

#include <algorithm>
#include <chrono>

#include "FuzzSeeds.h"
#include "FuzzTargets.h"
#include "TestFiles.h"

#if defined(__SANITIZE_ADDRESS__)
#define TOVX_UNDER_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TOVX_UNDER_SANITIZER 1
#endif
#endif

namespace {

#if defined(TOVX_UNDER_SANITIZER) || !defined(NDEBUG)
constexpr double kSecondsPerInput = 20;  // unoptimised, every access checked
#else
constexpr double kSecondsPerInput = 2;  // as the fuzz runs' -timeout=2
#endif

std::vector<tovxfuzz::Seed> regressions(const std::string& target) {
    std::vector<tovxfuzz::Seed> found;
    const std::string folder = std::string(TOVX_FUZZ_REGRESSIONS) + "/" + target;
    DIR* directory = opendir(folder.c_str());
    if (directory == nullptr) return found;
    while (const dirent* item = readdir(directory))
        if (item->d_name[0] != '.') found.push_back({item->d_name, tovxtest::readWholeFile(folder + "/" + item->d_name)});
    closedir(directory);
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    return found;
}

void replay(const tovxfuzz::Target& target, const std::vector<tovxfuzz::Seed>& inputs) {
    for (const tovxfuzz::Seed& input : inputs) {
        SCOPED_TRACE(std::string(target.name) + "/" + input.name);
        const auto started = std::chrono::steady_clock::now();
        target.run(input.bytes.data(), input.bytes.size());
        EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count(), kSecondsPerInput);
    }
}

class FuzzReplay : public testing::TestWithParam<tovxfuzz::Target> {};

TEST_P(FuzzReplay, KeptFindingsRunCleanly) { replay(GetParam(), regressions(GetParam().name)); }

TEST_P(FuzzReplay, BuilderSeedsRunCleanly) {
    const std::vector<tovxfuzz::Seed> seeds = tovxfuzz::builderSeeds(GetParam().name);
    ASSERT_FALSE(seeds.empty());
    replay(GetParam(), seeds);
}

TEST_P(FuzzReplay, CorpusSeedsRunCleanly) {
    if (tovxtest::corpusDir().empty()) GTEST_SKIP() << "the shared corpus is not there";
    const std::vector<tovxfuzz::Seed> seeds = tovxfuzz::corpusSeeds(GetParam().name);
    ASSERT_FALSE(seeds.empty());
    replay(GetParam(), seeds);
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzReplay, testing::ValuesIn(tovxfuzz::targets()),
                         [](const testing::TestParamInfo<tovxfuzz::Target>& info) { return std::string(info.param.name); });

}  // namespace
