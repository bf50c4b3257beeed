// `ststg --host`: the commands through the platform's service, in the forms that the
// corpus comparison reads.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "CfbBuilder.h"
#include "StstgCommands.h"
#include "TestFiles.h"

namespace fs = std::filesystem;
using namespace tovxtest;
using Arguments = std::vector<std::string>;

namespace {

struct Outcome {
    int code;
    std::string out, err;
};

std::string readBack(FILE* file) {
    std::rewind(file);
    std::string text;
    char buffer[4096];
    for (size_t got; (got = std::fread(buffer, 1, sizeof buffer, file)) > 0;) text.append(buffer, got);
    std::fclose(file);
    return text;
}

Outcome host(Arguments arguments) {
    arguments.insert(arguments.begin(), "--host");
    FILE* out = std::tmpfile();
    FILE* err = std::tmpfile();
    const int code = ststg::run(arguments, out, err);
    return Outcome{code, readBack(out), readBack(err)};
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

TEST(StstgHost, ExtractKeepsEveryNameInsideTheFolder) {
    const ScratchFile file(sampleFile());
    const fs::path folder = fs::temp_directory_path() / ("ststg-host-" + std::to_string(::getpid()));
    const Outcome outcome = host({"extract", file.path(), folder.u8string()});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    std::map<std::string, std::string> files;
    for (const auto& item : fs::recursive_directory_iterator(folder))
        if (item.is_regular_file()) {
            const std::vector<uint8_t> bytes = readWholeFile(item.path().u8string());
            files[fs::relative(item.path(), folder).generic_u8string()] = std::string(bytes.begin(), bytes.end());
        }
    fs::remove_all(folder);
    EXPECT_EQ(files["%2E%2E"], "dots");
    EXPECT_EQ(files["a%2Fb"], "slash");
    EXPECT_EQ(files["Outer/Inner/Deep"], "deep bytes");
    EXPECT_EQ(files["Empty"], "");
    EXPECT_EQ(files["Big"].size(), 5000u);
}

TEST(StstgHost, HelpUsageAndFilesThatCannotBeOpened) {
    const ScratchFile text(u8("just some text\n"), ".txt");
    const Outcome help = host({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_NE(help.out.find("structured-storage"), std::string::npos);
    EXPECT_EQ(host({"tree", "--help"}).out, help.out);
    for (const Arguments& arguments : {Arguments{}, {"frobnicate"}, {"tree"}, {"cat", text.path()}, {"props", "--xml", "f"}}) {
        const Outcome outcome = host(arguments);
        EXPECT_EQ(outcome.code, 2) << (arguments.empty() ? "(none)" : arguments[0]);
        EXPECT_NE(outcome.err.find("ststg --host"), std::string::npos) << outcome.err;
    }
    const Outcome notCompound = host({"tree", text.path()});
    EXPECT_EQ(notCompound.code, 1);
    EXPECT_EQ(notCompound.err, "ststg: " + text.path() + ": not a compound file\n");
    const Outcome missing = host({"props", text.path() + ".missing"});
    EXPECT_EQ(missing.code, 1);
    EXPECT_NE(missing.err.find("No such file"), std::string::npos);
}
