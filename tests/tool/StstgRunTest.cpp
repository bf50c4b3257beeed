// ststg --native: the library's own reader, with the output ststg always gave.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#ifdef __linux__
#include <fcntl.h>

#include <cstdio>
#endif

#include "CfbBuilder.h"
#include "StstgFolderNames.h"
#include "StstgText.h"
#include "TestFiles.h"
#include "ToolRun.h"

namespace fs = std::filesystem;
using tovxtest::CfbBuilder;
using tovxtest::ScratchFile;
using tovxtest::u8;
using namespace tooltest;

namespace {

// The library's own reader, whose output is the tool's as it always was.
Outcome runTool(Arguments arguments) {
    arguments.insert(arguments.begin(), "--native");
    return runStstg(arguments);
}

// Nested storages, mini and regular streams and a property-set-like name, with the shapes a walk
// must survive: child links that loop back, namesakes of both kinds, a storage without a name.
std::vector<uint8_t> sampleFile() {
    const int root = CfbBuilder::kRoot;
    CfbBuilder builder;
    const int inner = builder.addStorage(builder.addStorage(root, u"Outer"), u"Inner");
    const int deep = builder.addStream(inner, u"Deep", u8("deep bytes"));
    builder.addStream(root, u"\x05SummaryInformation", u8("summary"));
    builder.addStream(root, u"Big", tovxtest::patternBytes(5000, 7));
    builder.addStream(root, u"Empty", {});
    builder.addStream(builder.addStorage(root, u"Dup"), u"One", u8("1"));
    builder.addStream(builder.addStorage(root, u"Dup"), u"Two", u8("22"));
    builder.addStream(builder.addStorage(root, u""), u"Inside", u8("unreachable"));
    builder.addStream(root, u"Twin", u8("first"));
    builder.addStream(root, u"Twin", u8("second"));
    tovxtest::CfbImage image = builder.layout();
    image.entries[deep].right = static_cast<uint32_t>(inner);  // Inner's children now include Inner itself
    return image.serialize();
}

TEST(StstgExitCodes, FilesThatCannotBeOpenedGiveOneAndAreNamed) {
    ScratchFile notCompound(u8("just some text, long enough to be read as a header............"));
    CfbBuilder builder;
    builder.addStream(CfbBuilder::kRoot, u"Data", u8("data"));
    tovxtest::CfbImage image = builder.layout();
    image.header.directorySectorCount = 6;  // one more than the header check allows
    ScratchFile refusedHeader(image.serialize());
    ScratchFolder folder;
    const std::string missing = (folder.path / "missing.doc").u8string();
    const std::map<std::string, std::string> messages = {
        {missing, "No such file or directory\n"},
        {notCompound.path(), "not a compound file\n"},
        {refusedHeader.path(), "compound file not accepted"},
        {folder.path.u8string(), "is a directory\n"},
    };
    for (const auto& [path, message] : messages) {
        for (const Arguments& arguments : {Arguments{"tree", path}, Arguments{"tree", "--json", path}, Arguments{"cat", path, "x"},
                                           Arguments{"extract", path, (folder.path / "out").u8string()}, Arguments{"props", path}}) {
            const Outcome outcome = runTool(arguments);
            EXPECT_EQ(outcome.code, 1) << arguments[0] << " " << path;
            EXPECT_EQ(outcome.err.rfind("ststg: " + path + ": " + message, 0), 0u) << outcome.err;
            EXPECT_EQ(outcome.out, "");
        }
    }
}

TEST(StstgExitCodes, UsageErrorsGiveTwoAndPointToHelp) {
    ScratchFile file(sampleFile());
    const std::string f = file.path();
    for (const Arguments& arguments : {Arguments{}, {"frobnicate"}, {"frobnicate", "--help"}, {"tree"}, {"tree", f, f}, {"tree", "--xml", f},
                                       {"cat"}, {"cat", f}, {"cat", f, "\\q"}, {"cat", f, "\\x"}, {"cat", f, "a//b"}, {"extract", f}, {"props"},
                                       {"tree", "--force", f}, {"dump", f, "Big", "--offset", "x"}, {"--host", "tree", f}}) {
        const Outcome outcome = runTool(arguments);
        EXPECT_EQ(outcome.code, 2) << (arguments.empty() ? "(none)" : arguments[0]);
        EXPECT_NE(outcome.err.find("--help"), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.out, "");
    }
}

TEST(StstgCat, WritesTheStreamANamePathReachesOrSaysWhyNot) {
    ScratchFile file(sampleFile());
    struct Case { Arguments names; int code; std::string outOrMessage; };
    const Case cases[] = {
        {{"Outer", "Inner", "Deep"}, 0, "deep bytes"},
        {{"\\x05SummaryInformation"}, 0, "summary"},
        {{"\\005SummaryInformation"}, 0, "summary"},
        {{"Big"}, 0, text(tovxtest::patternBytes(5000, 7))},
        {{"Empty"}, 0, ""},
        {{"Twin"}, 0, "first"},  // the first of two namesakes
        {{"Nothing"}, 1, "/Nothing: no such stream"},
        {{"Outer"}, 1, "/Outer is a storage, not a stream"},
        {{"Deep"}, 1, "/Deep: no such stream"},  // a grandchild is no child
        {{"Missing", "Deep"}, 1, "no storage /Missing that can be opened"},
        {{"Outer", "Deep"}, 1, "/Outer/Deep: no such stream"},
        {{"Big", "Deep"}, 1, "no storage /Big that can be opened"},
        {{"Dup", "Two"}, 1, "/Dup/Two: no such stream"},  // the name reaches the first Dup
    };
    for (const Case& c : cases) {
        Arguments arguments = {"cat", file.path()};
        arguments.insert(arguments.end(), c.names.begin(), c.names.end());
        const Outcome outcome = runTool(arguments);
        EXPECT_EQ(outcome.code, c.code) << c.names.back();
        EXPECT_EQ(outcome.out, c.code == 0 ? c.outOrMessage : "") << c.names.back();
        EXPECT_EQ(outcome.err, c.code == 0 ? "" : "ststg: " + file.path() + ": " + c.outOrMessage + "\n");
    }
}

TEST(StstgCat, TellsAnUnreadableStreamAndAShortOneFromTheRest) {
    CfbBuilder builder;
    const int cut = builder.addStream(CfbBuilder::kRoot, u"Cut", tovxtest::patternBytes(5000, 3));
    const int bad = builder.addStream(CfbBuilder::kRoot, u"Bad", u8("bad"));
    tovxtest::CfbImage image = builder.layout();
    image.fat[image.entries[static_cast<size_t>(cut)].start] = tovxtest::kEndOfChain;  // one sector of ten
    image.entries[static_cast<size_t>(bad)].colour = 2;  // neither red nor black: listed, but no lookup opens it
    ScratchFile file(image.serialize());

    const Outcome shortOne = runTool({"cat", file.path(), "Cut"});
    EXPECT_EQ(shortOne.code, 0);
    EXPECT_TRUE(shortOne.out == text(tovxtest::patternBytes(512, 3)));
    EXPECT_EQ(shortOne.err.rfind("ststg: " + file.path() + ": /Cut: the file holds only 512 of its 5000 bytes\n", 0), 0u);
    const Outcome unreadable = runTool({"cat", file.path(), "Bad"});
    EXPECT_EQ(unreadable.code, 1);
    EXPECT_EQ(unreadable.err.rfind("ststg: " + file.path() + ": /Bad: cannot be read\n", 0), 0u);
    // The damage of the file as a whole follows, one warning for each kind.
    for (const Outcome& outcome : {shortOne, unreadable}) {
        EXPECT_NE(outcome.err.find("warning: 1 directory entry is damaged\n"), std::string::npos) << outcome.err;
        EXPECT_NE(outcome.err.find("warning: 1 stream is cut short"), std::string::npos) << outcome.err;
    }
}

// 8,000 storages each inside the last, with names of the full 31 units (a file of 1 MB):
// the walk holds each name once, so the listing takes time and memory in step with its size.
TEST(StstgTree, ListsStoragesNestedThousandsDeep) {
    constexpr int kDepth = 8000;
    const auto nameAt = [](int depth) {
        const std::string digits = std::to_string(depth);
        return std::string(31 - digits.size(), 'd') + digits;
    };
    CfbBuilder builder;
    for (int depth = 0, parent = CfbBuilder::kRoot; depth < kDepth; ++depth) {
        const std::string name = nameAt(depth);
        parent = builder.addStorage(parent, std::u16string(name.begin(), name.end()));
    }
    ScratchFile file(builder.build());
    const Outcome outcome = runTool({"tree", file.path()});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    std::string expected = "/  (root, 0 bytes)\n";
    for (int depth = 0; depth < kDepth; ++depth) expected += std::string(2 * (depth + 1), ' ') + nameAt(depth) + "  (storage, 0 bytes)\n";
    const auto differ = std::mismatch(expected.begin(), expected.end(), outcome.out.begin(), outcome.out.end());
    EXPECT_TRUE(outcome.out == expected) << "first difference at byte " << (differ.first - expected.begin()) << " of "
                                          << expected.size() << " (got " << outcome.out.size() << ")";
}

TEST(StstgTree, ListsInDirectoryOrderWithPasteableNamesAndEntersEachStorageOnce) {
    ScratchFile file(sampleFile());
    const Outcome outcome = runTool({"tree", file.path()});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out,
              "/  (root, 448 bytes)\n"
              "  Outer  (storage, 0 bytes)\n"
              "    Inner  (storage, 0 bytes)\n"
              "      Inner  (storage, 0 bytes; leads to a storage listed above, not repeated)\n"
              "      Deep  (stream, 10 bytes)\n"
              "  \\x05SummaryInformation  (stream, 7 bytes)\n"
              "  Big  (stream, 5000 bytes)\n"
              "  Empty  (stream, 0 bytes)\n"
              "  Dup  (storage, 0 bytes)\n"
              "    One  (stream, 1 bytes)\n"
              "  Dup  (storage, 0 bytes; leads to a storage listed above, not repeated)\n"
              "  \"\"  (storage, 0 bytes; cannot be opened, contents not listed)\n"
              "  Twin  (stream, 5 bytes)\n"
              "  Twin  (stream, 6 bytes; an earlier entry of the same name hides it)\n");
}

