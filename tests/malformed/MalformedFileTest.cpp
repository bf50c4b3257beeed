// Damaged and hostile files, one per case, each read whole by both stacks: the native stack, and
// the host stack over the platform stand-in. Each case states exactly what each stack makes of
// the file (what opens, what is listed, what each stream gives, what reads as zeros, which
// properties come out), and runs in well under a second, also under the sanitizers.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <functional>
#include <sstream>
#include <string>

#include "CfbBuilder.h"
#include "HostileFiles.h"
#include "MalformedReading.h"
#include "PropertyStreamBuilder.h"
#include "TestFiles.h"

using namespace tovxtest;
using malformed::Contents;
using malformed::Reading;

namespace {

struct Built {
    Bytes bytes;
    Contents contents;
};

// ---- the files --------------------------------------------------------------------------

// Entries: 0 the root, 1 "Small" (2000 bytes, mini sectors 0-31), 2 "Large" (9000 bytes),
// 3 "Folder", 4 "Inside" (100 bytes, mini sectors 32-33). Sectors: 0 the FAT, 1-2 the
// directory, 3 the mini FAT, 4-8 the mini stream, 9-26 "Large".
CfbBuilder sampleBuilder(uint16_t sectorShift = 9) {
    CfbBuilder builder(sectorShift);
    builder.addStream(CfbBuilder::kRoot, u"Small", patternBytes(2000, 1));
    builder.addStream(CfbBuilder::kRoot, u"Large", patternBytes(9000, 2));
    const int folder = builder.addStorage(CfbBuilder::kRoot, u"Folder");
    builder.addStream(folder, u"Inside", patternBytes(100, 3));
    return builder;
}

const Contents& sampleContents() {
    static const Contents contents = {
        {u"Small", patternBytes(2000, 1)}, {u"Large", patternBytes(9000, 2)}, {u"Inside", patternBytes(100, 3)}};
    return contents;
}

Built sample(const std::function<void(CfbImage&)>& damage) {
    CfbImage image = sampleBuilder().layout();
    damage(image);
    return {image.serialize(), sampleContents()};
}

Built sampleCutAt(size_t length) {
    Bytes bytes = sampleBuilder().build();
    bytes.resize(length);
    return {bytes, sampleContents()};
}

// The sample with its one FAT sector moved behind all others, so that a cut can fall inside it.
CfbImage fatAtTheEnd() {
    CfbImage image = sampleBuilder().layout();
    const uint32_t moved = static_cast<uint32_t>(image.sectors.size());
    image.sectors.emplace_back();
    image.fat.push_back(kFatSect);
    image.fat[image.fatSectorIds[0]] = kFreeSect;
    image.sectors[image.fatSectorIds[0]].clear();
    image.fatSectorIds = {moved};
    image.header.fatList = {moved};
    return image;
}

const Bytes& kSummaryId = summaryFormatId();
const Bytes kUserDefinedId = {0x05, 0xD5, 0xCD, 0xD5, 0x9C, 0x2E, 0x1B, 0x10, 0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE};

Built withSummary(const Bytes& stream) { return {fileWithSummary(stream), {}}; }

// The code page 1252, a title in narrow text and a number; the section's count lies at 52.
PropertyStreamBuilder summary() {
    return PropertyStreamBuilder()
        .section(kSummaryId)
        .value(1, typed(2, le16(1252)))
        .value(2, typed(30, narrowString("Title")))
        .value(14, typed(3, le32(7)));
}

// `count` storages in one chain of siblings, each one's child link naming the next: every
// storage's children are the storages behind it, the square of the count in all.
Built overlappingSiblings(uint32_t count) {
    CfbBuilder builder;
    builder.shape(CfbBuilder::Shape::RightChain);
    for (uint32_t i = 0; i < count; ++i) builder.addStorage(CfbBuilder::kRoot, u"s" + std::u16string(1, u'0' + i % 10) + std::u16string(1, u'a' + i / 10 % 26) + std::u16string(1, u'a' + i / 260));
    CfbImage image = builder.layout();
    for (uint32_t i = 1; i <= count; ++i) image.entries[i].child = image.entries[i].right;
    return {image.serialize(), {}};
}

// ---- the cases ----------------------------------------------------------------------------

// What each stack makes of one file: the tree's text, or "" when `more` says it.
struct Case {
    const char* what;
    std::function<Built()> file;
    std::string native;
    std::string host;
    // Further checks, for files too large to spell out.
    std::function<void(const Reading& native, const Reading& host)> more = nullptr;
};

// What each stack makes of the property sets of a file whose one stream is a summary set.
struct SetCase {
    const char* what;
    std::function<Bytes()> stream;
    const char* native;
    const char* host;
};

const char* const kRefused = "refused\n";

// The intact sample as each stack lists it: the native stack by directory index, the host
// stack in the tree's name order.
const char* const kIntactNative =
    "/ root\n/Small stream 2000 read 2000 whole\n/Large stream 9000 read 9000 whole\n/Folder storage\n"
    "/Folder/Inside stream 100 read 100 whole\n";
const char* const kIntactHost =
    "/ root\n/Large stream 9000 read 9000 whole\n/Small stream 2000 read 2000 whole\n/Folder storage\n"
    "/Folder/Inside stream 100 read 100 whole\n";

using Changes = std::vector<std::pair<std::string, std::string>>;

// The intact reading with the lines of some entries changed: each change names an entry's path
// and gives the line that stands for it then, or "" when it is not listed.
std::string intactWith(const std::string& intact, const Changes& changes) {
    std::string text;
    std::istringstream lines(intact);
    for (std::string line; std::getline(lines, line);) {
        for (const auto& [path, changed] : changes)
            if (line.rfind(path + " ", 0) == 0) line = changed;
        if (!line.empty()) text += line + "\n";
    }
    return text;
}
std::string nativeWith(const Changes& changes) { return intactWith(kIntactNative, changes); }
std::string hostWith(const Changes& changes) { return intactWith(kIntactHost, changes); }
// The same change to both readings.
std::pair<std::string, std::string> bothWith(const Changes& changes) { return {nativeWith(changes), hostWith(changes)}; }

Case sampleCase(const char* what, std::function<void(CfbImage&)> damage, std::pair<std::string, std::string> expected) {
    return {what, [damage] { return sample(damage); }, expected.first, expected.second};
}

std::vector<Case> treeCases() {
    // A directory read as zeros: the root's entry is empty and its child link, 0, names itself.
    const std::string zeroDirectory = "/ type 0\n/\"\" type 0\n";
    return {
        sampleCase("intact", [](CfbImage&) {}, {kIntactNative, kIntactHost}),

        // The file's size. The native stack reads what a short file lacks as zeros; the stand-in
        // wants a header and at least one sector.
        {"a file of zero bytes", [] { return Built{{}, {}}; }, kRefused, kRefused},
        {"a file cut inside the header", [] { return sampleCutAt(300); }, zeroDirectory, kRefused},
        {"a file of the header alone", [] { return sampleCutAt(512); }, zeroDirectory, kRefused},
        // Ten FAT words are left: "Large" runs 9 -> 10 -> 0 (a word that reads as zero) -> FREESECT.
        {"a file cut inside the FAT",
         [] {
             Bytes bytes = fatAtTheEnd().serialize();
             bytes.resize(bytes.size() - 512 + 40);
             return Built{bytes, sampleContents()};
         },
         nativeWith({{"/Large", "/Large stream 9000 read 1536 prefix 1024, zeros"}}),
         hostWith({{"/Large", "/Large stream 9000 read 1536 prefix 1024, zeros"}})},
        // A native chain visits no more sectors than the file has: eleven of the eighteen.
        {"a file cut inside a stream", [] { return sampleCutAt(512 * 11 + 100); },
         nativeWith({{"/Large", "/Large stream 9000 read 5632 prefix 612, zeros"}}),
         hostWith({{"/Large", "/Large stream 9000 read 9000 prefix 612, zeros"}})},

        // The header. The native stack takes entry 0 whatever its type; only a root holds a mini stream.
        sampleCase("a root of type 1", [](CfbImage& image) { image.entries[0].type = 1; },
                   {nativeWith({{"/", "/ storage"}, {"/Small", "/Small stream 2000 read 2000 zeros"},
                                {"/Folder/Inside", "/Folder/Inside stream 100 read 100 zeros"}}),
                    kRefused}),
        sampleCase("a root of type 0", [](CfbImage& image) { image.entries[0].type = 0; },
                   {nativeWith({{"/", "/ type 0"}, {"/Small", "/Small stream 2000 read 2000 zeros"},
                                {"/Folder/Inside", "/Folder/Inside stream 100 read 100 zeros"}}),
                    kRefused}),
        sampleCase("a sector shift of 10", [](CfbImage& image) { image.header.sectorShift = 10; }, {kRefused, kRefused}),
        sampleCase("a mini sector shift of 7", [](CfbImage& image) { image.header.miniSectorShift = 7; }, {kRefused, kRefused}),
        sampleCase("six directory sectors declared", [](CfbImage& image) { image.header.directorySectorCount = 6; },
                   {kRefused, kIntactHost}),
        // Every field behind the mark is read backwards natively: the sector shift reads 0x0900.
        sampleCase("a byte-order mark of FF FE", [](CfbImage& image) { image.header.byteOrder = 0xFEFF; }, {kRefused, kRefused}),
        // No FAT sector count is believed beyond the file's sectors; the native stack reads none.
        sampleCase("4 billion FAT sectors declared", [](CfbImage& image) { image.header.fatSectorCount = 0xFFFFFFFFu; },
                   {kIntactNative, kIntactHost}),

        // FAT chains. A native FAT chain is cut where it would repeat; the stand-in walks a loop
        // again, up to as many links as the FAT has entries.
        sampleCase("a stream's FAT chain that links to itself", [](CfbImage& image) { image.fat[9] = 9; },
                   {nativeWith({{"/Large", "/Large stream 9000 read 512 prefix"}}),
                    hostWith({{"/Large", "/Large stream 9000 read 9000 other 56B54C68"}})}),
        sampleCase("a stream's FAT chain that loops back after ten sectors", [](CfbImage& image) { image.fat[18] = 11; },
                   {nativeWith({{"/Large", "/Large stream 9000 read 5120 prefix"}}),
                    hostWith({{"/Large", "/Large stream 9000 read 9000 other 8A31C720"}})}),
        sampleCase("a FAT chain that ends in FREESECT after two sectors", [](CfbImage& image) { image.fat[10] = kFreeSect; },
                   bothWith({{"/Large", "/Large stream 9000 read 1024 prefix"}})),
        sampleCase("a FAT chain that ends in FATSECT after two sectors", [](CfbImage& image) { image.fat[10] = kFatSect; },
                   bothWith({{"/Large", "/Large stream 9000 read 1024 prefix"}})),
        // Sector 0xFFFFFF lies past the file; its native position wraps at 32 bits to the header.
        sampleCase("a FAT chain that leaves the table", [](CfbImage& image) { image.fat[10] = 0x00FFFFFF; },
                   {nativeWith({{"/Large", "/Large stream 9000 read 1536 other C9F7CBC9"}}),
                    hostWith({{"/Large", "/Large stream 9000 read 1536 prefix 1024, zeros"}})}),
        sampleCase("a start sector that is ENDOFCHAIN", [](CfbImage& image) { image.entries[2].start = kEndOfChain; },
                   bothWith({{"/Large", "/Large stream 9000 read 0"}})),
        sampleCase("a start sector that is DIFSECT", [](CfbImage& image) { image.entries[2].start = kDifSect; },
                   bothWith({{"/Large", "/Large stream 9000 read 0"}})),
        sampleCase("a start sector past the file", [](CfbImage& image) { image.entries[2].start = 5000; },
                   bothWith({{"/Large", "/Large stream 9000 read 512 zeros"}})),

        // Mini chains. Both walk a loop again until the size is used up; the native walk then
        // answers -1 with the stream, since the chain goes on.
        sampleCase("a mini chain that links to itself", [](CfbImage& image) { image.miniFat[0] = 0; },
                   {nativeWith({{"/Small", "/Small stream 2000 read 2000 other 68B63AD9, -1"}}),
                    hostWith({{"/Small", "/Small stream 2000 read 2000 other 68B63AD9"}})}),
        sampleCase("a mini chain that loops back after four sectors", [](CfbImage& image) { image.miniFat[3] = 1; },
                   {nativeWith({{"/Small", "/Small stream 2000 read 2000 other 4CFFE0E8, -1"}}),
                    hostWith({{"/Small", "/Small stream 2000 read 2000 other 4CFFE0E8"}})}),
        sampleCase("a mini chain that ends in FREESECT", [](CfbImage& image) { image.miniFat[1] = kFreeSect; },
                   bothWith({{"/Small", "/Small stream 2000 read 128 prefix"}})),
        // Natively a mini sector past the mini FAT is read (past the mini stream: zeros) and is the last.
        sampleCase("a mini chain that leaves the mini FAT", [](CfbImage& image) { image.miniFat[1] = 1000; },
                   {nativeWith({{"/Small", "/Small stream 2000 read 192 prefix 128, zeros"}}),
                    hostWith({{"/Small", "/Small stream 2000 read 128 prefix"}})}),
        sampleCase("a mini start sector that is ENDOFCHAIN", [](CfbImage& image) { image.entries[1].start = kEndOfChain; },
                   bothWith({{"/Small", "/Small stream 2000 read 0"}})),
        // The mini stream keeps its first sector: natively the rest of a small stream reads as zeros.
        sampleCase("the mini stream's chain links to itself", [](CfbImage& image) { image.fat[4] = 4; },
                   {nativeWith({{"/Small", "/Small stream 2000 read 2000 prefix 512, zeros"},
                                {"/Folder/Inside", "/Folder/Inside stream 100 read 100 zeros"}}),
                    hostWith({{"/Small", "/Small stream 2000 read 512 prefix"}, {"/Folder/Inside", "/Folder/Inside stream 100 read 0"}})}),
        // The mini FAT keeps its first sector, the links of mini sectors 0 to 127: a stream from 128 on gives one mini sector.
        {"the mini FAT's chain links to itself",
         [] {
             CfbBuilder builder;
             Contents contents;
             for (int i = 0; i < 20; ++i) {
                 const std::u16string name = u"s" + std::u16string(1, static_cast<char16_t>(u'a' + i));
                 contents[name] = patternBytes(500, static_cast<uint8_t>(i));
                 builder.addStream(CfbBuilder::kRoot, name, contents[name]);
             }
             CfbImage image = builder.layout();
             image.fat[image.miniFatSectorIds[0]] = image.miniFatSectorIds[0];
             return Built{image.serialize(), contents};
         },
         "", "",
         [](const Reading& native, const Reading& host) {
             for (const Reading* reading : {&native, &host}) {
                 ASSERT_EQ(reading->tree.size(), 21u);
                 EXPECT_EQ(reading->tree[16], "/sp stream 500 read 500 whole");
                 EXPECT_EQ(reading->tree[17], "/sq stream 500 read 64 prefix");
                 EXPECT_EQ(reading->tree[20], "/st stream 500 read 64 prefix");
             }
         }},

        // DIFAT. The native walk stops at its fixed bound, the stand-in's when the FAT is complete.
        {"a DIFAT sector that links to itself and claims 10,000 sectors",
         [] {
             CfbImage image = sampleBuilder().minimumFatSectors(120).layout();
             image.header.difSectorCount = 10000;
             Bytes bytes = image.serialize();
             image.putWord(bytes, image.difatSectorIds[0], image.wordsPerSector() - 1, image.difatSectorIds[0]);
             return Built{bytes, sampleContents()};
         },
         kIntactNative, kIntactHost},
        {"a DIFAT chain of two sectors that loops and claims 1,000",
         [] {
             CfbImage image = sampleBuilder().minimumFatSectors(109 + 127 + 5).layout();
             image.header.difSectorCount = 1000;
             Bytes bytes = image.serialize();
             image.putWord(bytes, image.difatSectorIds[1], image.wordsPerSector() - 1, image.difatSectorIds[0]);
             return Built{bytes, sampleContents()};
         },
         kIntactNative, kIntactHost},

        // The directory's chain, cut where it would repeat: entries past the cut are not there.
        sampleCase("the directory's chain that links to itself", [](CfbImage& image) { image.fat[1] = 1; },
                   bothWith({{"/Folder/Inside", ""}})),
        {"the directory's chain that loops back over two sectors",
         [] {
             CfbBuilder builder = sampleBuilder();
             for (int i = 0; i < 4; ++i) builder.addStream(CfbBuilder::kRoot, u"more" + std::u16string(1, static_cast<char16_t>(u'0' + i)), {});
             CfbImage image = builder.layout();
             image.fat[image.directorySectorIds[1]] = image.directorySectorIds[0];
             return Built{image.serialize(), sampleContents()};
         },
         std::string(kIntactNative) + "/more0 stream 0 not opened\n/more1 stream 0 not opened\n/more2 stream 0 not opened\n",
         hostWith({{"/Large", "/Large stream 9000 read 9000 whole\n/more0 stream 0 read 0\n/more1 stream 0 read 0\n/more2 stream 0 read 0"}})},
        sampleCase("a directory that starts past the file", [](CfbImage& image) { image.header.firstDirectorySector = 5000; },
                   {zeroDirectory, kRefused}),
        sampleCase("a directory that starts at ENDOFCHAIN", [](CfbImage& image) { image.header.firstDirectorySector = kEndOfChain; },
                   {zeroDirectory, kRefused}),

        // Links of the directory tree. Natively a storage is gone into once for each child
        // link; the stand-in gives every entry to the first storage that reaches it.
        sampleCase("a sibling link to itself", [](CfbImage& image) { image.entries[2].left = 2; }, {kIntactNative, kIntactHost}),
        sampleCase("siblings that link in a circle", [](CfbImage& image) { image.entries[2].right = 1; image.entries[3].left = 1; },
                   {kIntactNative, kIntactHost}),
        sampleCase("a storage that is its own child", [](CfbImage& image) { image.entries[3].child = 3; },
                   {nativeWith({{"/Folder/Inside", "/Folder/Folder storage (listed already)"}}), hostWith({{"/Folder/Inside", ""}})}),
        sampleCase("a storage whose child is among its parent's children", [](CfbImage& image) { image.entries[3].child = 1; },
                   {nativeWith({{"/Folder", "/Folder storage (listed already)"}, {"/Folder/Inside", ""}}), hostWith({{"/Folder/Inside", ""}})}),
        sampleCase("a child link that names the root", [](CfbImage& image) { image.entries[3].child = 0; },
                   {nativeWith({{"/Folder/Inside", "/Folder/Root Entry root"}}), hostWith({{"/Folder/Inside", ""}})}),
        {"two storages with one child link",
         [] {
             CfbBuilder builder = sampleBuilder();
             builder.addStorage(CfbBuilder::kRoot, u"Other");
             CfbImage image = builder.layout();
             image.entries[5].child = image.entries[3].child;
             return Built{image.serialize(), sampleContents()};
         },
         std::string(kIntactNative) + "/Other storage (listed already)\n",
         hostWith({{"/Large", "/Large stream 9000 read 9000 whole\n/Other storage\n/Other/Inside stream 100 read 100 whole"},
                   {"/Folder/Inside", ""}})},
        sampleCase("links past the directory's end", [](CfbImage& image) { image.entries[3].child = 4000; image.entries[2].left = 0x7FFFFFF0; },
                   bothWith({{"/Folder/Inside", ""}})),
        // FATSECT does not end a native sibling branch, yet names no entry; "Folder" hung there.
        sampleCase("a sibling link of FATSECT", [](CfbImage& image) { image.entries[1].right = kFatSect; },
                   bothWith({{"/Folder", ""}, {"/Folder/Inside", ""}})),

        // Sizes that the file cannot back: what the chain holds is read, and no more is reserved.
        sampleCase("a stream that claims 4 GiB", [](CfbImage& image) { image.entries[2].size = 0xFFFFFFF0u; },
                   bothWith({{"/Large", "/Large stream 4294967280 read 9216 prefix 9000, zeros"}})),
        sampleCase("a root that claims a mini stream of 2 GiB", [](CfbImage& image) { image.entries[0].size = 0x7FFFFFF0u; },
                   {kIntactNative, kIntactHost}),
        sampleCase("a small stream that claims more than its mini chain holds", [](CfbImage& image) { image.entries[1].size = 4000; },
                   bothWith({{"/Small", "/Small stream 4000 read 2048 prefix 2000, zeros"}})),
        // "Large" is then read through the mini FAT from mini sector 9, along the chain of "Small".
        sampleCase("a cutoff of 4 GiB: every stream is small", [](CfbImage& image) { image.header.miniStreamCutoff = 0xFFFFFFFFu; },
                   bothWith({{"/Large", "/Large stream 9000 read 1472 other 5C1EF92C"}})),
    };
}

// The summary set of summary() as both stacks read it.
const std::string kSummarySet = "set {F29F85E0-4FF9-1068-AB91-08002B27B3D9}\n"
                                "  1 type 2 \"1252\"\n  2 type 1 \"Title\"\n  14 type 2 \"7\"\n";

std::vector<SetCase> setCases() {
    static const std::string withEmptyText = kSummarySet + "  20 type 1 \"\"\n";
    static const std::string named = intactWith(kSummarySet, {{"  14", "  14 \"Count\" type 2 \"7\""}});
    static const std::string secondIdFirstSection = intactWith(kSummarySet, {{"set", "set {D5CDD505-2E9C-101B-9397-08002B2CF9AE}"}});
    static const std::string withoutCodePage = intactWith(kSummarySet, {{"  1", ""}});
    return {
        {"intact", [] { return summary().build(); }, kSummarySet.c_str(), kSummarySet.c_str()},
        // A value that lies past the stream makes no property; a table longer than the stream ends with it.
        {"a table entry whose offset points past the stream", [] { return summary().entryAt(15, 0xFFFFFF00u).build(); },
         kSummarySet.c_str(), kSummarySet.c_str()},
        {"a code page whose offset points past the stream",
         [] {
             return PropertyStreamBuilder().section(kSummaryId).entryAt(1, 0xFFFFFF00u).value(2, typed(30, narrowString("Title")))
                 .value(14, typed(3, le32(7))).build();
         },
         withoutCodePage.c_str(), withoutCodePage.c_str()},
        {"a table that claims 0x7FFFFFFF entries", [] { return patched(summary().build(), 52, le32(0x7FFFFFFF)); },
         kSummarySet.c_str(), kSummarySet.c_str()},
        // The native parser reads one section unless there are two; the stand-in wants a list that fits.
        {"a section count of 0x7FFFFFFF", [] { return patched(summary().build(), 24, le32(0x7FFFFFFF)); }, kSummarySet.c_str(), ""},
        // The native set takes the second section's id, and reads no properties from a section past the end.
        {"a second section that starts past the stream",
         [] { return patched(summary().section(kUserDefinedId).value(2, typed(3, le32(9))).build(), 64, le32(0xFFFFFFF0u)); },
         secondIdFirstSection.c_str(), kSummarySet.c_str()},
        // A string longer than the stream reads as empty text natively, and is left out by the stand-in.
        {"a narrow string that claims 4 GiB", [] { return summary().value(20, typed(30, le32(0xFFFFFFF0u))).build(); },
         withEmptyText.c_str(), kSummarySet.c_str()},
        {"a wide string that claims 2^31 units", [] { return summary().value(20, typed(31, le32(0x80000000u))).build(); },
         withEmptyText.c_str(), kSummarySet.c_str()},
        {"a dictionary that claims 16 million entries",
         [] { return summary().value(0, patched(narrowDictionary({{14, "Count"}}), 0, le32(0x01000000))).build(); },
         named.c_str(), named.c_str()},
        // Natively a vector makes no property; the stand-in refuses a count that the stream cannot hold.
        {"a vector that claims a billion elements", [] { return summary().value(20, typed(0x1003, le32(0x40000000))).build(); },
         kSummarySet.c_str(), kSummarySet.c_str()},
        {"a byte-order mark other than FFFE", [] { return patched(summary().build(), 0, le16(0xFEFF)); }, "", ""},
    };
}

bool printing() { return std::getenv("TOVX_MALFORMED_PRINT") != nullptr; }

// Reads the file both ways in less than a second of processor time, and gives both readings.
std::pair<Reading, Reading> readBoth(const char* what, const Built& built, bool rootOnly = false) {
    const ScratchFile file(built.bytes);
    const std::clock_t started = std::clock();
    Reading native = malformed::readNative(file.path(), built.contents, rootOnly);
    Reading host = malformed::readHost(file.path(), built.contents, rootOnly);
    const double seconds = static_cast<double>(std::clock() - started) / CLOCKS_PER_SEC;
    EXPECT_LT(seconds, 1.0);
    if (printing())
        std::printf("== %s (%.3f s)\n-- native\n%s%s-- host\n%s%s", what, seconds, native.treeText().c_str(),
                    native.setsText().c_str(), host.treeText().c_str(), host.setsText().c_str());
    return {std::move(native), std::move(host)};
}

TEST(MalformedFiles, DamagedTablesAndLinks) {
    for (const Case& c : treeCases()) {
        SCOPED_TRACE(c.what);
        const auto [native, host] = readBoth(c.what, c.file());
        if (printing()) continue;
        if (!c.native.empty()) {
            EXPECT_EQ(native.treeText(), c.native);
        }
        if (!c.host.empty()) {
            EXPECT_EQ(host.treeText(), c.host);
        }
        if (c.more) c.more(native, host);
    }
}

TEST(MalformedFiles, DamagedPropertyStreams) {
    for (const SetCase& c : setCases()) {
        SCOPED_TRACE(c.what);
        const auto [native, host] = readBoth(c.what, withSummary(c.stream()));
        if (printing()) continue;
        EXPECT_EQ(native.setsText(), c.native);
        EXPECT_EQ(host.setsText(), c.host);
    }
}

// The lines of a tree's text that contain `part`.
size_t linesWith(const Reading& reading, const std::string& part) {
    size_t count = 0;
    for (const std::string& line : reading.tree) count += line.find(part) != std::string::npos ? 1 : 0;
    return count;
}

// Files of a million bytes shaped to make a careless reader spend minutes or gigabytes.
TEST(MalformedFiles, HostileShapesOfAMillionBytes) {
    {
        SCOPED_TRACE("50,000 id-0 entries that all point at one dictionary of 50,000 names");
        const Built built = withSummary(oneDictionaryManyTimes(50000));
        ASSERT_GT(built.bytes.size(), 1000000u);
        const auto [native, host] = readBoth("one dictionary, 50,000 times", built);
        // No property but the dictionary's: both read it once and have nothing to name.
        ASSERT_EQ(native.sets.size(), 1u);
        EXPECT_TRUE(native.sets[0].properties.empty());
        ASSERT_EQ(host.sets.size(), 1u);
        EXPECT_TRUE(host.sets[0].properties.empty());
    }
    {
        SCOPED_TRACE("37,000 property ids that share one slot of a table of 2^16, each named");
        const Built built = withSummary(collidingIds(37000));
        ASSERT_GT(built.bytes.size(), 1000000u);
        const auto [native, host] = readBoth("37,000 colliding ids", built);
        for (const Reading* reading : {&native, &host}) {
            ASSERT_EQ(reading->sets.size(), 1u);
            const std::vector<malformed::Property>& properties = reading->sets[0].properties;
            ASSERT_EQ(properties.size(), 37001u);  // the code page, then the numbers in table order
            EXPECT_EQ(properties[1].id, 1u << 16);
            EXPECT_EQ(properties[1].name, "n");
            EXPECT_EQ(properties[1].value, "1");
            EXPECT_EQ(properties[37000].id, 37000u << 16);
            EXPECT_EQ(properties[37000].name, "n");
            EXPECT_EQ(properties[37000].value, "37000");
        }
    }
    {
        SCOPED_TRACE("storages nested 8,000 deep, names of 31 units");
        const Built built{tovxtest::nestedStorages(8000), {}};
        ASSERT_GT(built.bytes.size(), 1000000u);
        const auto [native, host] = readBoth("8,000 deep", built);
        for (const Reading* reading : {&native, &host}) {
            ASSERT_EQ(reading->tree.size(), 8001u);
            EXPECT_EQ(reading->tree.back(), "/" + std::string(30, 'd') + "0/...(7998)/" + std::string(27, 'd') + "7999 storage");
            EXPECT_EQ(linesWith(*reading, " storage"), 8000u);
        }
    }
    {
        SCOPED_TRACE("8,000 sibling streams all called x");
        const Built built{tovxtest::namesakes(8000), {{u"x", patternBytes(8, 0)}}};
        ASSERT_GT(built.bytes.size(), 1000000u);
        const auto [native, host] = readBoth("8,000 namesakes", built);
        // A lookup by name finds the first of them, whichever of them is asked for.
        ASSERT_EQ(native.tree.size(), 8001u);
        EXPECT_EQ(native.tree[1], "/x stream 8 read 8 whole");
        EXPECT_EQ(linesWith(native, "(hidden by a namesake)"), 7999u);
        ASSERT_EQ(host.tree.size(), 8001u);
        EXPECT_EQ(linesWith(host, "/x stream 8 read 8 whole"), 8000u);
    }
}

// 4,000 summary streams, namesakes whose entries all name one chain of 200,000 bytes: the sets
// read hold as many bytes as the file at most, not 4,000 times the chain.
TEST(MalformedFiles, PropertySetStreamsThatShareOneChain) {
    CfbBuilder builder;
    builder.addStream(CfbBuilder::kRoot, u"\005SummaryInformation", summary().value(20, typed(30, narrowString(std::string(200000, 'a')))).build());
    for (int i = 0; i < 4000; ++i) builder.addStream(CfbBuilder::kRoot, u"\005SummaryInformation", {});
    CfbImage image = builder.layout();
    for (int i = 2; i <= 4001; ++i) {
        image.entries[i].start = image.entries[1].start;
        image.entries[i].size = image.entries[1].size;
    }
    const Built built{image.serialize(), {}};
    const uint64_t setsInTheFile = (built.bytes.size() + image.entries[1].size - 1) / image.entries[1].size;
    ASSERT_EQ(setsInTheFile, 4u);
    const auto [native, host] = readBoth("4,000 sets on one chain", built, true);
    EXPECT_EQ(native.sets.size(), setsInTheFile);
    EXPECT_EQ(host.sets.size(), setsInTheFile);
    for (const Reading* reading : {&native, &host})
        for (const malformed::PropertySet& set : reading->sets) ASSERT_EQ(set.properties.size(), 4u);
}

TEST(MalformedFiles, SiblingChainsAndFannedOutLinks) {
    {
        SCOPED_TRACE("100,000 siblings in one chain");
        CfbBuilder builder;
        builder.shape(CfbBuilder::Shape::RightChain);
        for (int i = 0; i < 100000; ++i) {
            const std::string name = "s" + std::to_string(i);
            builder.addStream(CfbBuilder::kRoot, std::u16string(name.begin(), name.end()), {});
        }
        // The root's list only: the case is the chain's length, and walking 100,000 entries
        // under the sanitizers alone takes longer than a case may.
        const auto [native, host] = readBoth("100,000 siblings", Built{builder.build(), {}}, true);
        ASSERT_EQ(native.tree.size(), 100001u);
        EXPECT_EQ(linesWith(native, " stream"), 100000u);
        EXPECT_EQ(native.tree[100000], "/s99999 stream");
        ASSERT_EQ(host.tree.size(), 100001u);
        EXPECT_EQ(linesWith(host, " stream"), 100000u);
    }
    {
        SCOPED_TRACE("2,000 storages whose sibling sets overlap");
        const auto [native, host] = readBoth("2,000 overlapping sets", overlappingSiblings(2000));
        // The root lists all of them. Natively the first storage's 1,999 children would take the
        // walk past the directory's slots, and it goes into none; the stand-in gives every entry
        // to the root, the first storage to reach it.
        ASSERT_EQ(native.tree.size(), 2001u);
        EXPECT_EQ(linesWith(native, " storage (beyond the directory)"), 1999u);
        EXPECT_EQ(linesWith(native, "/s9zg storage"), 1u);  // the last of the chain, with no child link
        ASSERT_EQ(host.tree.size(), 2001u);
        EXPECT_EQ(linesWith(host, " storage"), 2000u);
        EXPECT_EQ(linesWith(host, "/s0aa/"), 0u);
    }
}

}  // namespace
