// ststg as its users meet it: the platform's reading by default and the library's own
// with --native, paths, a safe extract, damage, the human forms of properties, standard
// input, help and version.
#include <gtest/gtest.h>

#ifndef _WIN32
#include <fcntl.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "CfbBuilder.h"
#include "HostileFiles.h"
#include "PropertyStreamBuilder.h"
#include "StstgCommands.h"
#include "TOVXString.h"
#include "TestFiles.h"
#include "ToolRun.h"

namespace fs = std::filesystem;
using namespace tovxtest;
using namespace tooltest;

namespace {

// A name above U+00FF; the library's own reader keeps the low byte of each unit: "\u00A9mega".
const std::u16string kOmega = u"\u03A9mega";
const Bytes& kSummaryId = summaryFormatId();
const Bytes kDocumentSummaryId = {0x02, 0xD5, 0xCD, 0xD5, 0x9C, 0x2E, 0x1B, 0x10, 0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE};
const Bytes kUtf8CodePage = typed(2, concat({le16(65001), le16(0)}));  // stored as the VT_I2 -535

Bytes summaryStream(const std::string& title) {
    return PropertyStreamBuilder()
        .section(kSummaryId)
        .value(1, kUtf8CodePage)
        .value(2, typed(30, narrowString(title)))
        .value(10, typed(64, le64(123450000)))  // EditTime: 12.345 seconds
        .build();
}

Bytes documentSummaryStream() {
    const Bytes titles = concat({le32(2), narrowString("Sheet1"), narrowString("Sheet2")});
    return PropertyStreamBuilder().section(kDocumentSummaryId).value(1, kUtf8CodePage).value(13, typed(0x101E, titles)).build();
}

// Storages three deep, a name above U+00FF, names with '-' and '/', binary bytes, and
// property sets at the root and in a sub-storage.
std::vector<uint8_t> sampleFile(bool cutBig = false) {
    const int root = CfbBuilder::kRoot;
    CfbBuilder builder;
    const int a = builder.addStorage(root, u"A");
    builder.addStream(builder.addStorage(builder.addStorage(a, u"B"), u"C"), u"Deep", u8("deep bytes"));
    builder.addStream(root, kOmega, u8("omega"));
    builder.addStream(root, u"-dash", u8("dash"));
    builder.addStream(root, u"a/b", u8("slash"));
    builder.addStream(root, u"Bin", {0, 1, 2, 'b'});
    const int big = builder.addStream(root, u"Big", patternBytes(5000, 9));
    builder.addStream(root, u"\x05SummaryInformation", summaryStream("Report"));
    builder.addStream(root, u"\x05" u"DocumentSummaryInformation", documentSummaryStream());
    builder.addStream(builder.addStorage(root, u"Sub"), u"\x05SummaryInformation", summaryStream("Inner"));
    CfbImage image = builder.layout();
    image.entries[static_cast<size_t>(a)].clsid = {0x06, 0x09, 0x02, 0x00, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46};
    if (cutBig) image.fat[image.entries[static_cast<size_t>(big)].start] = kEndOfChain;  // one sector of ten
    return image.serialize();
}

Arguments with(const std::string& road, Arguments arguments) {
    if (!road.empty()) arguments.insert(arguments.begin(), road);
    return arguments;
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

std::string utf8(const std::u16string& units) {
    return TOVXString::FromUnits(reinterpret_cast<const unsigned short*>(units.data()), static_cast<int>(units.size())).ToUtf8();
}

}  // namespace

TEST(StstgRoads, NamesAboveLatin1InFullByDefaultAndAsLowBytesUnderNative) {
    const ScratchFile file(sampleFile());
    struct Case { std::string road, name; };
    for (const Case& c : {Case{"", utf8(kOmega)}, {"--host", utf8(kOmega)}, {"--native", "\u00A9mega"}}) {
        const Outcome tree = runStstg(with(c.road, {"tree", file.path()}));
        EXPECT_EQ(tree.code, 0) << tree.err;
        EXPECT_TRUE(contains(tree.out, "\n  " + c.name + "  (stream, 5 bytes)\n")) << c.road << "\n" << tree.out;
        EXPECT_EQ(runStstg(with(c.road, {"cat", file.path(), c.name})).out, "omega") << c.road;
    }
}

TEST(StstgPaths, SlashPathsAndSeparateNamesReachTheSameStreams) {
    const ScratchFile file(sampleFile());
    struct Case { Arguments path; int code; std::string outOrMessage; };
    const Case cases[] = {
        {{"A/B/C/Deep"}, 0, "deep bytes"},
        {{"/A/B/C/Deep"}, 0, "deep bytes"},
        {{"A", "B", "C", "Deep"}, 0, "deep bytes"},
        {{"a\\x2fb"}, 0, "slash"},                           // a '/' inside a name
        {{"--", "-dash"}, 0, "dash"},                       // a name that begins with '-'
        {{"A/B/X/Deep"}, 1, "no storage /A/B/X that can be opened"},
        {{"A/B"}, 1, "/A/B is a storage, not a stream"},
        {{"A//B"}, 2, "an empty name in the path"},
    };
    for (const std::string road : {"", "--native"}) {
        for (const Case& c : cases) {
            Arguments arguments = with(road, {"cat", file.path()});
            arguments.insert(arguments.end(), c.path.begin(), c.path.end());
            const Outcome outcome = runStstg(arguments);
            EXPECT_EQ(outcome.code, c.code) << road << " " << c.path.back();
            if (c.code == 0) EXPECT_EQ(outcome.out, c.outOrMessage);
            else EXPECT_TRUE(contains(outcome.err, c.outOrMessage)) << outcome.err;
        }
    }
}

TEST(StstgExtract, FollowsNoLinkAndOverwritesNothingUnlessForced) {
    const ScratchFile file(sampleFile());
    const ScratchFolder sandbox;
    const fs::path target = sandbox.path / "out", outsideFile = sandbox.path / "outside-file", outsideFolder = sandbox.path / "outside";
    fs::create_directories(target);
    fs::create_directories(outsideFolder);
    std::ofstream(outsideFile) << "precious";
    std::ofstream(target / "Bin") << "old";
    fs::create_symlink(outsideFile, target / "Big");     // a link named like a stream
    fs::create_symlink(outsideFolder, target / "A");     // and one named like a storage
    struct Case { Arguments options; std::string bin; bool bigIsLink; };
    for (const Case& c : {Case{{}, "old", true}, {{"--force"}, std::string("\0\1\2b", 4), false}}) {
        Arguments arguments = {"extract", file.path(), target.string()};
        arguments.insert(arguments.end(), c.options.begin(), c.options.end());
        const Outcome outcome = runStstg(arguments);
        EXPECT_EQ(outcome.code, 1) << outcome.err;  // the link in A's place is refused even when forced
        EXPECT_TRUE(contains(outcome.err, target.string() + "/A: is a symbolic link; not followed")) << outcome.err;
        EXPECT_TRUE(contains(outcome.err, "extract incomplete: ")) << outcome.err;
        EXPECT_EQ(filesUnder(target)["Bin"], c.bin);
        EXPECT_EQ(fs::is_symlink(target / "Big"), c.bigIsLink);
        EXPECT_EQ(text(readWholeFile(outsideFile.string())), "precious");
        EXPECT_TRUE(fs::is_empty(outsideFolder));
    }
    EXPECT_EQ(filesUnder(target)["Big"].size(), 5000u);  // written in place of the link, not through it
}

TEST(StstgExtract, PathPicksAStorageOrOneStream) {
    const ScratchFile file(sampleFile());
    struct Case { std::string road, path; std::map<std::string, std::string> files; };
    const Case cases[] = {
        {"", "A/B", {{"C/Deep", "deep bytes"}}},
        {"--native", "A/B", {{"C/Deep", "deep bytes"}}},
        {"", "-dash", {{"-dash", "dash"}}},
    };
    for (const Case& c : cases) {
        const ScratchFolder folder;
        const Outcome outcome = runStstg(with(c.road, {"extract", file.path(), folder.path.string(), "--", c.path}));
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(filesUnder(folder.path), c.files) << c.road << " " << c.path;
    }
}

#ifndef _WIN32  // a file size limit for one process is a POSIX resource limit
// A write that fails (here at the file size limit) leaves no partial file, and the extract
// says how far it got and exits 1; the exit status reaches the shell.
TEST(StstgExtract, AWriteThatFailsMakesThePartialExtractExitOne) {
    const ScratchFile file(sampleFile());
    const ScratchFolder folder;
    const std::string log = (folder.path / "log").string();
    const std::string command = "ulimit -f 4; '" + std::string(STSTG_PATH) + "' extract '" + file.path() + "' '" +
                                (folder.path / "out").string() + "' 2>'" + log + "'";
    const int raw = std::system(command.c_str());
    EXPECT_EQ(WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, 1);
    const std::string messages = text(readWholeFile(log));
    EXPECT_TRUE(contains(messages, "/out/Big: File too large\n")) << messages;
    EXPECT_TRUE(contains(messages, "extract incomplete: 8 of 9 streams written")) << messages;
    EXPECT_FALSE(fs::exists(folder.path / "out" / "Big"));
    EXPECT_EQ(filesUnder(folder.path / "out")["A/B/C/Deep"], "deep bytes");
}
#endif

TEST(StstgDamage, ToldOnceForEachKindAndAFailureOnlyUnderStrict) {
    const ScratchFile chainCut(sampleFile(true));
    std::vector<uint8_t> corpusCut;
    if (!corpusDir().empty()) {
        corpusCut = readWholeFile(corpusDir() + "/files/lo-writer-custom-props.doc");
        corpusCut.resize(1000);
    }
    const ScratchFile fileCut(corpusCut);
    struct Case { const ScratchFile* file; std::string road; Arguments command; std::string warning; };
    const std::string fallback = "warning: the platform's service refuses this file as damaged";
    const Case cases[] = {
        {&chainCut, "", {"tree"}, "warning: 1 stream is cut short"},
        {&chainCut, "--native", {"props"}, "warning: 1 stream is cut short"},
        {&chainCut, "", {"cat", "--force"}, "/Big: the file holds only 512 of its 5000 bytes"},
        {&fileCut, "", {"tree"}, fallback},
        {&fileCut, "", {"info"}, "warning: the file is cut short: it ends at byte 1000"},
        {&fileCut, "--native", {"tree"}, "warning: 2 directory entries are damaged"},
    };
    for (const Case& c : cases) {
        if (c.file == &fileCut && corpusCut.empty()) continue;
        for (const bool strict : {false, true}) {
            Arguments arguments = with(c.road, c.command);
            arguments.insert(arguments.begin() + (c.road.empty() ? 1 : 2), c.file->path());
            if (c.command[0] == "cat") arguments.push_back("Big");
            if (strict) arguments.push_back("--strict");
            const Outcome outcome = runStstg(arguments);
            EXPECT_EQ(outcome.code, strict ? 1 : 0) << c.command[0] << " " << outcome.err;
            EXPECT_NE(outcome.out, "");  // what can be read is still shown
            EXPECT_TRUE(contains(outcome.err, c.warning)) << outcome.err;
        }
    }
    if (corpusCut.empty()) GTEST_SKIP() << "no corpus at " << TOVX_CORPUS_DIR << ": the cut corpus file was not tried";
}

TEST(StstgProps, TheDefaultRoadAddsStreamsLabelsAndHumanValues) {
    const ScratchFile file(sampleFile());
    const Outcome json = runStstg({"props", "--json", file.path()});
    ASSERT_EQ(json.code, 0) << json.err;
    for (const std::string part : {
             "\"id\": \"{F29F85E0-4FF9-1068-AB91-08002B27B3D9}\", \"name\": \"\", \"stream\": \"\\u0005SummaryInformation\"",
             "{\"id\": 1, \"name\": \"\", \"type\": 2, \"value\": \"-535\", \"label\": \"CodePage\", \"display\": \"65001\"}",
             "{\"id\": 2, \"name\": \"\", \"type\": 1, \"value\": \"Report\", \"label\": \"Title\"}",
             "\"value\": \"1601-01-01 00:00:12\", \"label\": \"EditTime\", \"display\": \"0:00:12\"}",
             "\"value\": \"...\", \"label\": \"TitlesOfParts\", \"display\": [\"Sheet1\", \"Sheet2\"]}",
         })
        EXPECT_TRUE(contains(json.out, part)) << part << "\n" << json.out;
    const Outcome textForm = runStstg({"props", file.path()});
    EXPECT_TRUE(contains(textForm.out, "  0x00000001  CodePage  (integer)  65001\n")) << textForm.out;
    EXPECT_TRUE(contains(textForm.out, "  0x0000000D  TitlesOfParts  (unconverted)  [\"Sheet1\", \"Sheet2\"]\n")) << textForm.out;
    // The library's own reading stays as it always was.
    const Outcome native = runStstg({"--native", "props", file.path()});
    EXPECT_TRUE(contains(native.out, "  0x00000001  -  (integer)  -535\n")) << native.out;
    EXPECT_FALSE(contains(native.out, "CodePage"));
}

TEST(StstgProps, ASubStorageListsItsOwnSets) {
    const ScratchFile file(sampleFile());
    struct Case { std::string road; Arguments path; int code; std::string part; };
    const Case cases[] = {
        {"", {"Sub"}, 0, "  0x00000002  Title  (text)  Inner\n"},
        {"--native", {"/Sub"}, 0, "  0x00000002  -  (text)  Inner\n"},
        {"", {"A"}, 0, ""},
        {"", {"Big"}, 1, "/Big is a stream, not a storage"},
        {"--native", {"Nothing"}, 1, "no storage /Nothing that can be opened"},
    };
    for (const Case& c : cases) {
        Arguments arguments = with(c.road, {"props", file.path()});
        arguments.insert(arguments.end(), c.path.begin(), c.path.end());
        const Outcome outcome = runStstg(arguments);
        EXPECT_EQ(outcome.code, c.code) << c.road << " " << c.path[0] << " " << outcome.err;
        EXPECT_TRUE(contains(c.code == 0 ? outcome.out : outcome.err, c.part)) << outcome.out << outcome.err;
        if (c.part.empty()) {
            EXPECT_EQ(outcome.out, "");
        }
    }
    if (corpusDir().empty()) GTEST_SKIP() << "no corpus at " << TOVX_CORPUS_DIR;
    const std::string corpusFile = corpusDir() + "/files/poi-hpsf-cp1252-user-defined.bin";
    for (const std::string road : {"", "--native"}) {
        const Outcome outcome = runStstg(with(road, {"props", "--json", corpusFile, "Embedded"}));
        EXPECT_TRUE(contains(outcome.out, "{\"id\": \"{F29F85E0-4FF9-1068-AB91-08002B27B3D9}\"")) << road << outcome.out;
    }
}

TEST(StstgTree, LongLinesAndJsonCarryWholePathsClassIdsAndKinds) {
    const ScratchFile file(sampleFile());
    const std::string wordClass = "{00020906-0000-0000-C000-000000000046}";
    for (const std::string road : {"", "--native"}) {
        const Outcome lines = runStstg(with(road, {"tree", "--long", file.path()}));
        EXPECT_EQ(lines.code, 0) << lines.err;
        EXPECT_TRUE(contains(lines.out, wordClass + "  -                     /A\n")) << lines.out;
        EXPECT_TRUE(contains(lines.out, "stream            10  -")) << lines.out;
        EXPECT_TRUE(contains(lines.out, "  /A/B/C/Deep\n") && contains(lines.out, "  /a\\x2fb\n")) << lines.out;
        const Outcome json = runStstg(with(road, {"tree", "--json", "--long", file.path()}));
        EXPECT_TRUE(contains(json.out, "{\"path\": [\"A\"], \"type\": 1, ") && contains(json.out, "\"clsid\": \"" + wordClass + "\"}")) << json.out;
    }
    // Without --long the library's own reading gives its JSON as it always did.
    EXPECT_FALSE(contains(runStstg({"--native", "tree", "--json", file.path()}).out, "clsid"));
}

TEST(StstgStreams, DumpShowsBytesAndATerminalGetsNoBinaryUnlessForced) {
    const ScratchFile file(sampleFile());
    EXPECT_EQ(runStstg({"dump", file.path(), "Bin", "--offset", "1", "--length=0x2"}).out,
              "00000001  01 02                                             |..|\n");
    const std::string twoLines = runStstg({"dump", file.path(), "Big", "--length", "17"}).out;
    EXPECT_EQ(std::count(twoLines.begin(), twoLines.end(), '\n'), 2) << twoLines;
    const Outcome past = runStstg({"dump", file.path(), "Bin", "--offset", "5"});
    EXPECT_EQ(past.code, 1);
    EXPECT_TRUE(contains(past.err, "/Bin: offset 5 lies past the end of the stream (4 bytes)")) << past.err;

#ifndef _WIN32  // a terminal made on demand is a POSIX pseudo-terminal
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master, 0);
    ASSERT_EQ(::grantpt(master), 0);
    ASSERT_EQ(::unlockpt(master), 0);
    FILE* terminal = std::fopen(::ptsname(master), "w");
    ASSERT_NE(terminal, nullptr);
    FILE* err = std::tmpfile();
    struct Case { Arguments arguments; int code; };
    for (const Case& c : {Case{{"cat", file.path(), "Bin"}, 1}, {{"cat", file.path(), "Bin", "--force"}, 0}, {{"cat", file.path(), "A/B/C/Deep"}, 0}})
        EXPECT_EQ(ststg::run(c.arguments, terminal, err, stdin), c.code) << c.arguments.back();
    std::fclose(terminal);
    std::rewind(err);
    char message[512] = {};
    EXPECT_NE(std::fgets(message, sizeof message, err), nullptr);
    EXPECT_TRUE(contains(message, "/Bin: binary data, not written to a terminal")) << message;
    std::fclose(err);
    ::close(master);
#endif
}

