#include "FuzzSeeds.h"

#include <dirent.h>

#include <algorithm>

#include "CfbBuilder.h"
#include "PropertyStreamBuilder.h"
#include "TOVIStorage.h"
#include "TOVXMemoryManager.h"
#include "TestFiles.h"

namespace tovxfuzz {

namespace {

using namespace tovxtest;

const Bytes kSummaryId = {0xE0, 0x85, 0x9F, 0xF2, 0xF9, 0x4F, 0x68, 0x10, 0xAB, 0x91, 0x08, 0x00, 0x2B, 0x27, 0xB3, 0xD9};
const Bytes kDocumentSummaryId = {0x02, 0xD5, 0xCD, 0xD5, 0x9C, 0x2E, 0x1B, 0x10, 0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE};
const Bytes kUserDefinedId = {0x05, 0xD5, 0xCD, 0xD5, 0x9C, 0x2E, 0x1B, 0x10, 0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE};

// A summary set with a value of every kind the parsers convert, narrow strings in code page 1252.
Bytes summaryStream() {
    return PropertyStreamBuilder()
        .section(kSummaryId)
        .value(1, typed(2, le16(1252)))
        .value(2, typed(30, narrowString("Title")))
        .value(3, typed(31, wideString(u"Subject")))
        .value(4, typed(3, le32(0xFFFFFFF6)))
        .value(5, typed(5, le64(0x400921FB54442D18ull)))
        .value(6, typed(64, le64(0x01D0000000000000ull)))
        .value(7, typed(11, le16(0xFFFF)))
        .value(8, typed(72, formatId(0x20)))
        .value(9, typed(20, le64(0x8000000000000000ull)))
        .value(10, typed(0x101E, concat({le32(2), narrowString("a"), narrowString("bc")})))
        .value(11, typed(0x100C, concat({le32(1), typed(3, le32(7))})))
        .value(12, typed(65, concat({le32(3), {1, 2, 3, 0}})))
        .value(13, typed(71, concat({le32(8), le32(0xFFFFFFFF), {9, 9, 9, 9}})))
        .value(14, typed(6, le64(123456)))
        .value(15, typed(4, le32(0x3F800000)))
        .build();
}

// A document summary stream of two sections, the second user-defined, Unicode, with a dictionary.
Bytes documentSummaryStream() {
    return PropertyStreamBuilder()
        .section(kDocumentSummaryId)
        .value(1, typed(2, le16(1200)))
        .value(2, typed(8, bstrWide(u"Category")))
        .section(kUserDefinedId)
        .value(1, typed(2, le16(1200)))
        .value(0, wideDictionary({{2, u"Named"}, {3, u"Other"}}))
        .value(2, typed(31, wideString(u"value")))
        .value(3, typed(19, le32(42)))
        .build();
}

Bytes narrowDictionaryStream() {
    return PropertyStreamBuilder()
        .value(1, typed(2, le16(932)))
        .value(0, narrowDictionary({{5, "Fuenf"}, {6, "\x83\x65\x83\x58\x83\x67"}}))
        .value(5, typed(30, narrowString("\x93\xfa\x96\x7b")))
        .value(6, typed(17, {7, 0, 0, 0}))
        .build();
}

// A tree with mini and regular streams, a storage, and both summary sets.
CfbBuilder typicalFile(uint16_t sectorShift) {
    CfbBuilder builder(sectorShift);
    builder.addStream(CfbBuilder::kRoot, u"\005SummaryInformation", summaryStream());
    builder.addStream(CfbBuilder::kRoot, u"\005DocumentSummaryInformation", documentSummaryStream());
    builder.addStream(CfbBuilder::kRoot, u"Small", patternBytes(100, 1));
    builder.addStream(CfbBuilder::kRoot, u"Large", patternBytes(5000, 2));
    const int folder = builder.addStorage(CfbBuilder::kRoot, u"Folder");
    builder.addStream(folder, u"Inner", patternBytes(64, 3));
    builder.addStream(folder, u"\005Junk", u8("no property set"));
    builder.addStorage(folder, u"Empty");
    return builder;
}

Bytes brokenFile(void (*damage)(CfbImage&)) {
    CfbImage image = typicalFile(9).layout();
    damage(image);
    return image.serialize();
}

std::vector<Seed> fileSeeds() {
    std::vector<Seed> seeds;
    seeds.push_back({"typical-512", typicalFile(9).build()});
    seeds.push_back({"typical-4096", typicalFile(12).build()});
    seeds.push_back({"empty-root", CfbBuilder().build()});
    seeds.push_back({"with-difat", typicalFile(9).minimumFatSectors(120).build()});
    seeds.push_back({"right-chain", typicalFile(9).shape(CfbBuilder::Shape::RightChain).build()});
    seeds.push_back({"cutoff-0", typicalFile(9).miniStreamCutoff(0).build()});
    {
        CfbImage image = typicalFile(9).layout();
        image.bigEndian = true;
        image.header.byteOrder = 0xFFFE;
        seeds.push_back({"big-endian", image.serialize()});
    }
    seeds.push_back({"fat-loop", brokenFile([](CfbImage& image) { image.fat[image.entries[4].start] = image.entries[4].start; })});
    seeds.push_back({"storage-own-child", brokenFile([](CfbImage& image) { image.entries[5].child = 5; })});
    seeds.push_back({"sibling-circle", brokenFile([](CfbImage& image) { image.entries[1].left = 2; image.entries[2].right = 1; })});
    seeds.push_back({"mini-fat-loop", brokenFile([](CfbImage& image) { image.miniFat[0] = 0; })});
    seeds.push_back({"huge-sizes", brokenFile([](CfbImage& image) { image.entries[0].size = 0xFFFFFFF0u; image.entries[4].size = 0x7FFFFFF0u; })});
    return seeds;
}

std::vector<Seed> streamSeeds() {
    return {
        {"summary", summaryStream()},
        {"document-summary", documentSummaryStream()},
        {"narrow-dictionary", narrowDictionaryStream()},
        {"empty-section", PropertyStreamBuilder().build()},
    };
}

std::vector<std::string> corpusFiles() {
    std::vector<std::string> names;
    const std::string folder = corpusDir();
    if (folder.empty()) return names;
    DIR* directory = opendir((folder + "/files").c_str());
    if (directory == nullptr) return names;
    while (const dirent* item = readdir(directory))
        if (item->d_name[0] != '.') names.push_back(item->d_name);
    closedir(directory);
    std::sort(names.begin(), names.end());
    return names;
}

// The property-set streams among the root's children of one corpus file.
void addPropertyStreams(const std::string& name, const std::string& path, std::vector<Seed>& seeds) {
    TOVIStorage* root = nullptr;
    if (TOVStgOpenStorage(TOVXFilePath(path), &root) != 0) return;
    TOVXDynamicArray<TOVStStorageDirEntry> children;
    root->enumElements(children);
    for (int i = 0; i < children.Count(); ++i) {
        const TOVXString child = children.At(i)->getName();
        if (child.length() == 0 || child.At(0) != 5) continue;
        TOVIStream* stream = nullptr;
        if (root->openStream(child, &stream) == 0 && stream != nullptr && stream->length() > 0)
            seeds.push_back({name + "-" + std::to_string(i), std::vector<uint8_t>(stream->data(), stream->data() + stream->length())});
        tovxDelete(stream);
    }
    tovxDelete(root);
}

}  // namespace

std::vector<Seed> builderSeeds(const std::string& target) {
    return target == "property_stream" ? streamSeeds() : fileSeeds();
}

std::vector<Seed> corpusSeeds(const std::string& target) {
    std::vector<Seed> seeds;
    for (const std::string& name : corpusFiles()) {
        const std::string path = corpusDir() + "/files/" + name;
        if (target == "property_stream")
            addPropertyStreams(name, path, seeds);
        else
            seeds.push_back({name, readWholeFile(path)});
    }
    return seeds;
}

}  // namespace tovxfuzz
