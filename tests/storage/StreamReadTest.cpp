#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "CfbBuilder.h"
#include "TOVIStorage.h"
#include "TOVXMemoryManager.h"
#include "TestFiles.h"

using namespace tovxtest;

namespace {

struct Outcome {
    int result;
    bool streamSet;
    std::vector<uint8_t> bytes;
    uint32_t reportedSize;
};

// Opens `name` under the root of `bytes` and takes what comes back, whatever the result.
Outcome openStream(const std::vector<uint8_t>& bytes, const char* name) {
    ScratchFile file(bytes);
    TOVIStorage* root = nullptr;
    EXPECT_EQ(TOVStgOpenStorage(TOVXFilePath(file.path()), &root), 0);
    Outcome outcome{-2, false, {}, 0};
    if (root == nullptr) return outcome;
    TOVIStream* stream = nullptr;
    outcome.result = root->openStream(TOVXString::FromUtf8(name), &stream);
    if (stream != nullptr) {
        outcome.streamSet = true;
        outcome.bytes.assign(stream->data(), stream->data() + stream->length());
        TOVStStorageDirEntry entry;
        stream->Stat(&entry);
        outcome.reportedSize = entry.getSize();
    }
    tovxDelete(stream);
    tovxDelete(root);
    return outcome;
}

CfbImage oneStream(size_t size, uint32_t cutoff = 4096, uint16_t shift = 9) {
    CfbBuilder builder(shift);
    builder.miniStreamCutoff(cutoff);
    builder.addStream(CfbBuilder::kRoot, u"data", patternBytes(size, 7));
    return builder.layout();
}

// The 128-byte stream of oneStream(128) as a "mini" stream of `size` bytes whose two mini sectors loop. Its
// file is 5 sectors: 2560 bytes, or 40 mini sectors, the most a mini walk visits.
void miniLoopOf128(CfbImage& image, uint32_t size) {
    image.header.miniStreamCutoff = 0xFFFFFFFFu;
    image.miniFat[1] = 0;
    image.entries[1].size = size;
}

}  // namespace

TEST(StreamRead, ContentsComeBackWholeOnBothSidesOfTheCutoffAndBothSectorSizes) {
    for (const uint16_t shift : {9, 12}) {
        for (const size_t size : {1, 5, 63, 64, 65, 4095, 4096, 4097, 512 * 3, 70000}) {
            const Outcome outcome = openStream(oneStream(size, 4096, shift).serialize(), "data");
            EXPECT_EQ(outcome.result, 0) << size;
            EXPECT_EQ(outcome.bytes, patternBytes(size, 7)) << "size " << size << " shift " << shift;
            EXPECT_EQ(outcome.reportedSize, size);
        }
    }
}

TEST(StreamRead, TheHeadersCutoffPicksTheSource) {
    // Laid out with a cutoff of 4096, so 4095 bytes sit in the mini stream and 4096 in sectors.
    // When the header says otherwise, the other table is read and the bytes come out wrong.
    CfbImage mini = oneStream(4095);
    mini.header.miniStreamCutoff = 4095;
    EXPECT_NE(openStream(mini.serialize(), "data").bytes, patternBytes(4095, 7));

    CfbImage regular = oneStream(4096);
    regular.header.miniStreamCutoff = 4097;
    EXPECT_NE(openStream(regular.serialize(), "data").bytes, patternBytes(4096, 7));

    // A cutoff of 0 sends every stream through the FAT.
    CfbImage allRegular = oneStream(100, 0);
    EXPECT_EQ(openStream(allRegular.serialize(), "data").bytes, patternBytes(100, 7));
}