TEST(StstgInput, DashReadsTheFileFromStandardInput) {
    const std::vector<uint8_t> bytes = sampleFile();
    const ScratchFile file(bytes);
    for (const std::string road : {"", "--native"}) {
        const Outcome piped = runStstg(with(road, {"tree", "-"}), text(bytes));
        EXPECT_EQ(piped.code, 0) << piped.err;
        EXPECT_EQ(piped.out, runStstg(with(road, {"tree", file.path()})).out);
        EXPECT_EQ(runStstg(with(road, {"cat", "-", "A/B/C/Deep"}), text(bytes)).out, "deep bytes");
    }
    const Outcome notCompound = runStstg({"tree", "-"}, "plain text");
    EXPECT_EQ(notCompound.code, 1);
    EXPECT_EQ(notCompound.err, "ststg: -: not a compound file\n");
}

TEST(StstgInfo, HeaderFactsCountsAndDamage) {
    const ScratchFile file(sampleFile());
    const Outcome info = runStstg({"info", file.path()});
    EXPECT_EQ(info.code, 0) << info.err;
    for (const std::string part : {"version: 3 (minor 0x003E)\n", "sector size: 512 bytes; mini sectors: 64 bytes; mini stream cutoff: 4096 bytes\n",
                                   "entries: 4 storages, 9 streams (", "damage: none found\n"})
        EXPECT_TRUE(contains(info.out, part)) << part << "\n" << info.out;
    const Outcome json = runStstg({"--native", "info", "--json", file.path()});
    EXPECT_TRUE(contains(json.out, "\"road\": \"native\"") && contains(json.out, "\"storages\": 4, \"streams\": 9,")) << json.out;
}

