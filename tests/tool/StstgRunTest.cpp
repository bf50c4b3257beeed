#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "CfbBuilder.h"
#include "StstgCommands.h"
#include "TestFiles.h"

namespace fs = std::filesystem;
using tovxtest::CfbBuilder;
using tovxtest::ScratchFile;

namespace {

struct Outcome {
    int code;
    std::string out;
    std::string err;
};

std::string readBack(FILE* file) {
    std::string text;
    std::rewind(file);
    char buffer[4096];
    size_t got;
    while ((got = std::fread(buffer, 1, sizeof buffer, file)) > 0) text.append(buffer, got);
    std::fclose(file);
    return text;
}

Outcome runTool(const std::vector<std::string>& arguments) {
    FILE* out = std::tmpfile();
    FILE* err = std::tmpfile();
    const int code = ststg::run(arguments, out, err);
    return Outcome{code, readBack(out), readBack(err)};
}

std::string text(const std::vector<uint8_t>& bytes) { return std::string(bytes.begin(), bytes.end()); }

// A private folder that goes away with the test.
class ScratchFolder {
public:
    ScratchFolder() {
        std::string pattern = (fs::temp_directory_path() / "ststg-test-XXXXXX").string();
        path_ = ::mkdtemp(&pattern[0]) != nullptr ? pattern : std::string();
    }
    ~ScratchFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    const fs::path& path() const { return path_; }

private:
    fs::path path_;
};

// Every regular file under `root`, by its path relative to `root`, with its contents.
std::map<std::string, std::string> filesUnder(const fs::path& root) {
    std::map<std::string, std::string> files;
    for (const auto& item : fs::recursive_directory_iterator(root)) {
        if (item.is_regular_file()) files[fs::relative(item.path(), root).string()] = text(tovxtest::readWholeFile(item.path().string()));
    }
    return files;
}

// A file with a nested stream, a mini and a regular stream and a property-set-like name.
std::vector<uint8_t> nestedFile() {
    CfbBuilder builder;
    const int outer = builder.addStorage(CfbBuilder::kRoot, u"Outer");
    const int inner = builder.addStorage(outer, u"Inner");
    builder.addStream(inner, u"Deep", tovxtest::u8("deep bytes"));
    builder.addStream(CfbBuilder::kRoot, u"\x05SummaryInformation", tovxtest::u8("summary"));
    builder.addStream(CfbBuilder::kRoot, u"Big", tovxtest::patternBytes(5000, 7));
    builder.addStream(CfbBuilder::kRoot, u"Empty", {});
    return builder.build();
}

TEST(StstgExitCodes, FilesThatCannotBeOpenedAreNamedAndToldApart) {
    ScratchFile notCompound(tovxtest::u8("just some text, long enough to be read as a header............"));
    CfbBuilder builder;
    builder.addStream(CfbBuilder::kRoot, u"Data", tovxtest::u8("data"));
    tovxtest::CfbImage image = builder.layout();
    image.header.directorySectorCount = 6;  // one more than the header check allows
    ScratchFile refusedHeader(image.serialize());
    ScratchFolder folder;
    const std::string missing = (folder.path() / "missing.doc").string();

    struct Case {
        std::string path;
        std::string message;
    };
    const std::vector<Case> cases = {
        {missing, "ststg: " + missing + ": No such file or directory\n"},
        {notCompound.path(), "ststg: " + notCompound.path() + ": not a compound file\n"},
        {refusedHeader.path(), "ststg: " + refusedHeader.path() + ": compound file not accepted"},
        {folder.path().string(), "ststg: " + folder.path().string() + ": is a directory\n"},
    };
    for (const Case& c : cases) {
        for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
                 {"tree", c.path}, {"tree", "--json", c.path}, {"cat", c.path, "x"}, {"extract", c.path, (folder.path() / "out").string()}}) {
            const Outcome outcome = runTool(arguments);
            EXPECT_EQ(outcome.code, 1) << arguments[0] << " " << c.path;
            EXPECT_EQ(outcome.err.rfind(c.message, 0), 0u) << outcome.err;
            EXPECT_EQ(outcome.out, "");
        }
    }
}