TEST(StreamRead, BrokenChainsEndPromptlyWithWhatTheyHold) {
    using Bytes = std::vector<uint8_t>;
    const auto part = [](size_t size, size_t from, size_t to) {
        const Bytes all = patternBytes(size, 7);
        return Bytes(all.begin() + static_cast<long>(from), all.begin() + static_cast<long>(to));
    };
    const auto join = [](Bytes a, const Bytes& b) { a.insert(a.end(), b.begin(), b.end()); return a; };
    // The 128 bytes of a stream in mini sectors 0 and 1, again and again, cut to `size`.
    const auto looped = [&](size_t size) {
        Bytes bytes;
        while (bytes.size() < size) bytes = join(bytes, part(128, 0, 128));
        bytes.resize(size);
        return bytes;
    };
    struct Case {
        const char* what;
        size_t size;
        void (*breakIt)(CfbImage&);
        int result;
        Bytes expected;
    };
    const std::vector<Case> cases = {
        {"FAT chain looping back to its start", 5000,
         [](CfbImage& image) { image.fat[image.entries[1].start + 2] = image.entries[1].start; }, 0, part(5000, 0, 1536)},
        // A sector past the FAT is read, past the file's end as zeros, and is the chain's last.
        {"FAT chain leaving the table and the file", 5000, [](CfbImage& image) { image.fat[image.entries[1].start] = 100000; },
         0, join(part(5000, 0, 512), Bytes(512, 0))},
        // With one FAT sector of 128 entries, the chain's link to sector 128 (the stream's 126th sector) is its last.
        {"FAT chain leaving the table inside the file", 70000, [](CfbImage& image) { image.header.fatList.resize(1); }, 0,
         part(70000, 0, 126 * 512)},
        // Past the mini FAT the sector is the chain's last; past the mini stream it reads as zeros.
        {"mini chain leaving the mini FAT", 200, [](CfbImage& image) { image.miniFat[image.entries[1].start] = 5000; }, 0,
         join(part(200, 0, 64), Bytes(64, 0))},
        // A mini chain that outlasts the size gives -1; the partial stream is still the caller's to destroy.
        {"mini chain longer than the size", 200, [](CfbImage& image) { image.entries[1].size = 100; }, -1, part(200, 0, 100)},
        // A looping mini chain repeats until the size is used up, then ends like any chain that outlasts it.
        {"mini chain looping", 200, [](CfbImage& image) { image.miniFat[image.entries[1].start + 1] = image.entries[1].start; },
         -1, join(join(part(200, 0, 128), part(200, 0, 64)), part(200, 64, 72))},
        {"mini chain 0, 1, 0 under 300 bytes", 128, [](CfbImage& image) { image.miniFat[1] = 0; image.entries[1].size = 300; },
         -1, looped(300)},
        // Only the file's size in mini sectors bounds a mini walk: up to it the loop runs as far as the size asks.
        {"mini loop as long as the file", 128, [](CfbImage& image) { miniLoopOf128(image, 2560); }, -1, looped(2560)},
        {"mini loop one byte longer than the file", 128, [](CfbImage& image) { miniLoopOf128(image, 2561); }, 0, looped(2560)},
        {"mini loop of 4 GiB", 128, [](CfbImage& image) { miniLoopOf128(image, 0xFFFFFFF0u); }, 0, looped(2560)},
    };
    for (const Case& c : cases) {
        CfbImage image = oneStream(c.size);
        c.breakIt(image);
        const std::vector<uint8_t> bytes = image.serialize();
        const Outcome outcome = openStream(bytes, "data");
        EXPECT_EQ(outcome.result, c.result) << c.what;
        EXPECT_EQ(outcome.bytes, c.expected) << c.what;
        EXPECT_TRUE(outcome.streamSet) << c.what;
        // A stream that comes back with -1 keeps its entry in the default state.
        EXPECT_EQ(outcome.reportedSize, c.result == 0 ? image.entries[1].size : 0u) << c.what;
    }
}

TEST(StreamRead, MissingBytesReadAsZeros) {
    // The file ends 600 bytes early, inside the stream's last two sectors.
    std::vector<uint8_t> bytes = oneStream(5000).serialize();
    const size_t cut = bytes.size() - 600;
    bytes.resize(cut);
    const Outcome outcome = openStream(bytes, "data");
    ASSERT_EQ(outcome.result, 0);
    const size_t kept = 5000 - (600 - (512 * 10 - 5000));  // the stream's bytes before the cut
    std::vector<uint8_t> expected = patternBytes(5000, 7);
    std::fill(expected.begin() + static_cast<long>(kept), expected.end(), 0);
    EXPECT_EQ(outcome.bytes, expected);
}