TEST(StstgExtract, WritesWhatNamesReachAndReportsTheRest) {
    ScratchFile file(sampleFile());
    ScratchFolder folder;
    const Outcome outcome = runTool({"extract", file.path(), folder.path.u8string()});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_NE(outcome.err.find("/\"\": storage cannot be opened"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("/Twin: an earlier stream of the same name hides it"), std::string::npos) << outcome.err;
    const std::map<std::string, std::string> expected = {
        {"Outer/Inner/Deep", "deep bytes"}, {"%05SummaryInformation", "summary"}, {"Empty", ""}, {"Dup/One", "1"}, {"Twin", "first"},
    };
    std::map<std::string, std::string> files = filesUnder(folder.path);
    EXPECT_TRUE(files["Big"] == text(tovxtest::patternBytes(5000, 7)));  // not EXPECT_EQ: 5000 bytes are no message
    files.erase("Big");
    EXPECT_EQ(files, expected);
    EXPECT_TRUE(fs::is_directory(folder.path / "%empty"));
}

TEST(StstgExtract, HostileNamesStayInsideTheTargetFolder) {
    CfbBuilder builder;
    const int up = builder.addStorage(CfbBuilder::kRoot, u"..");
    builder.addStream(up, u"../../escaped", u8("one"));
    builder.addStream(up, u".", u8("dot"));
    builder.addStream(builder.addStorage(CfbBuilder::kRoot, u"/tmp"), u"..\\..\\win", u8("two"));
    builder.addStream(CfbBuilder::kRoot, u"Case", u8("upper"));
    builder.addStream(CfbBuilder::kRoot, u"case", u8("lower"));
    builder.addStream(CfbBuilder::kRoot, u"Case~2", u8("tilde"));
    ScratchFile file(builder.build());

    ScratchFolder sandbox;
    const fs::path target = sandbox.path / "out";
    const Outcome outcome = runTool({"extract", file.path(), target.u8string()});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    // Nothing but the target folder appeared in the sandbox.
    EXPECT_EQ(std::distance(fs::directory_iterator(sandbox.path), fs::directory_iterator()), 1);
    const std::map<std::string, std::string> expected = {
        {"%2E%2E/..%2F..%2Fescaped", "one"}, {"%2E%2E/%2E", "dot"}, {"%2Ftmp/..%5C..%5Cwin", "two"},
        {"Case", "upper"}, {"case~2", "lower"}, {"Case~2~2", "tilde"},  // names that differ only in case still get files of their own
    };
    EXPECT_EQ(filesUnder(target), expected);
}

// 8,000 sibling streams all called "x" (a file of 1 MB): the first is written, the others are
// hidden by it, and each still claims its own name in one step.
TEST(StstgExtract, ThousandsOfNamesakesClaimTheirNamesInOnePass) {
    struct Claim { std::string wanted, given; };
    ststg::FolderNames names;
    for (const Claim& claim : {Claim{"x", "x"}, {"x~3", "x~3"}, {"X", "X~2"}, {"x", "x~4"}, {"x~3", "x~3~2"}, {"x", "x~5"}})
        EXPECT_EQ(names.claim(claim.wanted), claim.given) << claim.wanted;

    constexpr int kSiblings = 8000;
    CfbBuilder builder;
    for (int i = 0; i < kSiblings; ++i) builder.addStream(CfbBuilder::kRoot, u"x", {});
    ScratchFile file(builder.build());
    ScratchFolder folder;
    const Outcome outcome = runTool({"extract", file.path(), folder.path.u8string()});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(filesUnder(folder.path), (std::map<std::string, std::string>{{"x", ""}}));
    std::string warnings;
    for (int i = 1; i < kSiblings; ++i) warnings += "ststg: " + file.path() + ": /x: an earlier stream of the same name hides it; not extracted\n";
    EXPECT_TRUE(outcome.err == warnings) << outcome.err.substr(0, 200);
}

TEST(StstgProps, ListsTheRootSetsAsTextOrAnEmptyJsonList) {
    const std::string example = std::string(TOVX_SOURCE_DIR) + "/examples/embedded-object.doc";
    const Outcome outcome = runTool({"props", example});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out.rfind("{F29F85E0-4FF9-1068-AB91-08002B27B3D9}\n  0x00000001  -  (integer)  -535\n", 0), 0u) << outcome.out;
    EXPECT_NE(outcome.out.find("\n  0x00000002  Cells  (float)  6.000000\n"), std::string::npos);  // a name from the dictionary
    EXPECT_NE(outcome.out.find("  0x0000000C  -  (date)  2019-07-04 08:00:00\n"), std::string::npos);

    ScratchFile file(sampleFile());  // its \x05 stream holds no property set
    EXPECT_EQ(runTool({"props", "--json", file.path()}).out, "{\"file\": " + ststg::jsonString(file.path()) + ", \"property_sets\": []}\n");
    EXPECT_EQ(runTool({"props", file.path()}).out, "");
}