TEST(StstgExitCodes, UsageErrorsGiveTwoAndPointToHelp) {
    ScratchFile file(nestedFile());
    const std::vector<std::vector<std::string>> cases = {
        {},
        {"frobnicate"},
        {"frobnicate", "--help"},
        {"tree"},
        {"tree", file.path(), file.path()},
        {"tree", "--xml", file.path()},
        {"cat"},
        {"cat", file.path()},
        {"cat", file.path(), "\\q"},
        {"cat", file.path(), "\\x"},
        {"extract", file.path()},
        {"extract", file.path(), "a", "b"},
    };
    for (const auto& arguments : cases) {
        const Outcome outcome = runTool(arguments);
        EXPECT_EQ(outcome.code, 2) << (arguments.empty() ? "(none)" : arguments[0]);
        EXPECT_NE(outcome.err.find("--help"), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.out, "");
    }
}

TEST(StstgHelp, ToolAndEveryCommandHaveHelpOnStandardOutput) {
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"--help"}, {"-h"}, {"tree", "--help"}, {"cat", "--help"}, {"extract", "x", "--help"}, {"props", "--help"}}) {
        const Outcome outcome = runTool(arguments);
        EXPECT_EQ(outcome.code, 0);
        EXPECT_EQ(outcome.out.rfind("Usage: ststg", 0), 0u) << outcome.out;
        EXPECT_EQ(outcome.err, "");
    }
    EXPECT_NE(runTool({"cat", "--help"}).out.find("\\x05SummaryInformation"), std::string::npos);
}

TEST(StstgCat, ReachesStreamsThroughStoragesAndEscapedNames) {
    const std::vector<uint8_t> bytes = nestedFile();
    ScratchFile file(bytes);
    struct Case {
        std::vector<std::string> names;
        std::string contents;
    };
    const std::vector<Case> cases = {
        {{"Outer", "Inner", "Deep"}, "deep bytes"},
        {{"\\x05SummaryInformation"}, "summary"},
        {{"\\005SummaryInformation"}, "summary"},
        {{"Big"}, text(tovxtest::patternBytes(5000, 7))},
        {{"Empty"}, ""},
    };
    for (const Case& c : cases) {
        std::vector<std::string> arguments = {"cat", file.path()};
        arguments.insert(arguments.end(), c.names.begin(), c.names.end());
        const Outcome outcome = runTool(arguments);
        EXPECT_EQ(outcome.code, 0) << c.names.back() << ": " << outcome.err;
        EXPECT_EQ(outcome.out, c.contents) << c.names.back();
        EXPECT_EQ(outcome.err, "");
    }
}

TEST(StstgCat, ItemsNotFoundGiveOneAndSayWhich) {
    ScratchFile file(nestedFile());
    struct Case {
        std::vector<std::string> names;
        std::string message;
    };
    const std::vector<Case> cases = {
        {{"Nothing"}, "/Nothing: no such stream"},
        {{"Outer"}, "/Outer is a storage, not a stream"},
        {{"Deep"}, "/Deep: no such stream"},  // a grandchild is no child
        {{"Missing", "Deep"}, "no storage /Missing that can be opened"},
        {{"Outer", "Deep"}, "/Outer/Deep: no such stream"},
        {{"Big", "Deep"}, "no storage /Big that can be opened"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> arguments = {"cat", file.path()};
        arguments.insert(arguments.end(), c.names.begin(), c.names.end());
        const Outcome outcome = runTool(arguments);
        EXPECT_EQ(outcome.code, 1);
        EXPECT_EQ(outcome.err, "ststg: " + file.path() + ": " + c.message + "\n");
        EXPECT_EQ(outcome.out, "");
    }
}

TEST(StstgTree, JsonListsEveryEntryDepthFirstInDirectoryOrder) {
    ScratchFile file(nestedFile());
    const Outcome outcome = runTool({"tree", "--json", file.path()});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    // Children come in directory index order: Outer 1, Inner 2, Deep 3, the rest 4 to 6.
    const std::string expected = "{\"file\": \"" + file.path() + "\", \"entries\": [\n"
        "  {\"path\": [], \"type\": 5, \"size\": 128},\n"
        "  {\"path\": [\"Outer\"], \"type\": 1, \"size\": 0},\n"
        "  {\"path\": [\"Outer\", \"Inner\"], \"type\": 1, \"size\": 0},\n"
        "  {\"path\": [\"Outer\", \"Inner\", \"Deep\"], \"type\": 2, \"size\": 10},\n"
        "  {\"path\": [\"\\u0005SummaryInformation\"], \"type\": 2, \"size\": 7},\n"
        "  {\"path\": [\"Big\"], \"type\": 2, \"size\": 5000},\n"
        "  {\"path\": [\"Empty\"], \"type\": 2, \"size\": 0}\n"
        "]}\n";
    EXPECT_EQ(outcome.out, expected);
}

TEST(StstgTree, TextShowsKindSizeAndPasteableNames) {
    ScratchFile file(nestedFile());
    const Outcome outcome = runTool({"tree", file.path()});
    ASSERT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.out,
              "/  (root, 128 bytes)\n"
              "  Outer  (storage, 0 bytes)\n"
              "    Inner  (storage, 0 bytes)\n"
              "      Deep  (stream, 10 bytes)\n"
              "  \\x05SummaryInformation  (stream, 7 bytes)\n"
              "  Big  (stream, 5000 bytes)\n"
              "  Empty  (stream, 0 bytes)\n");
}