TEST(StreamRead, SmallStreamsStayReadableAfterTheFileIsGone) {
    CfbBuilder builder;
    builder.addStream(CfbBuilder::kRoot, u"small", patternBytes(100, 1));
    builder.addStream(CfbBuilder::kRoot, u"large", patternBytes(5000, 2));
    TOVIStorage* root = nullptr;
    {
        ScratchFile file(builder.build());
        ASSERT_EQ(TOVStgOpenStorage(TOVXFilePath(file.path()), &root), 0);
    }
    TOVIStream* stream = nullptr;
    ASSERT_EQ(root->openStream(TOVXString::FromUtf8("small"), &stream), 0);
    EXPECT_EQ(stream->length(), 100u);
    tovxDelete(stream);
    stream = reinterpret_cast<TOVIStream*>(0x1);
    EXPECT_EQ(root->openStream(TOVXString::FromUtf8("large"), &stream), -1);
    EXPECT_EQ(stream, reinterpret_cast<TOVIStream*>(0x1));
    tovxDelete(root);
}

TEST(MemoryStream, ReadsWritesAndSeeksByTheirOwnRules) {
    TOVIStream stream(16);
    unsigned char buffer[10];
    uint32_t count = 99;
    stream.Read(buffer, 4, &count);
    EXPECT_EQ(count, 0u);

    const unsigned char data[] = {1, 2, 3, 4, 5, 6};
    stream.Write(data, 6, &count);
    EXPECT_EQ(count, 6u);
    EXPECT_EQ(stream.tell(), 0u) << "writing leaves the position alone";

    std::fill(std::begin(buffer), std::end(buffer), 0xEE);
    stream.Read(buffer, 4, &count);
    EXPECT_EQ(count, 4u);
    std::fill(std::begin(buffer), std::end(buffer), 0xEE);
    stream.Read(buffer, 10, &count);  // 2 remain
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(buffer[0], 5);
    EXPECT_EQ(buffer[2], 0xEE) << "what lies behind the delivered bytes stays";
    stream.Read(buffer, 10, nullptr);
    EXPECT_EQ(stream.tell(), 6u);

    stream.Write(data, 2, &count);  // appended at the end; the next read reaches it
    stream.Read(buffer, 10, &count);
    EXPECT_EQ(count, 2u);

    stream.Seek(10, 5);
    EXPECT_EQ(stream.tell(), 15u);
    stream.Read(buffer, 3, &count);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(stream.tell(), 15u);
    stream.SeekCur(0xFFFFFFFFu);
    EXPECT_EQ(stream.tell(), 14u) << "adding 0xFFFFFFFF steps back by wrap-around";
    stream.Seek(0x80000000u, 0);
    stream.Read(buffer, 3, &count);
    EXPECT_EQ(count, 0u) << "no byte lies at a position past 2 GiB";

    TOVIStream copy(stream);
    copy.Seek(0, 0);
    copy.Read(buffer, 3, &count);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(stream.tell(), 0x80000000u) << "a copy reads on its own";

    TOVStStorageDirEntry entry;
    entry.setSize(1234);
    TOVStStorageDirEntry reported;
    stream.Stat(&reported);
    EXPECT_EQ(reported.getSize(), 0u);
    stream.setDirEntry(entry);
    stream.Stat(&reported);
    EXPECT_EQ(reported.getSize(), 1234u) << "the entry's size, not the byte count";
}

TEST(MemoryStream, DumpWritesEverythingFromTheFirstByte) {
    TOVIStream stream(0);
    const unsigned char data[] = {'a', 'b', 'c'};
    uint32_t count = 0;
    stream.Write(data, 3, &count);
    stream.Read(const_cast<unsigned char*>(data), 0, &count);
    stream.SeekCur(2);
    EXPECT_EQ(stream.Dump(nullptr), 0);
    FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    stream.Dump(file);
    std::rewind(file);
    char read[8] = {};
    EXPECT_EQ(std::fread(read, 1, sizeof read, file), 3u);
    EXPECT_STREQ(read, "abc");
    std::fclose(file);
}