// Windows hands a program its arguments in the machine's code page unless it asks for UTF-16:
// a path outside that page must reach its file from the command line and from run() alike.
TEST(StstgProgram, PathsOutsideTheCodePageAreReadAndWritten) {
    ScratchFolder folder;
    const fs::path named = folder.path / fs::u8path("\xCE\xB1\xCE\xB2-\xE6\x96\x87.doc");
    std::ofstream(named, std::ios::binary) << text(sampleFile());
    EXPECT_EQ(tovxtest::exitStatusOf(STSTG_PATH, {"cat", named.u8string(), "Outer", "Inner", "Deep"}), 0);
    const fs::path target = folder.path / fs::u8path("\xC3\xBC");
    runTool({"extract", named.u8string(), target.u8string()});
    EXPECT_EQ(filesUnder(target)["Outer/Inner/Deep"], "deep bytes");
}

#ifdef __linux__
// A pipe that the tool writes into is grown to a megabyte, and the native road lends a large
// stream's pages to it rather than copying them: the bytes that come through are the stream's.
TEST(StstgProgram, ALargeStreamComesThroughAPipeWhole) {
    CfbBuilder builder;
    const std::vector<uint8_t> large = tovxtest::patternBytes(3 << 20, 5);
    builder.addStream(CfbBuilder::kRoot, u"Large", large);
    ScratchFile file(builder.layout().serialize());
    for (const char* road : {"--native", "--host"}) {
        FILE* pipe = ::popen(("'" + std::string(STSTG_PATH) + "' " + road + " cat '" + file.path() + "' Large").c_str(), "r");
        ASSERT_NE(pipe, nullptr);
        std::vector<uint8_t> got(large.size() + 1);
        size_t total = 0;
        for (size_t n; (n = std::fread(got.data() + total, 1, got.size() - total, pipe)) > 0;) total += n;
        EXPECT_EQ(::fcntl(::fileno(pipe), F_GETPIPE_SZ), 1 << 20) << road;
        EXPECT_EQ(::pclose(pipe), 0) << road;
        got.resize(total);
        EXPECT_TRUE(got == large) << road << ": " << total << " bytes";
    }
}
#endif

}  // namespace
