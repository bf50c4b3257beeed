// `ststg --host`: the commands through the platform's service, in the forms that the
// corpus comparison reads.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "CfbBuilder.h"
#include "TestFiles.h"
#include "ToolRun.h"

namespace fs = std::filesystem;
using namespace tovxtest;
using namespace tooltest;

namespace {

Outcome host(Arguments arguments) {
    arguments.insert(arguments.begin(), "--host");
    return runStstg(arguments);
}

// Storages two deep, a mini and a regular stream, names that no file system takes as they
// are, and a child link that loops back.
std::vector<uint8_t> sampleFile() {
    CfbBuilder builder;
    const int outer = builder.addStorage(CfbBuilder::kRoot, u"Outer");
    const int inner = builder.addStorage(outer, u"Inner");
    const int deep = builder.addStream(inner, u"Deep", u8("deep bytes"));
    builder.addStream(CfbBuilder::kRoot, u"Big", patternBytes(5000, 7));
    builder.addStream(CfbBuilder::kRoot, u"..", u8("dots"));
    builder.addStream(CfbBuilder::kRoot, u"a/b", u8("slash"));
    builder.addStream(CfbBuilder::kRoot, u"Empty", {});
    CfbImage image = builder.layout();
    image.entries[deep].right = static_cast<uint32_t>(inner);  // Inner's children now include Inner itself
    return image.serialize();
}

}  // namespace

// The JSON forms are compared with the corpus readings (compare_host.py); the text form here.
TEST(StstgHost, TreeTextShowsEachStorageBeforeItsChildren) {
    const ScratchFile file(sampleFile());
    const Outcome text = host({"tree", file.path()});
    EXPECT_EQ(text.code, 0) << text.err;
    EXPECT_EQ(text.out.rfind("/  (root)\n", 0), 0u);
    EXPECT_NE(text.out.find("\n  Outer  (storage)\n    Inner  (storage)\n      Deep  (stream, 10 bytes)\n"),
              std::string::npos) << text.out;
}

TEST(StstgHost, CatWritesTheStreamOrSaysWhyNot) {
    const ScratchFile file(sampleFile());
    const std::vector<uint8_t> bigBytes = patternBytes(5000, 7);
    const std::string big(bigBytes.begin(), bigBytes.end());
    struct Case {
        Arguments names;
        int code;
        std::string outOrMessage;
    };
    const Case cases[] = {
        {{"Outer", "Inner", "Deep"}, 0, "deep bytes"},
        {{"Big"}, 0, big},
        {{"Empty"}, 0, ""},
        {{"Outer"}, 1, "/Outer is a storage, not a stream"},
        {{"Nothing"}, 1, "/Nothing: no such stream"},
        {{"Nothing", "Deep"}, 1, "no storage /Nothing that can be opened"},
    };
    for (const Case& c : cases) {
        Arguments arguments{"cat", file.path()};
        arguments.insert(arguments.end(), c.names.begin(), c.names.end());
        const Outcome outcome = host(arguments);
        EXPECT_EQ(outcome.code, c.code) << c.names.back();
        if (c.code == 0) EXPECT_EQ(outcome.out, c.outOrMessage);
        else EXPECT_NE(outcome.err.find(c.outOrMessage), std::string::npos) << outcome.err;
    }
}

// A stream larger than the copy's megabyte whose chain ends early, on both roads: what the
// file holds goes out, and the shortfall is told.
TEST(StstgHost, CatOfAStreamWhoseChainEndsEarlyWritesWhatCame) {
    CfbBuilder builder;
    const int id = builder.addStream(CfbBuilder::kRoot, u"Long", patternBytes(3 << 20, 9));
    CfbImage image = builder.layout();
    const uint32_t keptSectors = 3000;  // 1,536,000 bytes: the second megabyte comes short
    image.fat[image.entries[static_cast<size_t>(id)].start + keptSectors - 1] = kEndOfChain;
    const ScratchFile file(image.serialize());
    const std::vector<uint8_t> kept = patternBytes(keptSectors * 512, 9);
    for (const char* road : {"--host", "--native"}) {
        const Outcome outcome = runStstg({road, "cat", file.path(), "Long"});
        EXPECT_EQ(outcome.code, 0) << road;
        EXPECT_EQ(outcome.out, std::string(kept.begin(), kept.end())) << road;
        EXPECT_NE(outcome.err.find("/Long: the file holds only 1536000 of its 3145728 bytes"), std::string::npos) << outcome.err;
    }
}

TEST(StstgHost, ExtractKeepsEveryNameInsideTheFolder) {
    const ScratchFile file(sampleFile());
    const ScratchFolder folder;
    const Outcome outcome = host({"extract", file.path(), folder.path.u8string()});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    std::map<std::string, std::string> files = filesUnder(folder.path);
    EXPECT_EQ(files["%2E%2E"], "dots");
    EXPECT_EQ(files["a%2Fb"], "slash");
    EXPECT_EQ(files["Outer/Inner/Deep"], "deep bytes");
    EXPECT_EQ(files["Empty"], "");
    EXPECT_EQ(files["Big"].size(), 5000u);
}

// Usage errors are found before a road is taken; StstgExitCodes covers them.
TEST(StstgHost, FilesThatCannotBeOpened) {
    const ScratchFile text(u8("just some text\n"), ".txt");
    const Outcome notCompound = host({"tree", text.path()});
    EXPECT_EQ(notCompound.code, 1);
    EXPECT_EQ(notCompound.err, "ststg: " + text.path() + ": not a compound file\n");
    const Outcome missing = host({"props", text.path() + ".missing"});
    EXPECT_EQ(missing.code, 1);
    EXPECT_NE(missing.err.find("No such file"), std::string::npos);
}