// The help and the README name every command and every flag; --version gives the version
// that CMake's project() sets.
TEST(StstgHelp, DescribesEveryCommandAndFlagAndPrintsTheVersion) {
    const Outcome help = runStstg({"--help"});
    EXPECT_EQ(help.code, 0);
    const std::string readme = text(readWholeFile(std::string(TOVX_SOURCE_DIR) + "/README.md"));
    for (const std::string word : {"tree", "cat", "dump", "extract", "props", "info", "--native", "--host", "--json", "--long",
                                   "--force", "--offset", "--length", "--strict", "--help", "--version", "-V", "'-'", "'--'"}) {
        EXPECT_TRUE(contains(help.out, word)) << word;
        EXPECT_TRUE(contains(readme, word)) << word << " is not in the README";
    }
    // Help goes to standard output and succeeds, also behind a command's arguments.
    for (const Arguments& arguments : {Arguments{"-h"}, {"tree", "--help"}, {"cat", "--help"}, {"dump", "--help"},
                                       {"extract", "x", "--help"}, {"props", "--help"}, {"info", "--help"}}) {
        const Outcome outcome = runStstg(arguments);
        EXPECT_EQ(outcome.code, 0) << arguments[0];
        EXPECT_EQ(outcome.err, "") << arguments[0];
        const std::string usage = arguments.size() == 1 ? "Usage: ststg" : "Usage: ststg " + arguments[0];
        EXPECT_EQ(outcome.out.rfind(usage, 0), 0u) << outcome.out;
    }
    for (const std::string option : {"--version", "-V"})
        EXPECT_EQ(runStstg({option}).out, "ststg (TOVXStStorage) " TOVX_PROJECT_VERSION "\n");
}