TEST(StstgTree, AStorageWhoseChildLinksLoopBackIsListedOnce) {
    CfbBuilder builder;
    const int loop = builder.addStorage(CfbBuilder::kRoot, u"Loop");
    const int leaf = builder.addStream(loop, u"Leaf", tovxtest::u8("leaf"));
    tovxtest::CfbImage image = builder.layout();
    image.entries[leaf].right = static_cast<uint32_t>(loop);  // Loop's children now include Loop itself
    ScratchFile file(image.serialize());

    const Outcome outcome = runTool({"tree", file.path()});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out,
              "/  (root, 64 bytes)\n"
              "  Loop  (storage, 0 bytes)\n"
              "    Loop  (storage, 0 bytes; leads to a storage listed above, not repeated)\n"
              "    Leaf  (stream, 4 bytes)\n");
    ScratchFolder folder;
    EXPECT_EQ(runTool({"extract", file.path(), folder.path().string()}).code, 0);
    EXPECT_EQ(filesUnder(folder.path()), (std::map<std::string, std::string>{{"Loop/Leaf", "leaf"}}));
}

TEST(StstgTree, OfTwoStoragesWithOneNameOnlyTheFirstIsGoneInto) {
    CfbBuilder builder;
    const int first = builder.addStorage(CfbBuilder::kRoot, u"Dup");
    builder.addStream(first, u"One", tovxtest::u8("1"));
    const int second = builder.addStorage(CfbBuilder::kRoot, u"Dup");
    builder.addStream(second, u"Two", tovxtest::u8("22"));
    ScratchFile file(builder.build());

    const Outcome outcome = runTool({"tree", file.path()});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out,
              "/  (root, 128 bytes)\n"
              "  Dup  (storage, 0 bytes)\n"
              "    One  (stream, 1 bytes)\n"
              "  Dup  (storage, 0 bytes; leads to a storage listed above, not repeated)\n");
    EXPECT_EQ(runTool({"cat", file.path(), "Dup", "Two"}).code, 1);  // the name reaches the first
}

TEST(StstgExtract, HostileNamesStayInsideTheTargetFolder) {
    CfbBuilder builder;
    const int up = builder.addStorage(CfbBuilder::kRoot, u"..");
    builder.addStream(up, u"../../escaped", tovxtest::u8("one"));
    builder.addStream(up, u".", tovxtest::u8("dot"));
    const int slashes = builder.addStorage(CfbBuilder::kRoot, u"/tmp");
    builder.addStream(slashes, u"..\\..\\win", tovxtest::u8("two"));
    builder.addStream(CfbBuilder::kRoot, u"\x05Summary", tovxtest::u8("five"));
    builder.addStream(CfbBuilder::kRoot, u"Case", tovxtest::u8("upper"));
    builder.addStream(CfbBuilder::kRoot, u"case", tovxtest::u8("lower"));
    builder.addStream(CfbBuilder::kRoot, u"Case~2", tovxtest::u8("tilde"));
    ScratchFile file(builder.build());

    ScratchFolder sandbox;
    const fs::path target = sandbox.path() / "out";
    const Outcome outcome = runTool({"extract", file.path(), target.string()});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    // Nothing but the target folder appeared in the sandbox.
    std::vector<fs::path> top;
    for (const auto& item : fs::directory_iterator(sandbox.path())) top.push_back(item.path());
    EXPECT_EQ(top, std::vector<fs::path>{target});
    const std::map<std::string, std::string> expected = {
        {"%2E%2E/..%2F..%2Fescaped", "one"},
        {"%2E%2E/%2E", "dot"},
        {"%2Ftmp/..%5C..%5Cwin", "two"},
        {"%05Summary", "five"},
        {"Case", "upper"},
        {"case~2", "lower"},
        {"Case~2~2", "tilde"},
    };
    EXPECT_EQ(filesUnder(target), expected);
}

TEST(StstgExtract, UnreachableEntriesAreReportedAndTheRunGoesOn) {
    CfbBuilder builder;
    const int nameless = builder.addStorage(CfbBuilder::kRoot, u"");
    builder.addStream(nameless, u"Inside", tovxtest::u8("unreachable"));
    const int first = builder.addStream(CfbBuilder::kRoot, u"Twin", tovxtest::u8("first"));
    builder.addStream(CfbBuilder::kRoot, u"Twin", tovxtest::u8("second"));
    builder.addStream(CfbBuilder::kRoot, u"Plain", tovxtest::u8("plain"));
    (void)first;
    ScratchFile file(builder.build());
    ScratchFolder folder;

    const Outcome outcome = runTool({"extract", file.path(), folder.path().string()});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_NE(outcome.err.find("/\"\": storage cannot be opened"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("/Twin: an earlier stream of the same name hides it"), std::string::npos) << outcome.err;
    EXPECT_EQ(filesUnder(folder.path()), (std::map<std::string, std::string>{{"Twin", "first"}, {"Plain", "plain"}}));
    EXPECT_TRUE(fs::is_directory(folder.path() / "%empty"));
    // cat finds the first of two namesakes.
    EXPECT_EQ(runTool({"cat", file.path(), "Twin"}).out, "first");
}

TEST(StstgProps, ListsTheRootSetsInBothForms) {
    const std::string example = std::string(TOVX_SOURCE_DIR) + "/examples/embedded-object.doc";
    const Outcome json = runTool({"props", "--json", example});
    ASSERT_EQ(json.code, 0) << json.err;
    EXPECT_EQ(json.out.rfind("{\"file\": \"" + example + "\", \"property_sets\": [\n"
                             "  {\"id\": \"{F29F85E0-4FF9-1068-AB91-08002B27B3D9}\", \"name\": \"\", \"properties\": [\n"
                             "    {\"id\": 1, \"name\": \"\", \"type\": 2, \"value\": \"-535\"},\n", 0), 0u) << json.out;
    // The second set has two sections and goes by the second one's id; its names come from the dictionary.
    EXPECT_NE(json.out.find("{\"id\": \"{D5CDD505-2E9C-101B-9397-08002B2CF9AE}\""), std::string::npos);
    EXPECT_NE(json.out.find("{\"id\": 3, \"name\": \"ObjectKind\", \"type\": 1, \"value\": \"spreadsheet\"}"), std::string::npos);

    const Outcome text = runTool({"props", example});
    ASSERT_EQ(text.code, 0);
    EXPECT_EQ(text.out.rfind("{F29F85E0-4FF9-1068-AB91-08002B27B3D9}\n  0x00000001  -  (integer)  -535\n", 0), 0u) << text.out;
    EXPECT_NE(text.out.find("\n  0x00000002  Cells  (float)  6.000000\n"), std::string::npos);
    EXPECT_NE(text.out.find("  0x0000000C  -  (date)  2019-07-04 08:00:00\n"), std::string::npos);
}

TEST(StstgProps, AFileWithoutSetsGivesAnEmptyList) {
    ScratchFile file(nestedFile());  // its \x05 stream holds no property set
    const Outcome outcome = runTool({"props", "--json", file.path()});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.out, "{\"file\": \"" + file.path() + "\", \"property_sets\": []}\n");
    EXPECT_EQ(runTool({"props", file.path()}).out, "");
    EXPECT_EQ(runTool({"props"}).code, 2);
    EXPECT_EQ(runTool({"props", file.path() + ".missing"}).code, 1);
}

// The installed program wires the same code to the process's streams and exit status.
TEST(StstgProgram, ExitStatusAndStreamsReachTheShell) {
    ScratchFile file(nestedFile());
    ScratchFolder folder;
    const std::string out = (folder.path() / "out").string();
    const std::string err = (folder.path() / "err").string();
    const std::string prefix = std::string("'") + STSTG_PATH + "' ";
    const auto shell = [&](const std::string& arguments) {
        const int status = std::system((prefix + arguments + " >'" + out + "' 2>'" + err + "'").c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };
    EXPECT_EQ(shell("cat '" + file.path() + "' Outer Inner Deep"), 0);
    EXPECT_EQ(text(tovxtest::readWholeFile(out)), "deep bytes");
    EXPECT_EQ(shell("cat '" + file.path() + "' Nothing"), 1);
    EXPECT_NE(text(tovxtest::readWholeFile(err)).find("no such stream"), std::string::npos);
    EXPECT_EQ(shell("tree"), 2);
}

}  // namespace
