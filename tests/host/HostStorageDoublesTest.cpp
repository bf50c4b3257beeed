// Storage access over doubles of the platform's interfaces: what only they can show.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "HostDoubles.h"
#include "TOVXStorageReader.h"
#include "TOVXStorageReaderInternal.h"
#include "CfbBuilder.h"
#include "TestFiles.h"

using namespace hosttest;

namespace {

class HostDoubles : public ::testing::Test {
protected:
    void SetUp() override { Ledger::instance().reset(); }
    void TearDown() override { EXPECT_TRUE(Ledger::instance().allBackOnce()) << "a text handed out was not freed exactly once"; }
};

std::vector<std::string> utf8(const TOVXDynamicArray<TOVXString>& names) {
    std::vector<std::string> out;
    for (const TOVXString& name : names) out.push_back(name.ToUtf8());
    return out;
}

FakeStorage threeKinds() {
    FakeStorage storage;
    storage.children = {{u"Stream", STGTY_STREAM}, {u"Storage", STGTY_STORAGE}, {u"Bytes", STGTY_LOCKBYTES}};
    return storage;
}

std::vector<uint8_t> bytesOf(const std::string& path) { return tovxtest::readWholeFile(path); }

}  // namespace

TEST_F(HostDoubles, EachListingTakesItsKindsAndFreesEveryName) {
    struct Case {
        const char* operation;
        bool (*list)(IStorage*, TOVXDynamicArray<TOVXString>&);
        std::vector<std::string> names;
    };
    const Case cases[] = {
        {"storages", GetStorageNames, {"Storage"}},
        {"streams", GetStreamNames, {"Stream"}},
        {"all", GetStreamStorageNames, {"Stream", "Storage", "Bytes"}},
    };
    for (const Case& c : cases) {
        FakeStorage storage = threeKinds();
        TOVXDynamicArray<TOVXString> out;
        EXPECT_TRUE(c.list(&storage, out)) << c.operation;
        EXPECT_EQ(utf8(out), c.names) << c.operation;
        EXPECT_TRUE(allReleased(storage)) << c.operation;
    }
    FakeStorage storage = threeKinds();
    TOVXDynamicArray<TOVXString> out;
    EXPECT_TRUE(GetFilteredChildNames(&storage, out, 7));  // an unknown kind matches nothing
    EXPECT_EQ(out.Count(), 0);
    EXPECT_EQ(Ledger::instance().namesHandedOut(), 12);
}

TEST_F(HostDoubles, ChildElementsFlagStoragesOnlyAndAppend) {
    FakeStorage storage = threeKinds();
    TOVXDynamicArray<TOVXStStorageElement> out;
    EXPECT_TRUE(GetChildElements(&storage, out));
    EXPECT_TRUE(GetChildElements(&storage, out));
    ASSERT_EQ(out.Count(), 6);
    const int flags[] = {0, 1, 0, 0, 1, 0};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(out.At(i)->isStorage, flags[i]) << i;
    EXPECT_EQ(out.At(4)->name.ToUtf8(), "Storage");
    EXPECT_TRUE(allReleased(storage));
    const TOVXStStorageElement empty;
    EXPECT_EQ(empty.name.length(), 0);
    EXPECT_EQ(empty.isStorage, 1);
}

TEST_F(HostDoubles, ListingsWhenTheWalkCannotStartOrStopsPartWay) {
    struct Case {
        const char* what;
        HRESULT enumResult;
        bool noEnumerator;
        size_t nextFailsAt;
        bool outHeldOne;
        bool children;      // GetChildElements
        bool names;         // the names operations
        int added;          // names added by GetStreamStorageNames
    };
    const Case cases[] = {
        {"enum fails", STG_E_ACCESSDENIED, false, SIZE_MAX, false, false, false, 0},
        {"enum fails, out not empty", STG_E_ACCESSDENIED, false, SIZE_MAX, true, true, false, 0},
        {"no enumerator", S_OK, true, SIZE_MAX, false, false, false, 0},
        {"next fails at the second", S_OK, false, 1, false, true, true, 1},
        {"next fails at once", S_OK, false, 0, false, false, true, 0},
        {"next fails at once, out not empty", S_OK, false, 0, true, true, true, 0},
    };
    for (const Case& c : cases) {
        FakeStorage storage = threeKinds();
        storage.enumResult = c.enumResult;
        storage.enumHandsOutNothing = c.noEnumerator;
        storage.nextFailsAt = c.nextFailsAt;
        TOVXDynamicArray<TOVXStStorageElement> elements;
        TOVXDynamicArray<TOVXString> names;
        if (c.outHeldOne) elements.Add(TOVXStStorageElement());
        if (c.outHeldOne) names.Add(TOVXString());
        EXPECT_EQ(GetChildElements(&storage, elements), c.children) << c.what;
        EXPECT_EQ(GetStreamStorageNames(&storage, names), c.names) << c.what;
        EXPECT_EQ(GetStorageNames(&storage, names), c.names) << c.what;
        EXPECT_EQ(names.Count(), (c.outHeldOne ? 1 : 0) + c.added) << c.what;
        EXPECT_TRUE(allReleased(storage)) << c.what;
    }
    TOVXDynamicArray<TOVXStStorageElement> held(1, TOVXStStorageElement());
    TOVXDynamicArray<TOVXString> names(1, TOVXString());
    EXPECT_FALSE(GetChildElements(nullptr, held));  // the null test comes before the count
    EXPECT_FALSE(GetStreamNames(nullptr, names));
    EXPECT_EQ(names.Count(), 1);
}

TEST_F(HostDoubles, ChildStoragesAndStreamsOpenExclusivelyByName) {
    FakeStorage parent;
    FakeStorage child;
    FakeStream stream({1, 2, 3});
    parent.storages[u"Child"] = &child;
    parent.streams[u"Data"] = &stream;
    IStorage* opened = OpenStorage(&parent, TOVXString::FromUtf8("Child"));
    EXPECT_EQ(opened, &child);
    EXPECT_EQ(parent.lastMode, static_cast<DWORD>(STGM_READ | STGM_SHARE_EXCLUSIVE));
    EXPECT_EQ(OpenStorage(&parent, TOVXString::FromUtf8("Missing")), nullptr);
    EXPECT_EQ(parent.lastName, u"Missing");
    EXPECT_EQ(OpenStorage(nullptr, TOVXString::FromUtf8("Child")), nullptr);
    IStream* data = OpenStream(&parent, TOVXString::FromUtf8("Data"));
    EXPECT_EQ(data, &stream);
    EXPECT_EQ(parent.lastMode, static_cast<DWORD>(STGM_READ | STGM_SHARE_EXCLUSIVE));
    EXPECT_EQ(OpenStream(&parent, TOVXString::FromUtf8("Missing")), nullptr);
    EXPECT_EQ(OpenStream(nullptr, TOVXString::FromUtf8("Data")), nullptr);
    EXPECT_TRUE(CloseStorage(opened));
    EXPECT_TRUE(CloseStream(data));
    EXPECT_TRUE(CloseStorage(nullptr));
    EXPECT_TRUE(CloseStream(nullptr));
    EXPECT_EQ(child.references, 0);
    EXPECT_EQ(stream.references, 0);
    EXPECT_EQ(child.releases + stream.releases, 2);
}

TEST_F(HostDoubles, ReadSeekTellAndSize) {
    FakeStream stream(tovxtest::patternBytes(700, 3));
    unsigned char buffer[800];
    EXPECT_TRUE(ReadStream(&stream, buffer, 0));
    EXPECT_TRUE(SeekStream(&stream, -100, STREAM_SEEK_END));
    uint32_t position = 0;
    EXPECT_TRUE(TellStream(&stream, position));
    EXPECT_EQ(position, 600u);
    EXPECT_FALSE(ReadStream(&stream, buffer, 200));  // a short read: 100 came
    EXPECT_EQ(buffer[99], tovxtest::patternBytes(700, 3)[699]);
    EXPECT_FALSE(ReadStream(&stream, reinterpret_cast<char*>(buffer), 1));  // at the end
    EXPECT_FALSE(ReadStream(nullptr, buffer, 0));

    stream.reportedSize = (1ull << 32) + 5;
    uint32_t size = 0;
    EXPECT_TRUE(GetStreamSize(&stream, size));
    EXPECT_EQ(size, 5u);

    stream.failStat = true;
    stream.failSeek = true;
    size = position = 77;
    EXPECT_FALSE(GetStreamSize(&stream, size));
    EXPECT_FALSE(TellStream(&stream, position));
    EXPECT_FALSE(SeekStream(&stream, 0, STREAM_SEEK_SET));
    EXPECT_EQ(size, 77u);
    EXPECT_EQ(position, 77u);
    EXPECT_FALSE(GetStreamSize(nullptr, size));
}

TEST_F(HostDoubles, WriteStreamToFileCopiesWholeChunksOnly) {
    struct Case {
        const char* what;
        size_t streamBytes;
        uint64_t startAt;
        uint32_t count;
        int failReadAt;
        bool result;
        size_t fileBytes;   // copied from startAt
        int reads;
    };
    const Case cases[] = {
        {"empty stream, count 0", 0, 0, 0, -1, true, 0, 0},
        {"from the middle to the end", 1000, 300, 0, -1, true, 700, 2},
        {"513 bytes: two chunks", 513, 0, 0, -1, true, 513, 2},
        {"count above the stream", 700, 0, 1000, -1, false, 512, 2},
        {"position beyond the end", 10, 20, 0, -1, false, 0, 1},
        {"the second read fails", 2000, 0, 0, 1, false, 512, 2},
        {"an explicit count", 2000, 0, 600, -1, true, 600, 2},
    };
    for (const Case& c : cases) {
        const std::vector<uint8_t> bytes = tovxtest::patternBytes(c.streamBytes, 9);
        for (const bool pathForm : {true, false}) {
            FakeStream stream(bytes);
            stream.position = c.startAt;
            stream.failReadAt = c.failReadAt;
            const tovxtest::ScratchFile target({9, 9, 9}, ".bin");
            TOVXFilePath path(target.path());
            bool result;
            if (pathForm) {
                result = WriteStreamToFile(&stream, path, c.count);
            } else {
                FILE* file = std::fopen(target.path().c_str(), "wb");
                result = WriteStreamToFile(&stream, file, c.count);
                std::fclose(file);
            }
            EXPECT_EQ(result, c.result) << c.what << (pathForm ? " (path)" : " (file)");
            const std::vector<uint8_t> want(bytes.begin() + static_cast<long>(std::min<uint64_t>(c.startAt, bytes.size())),
                                            bytes.begin() + static_cast<long>(std::min<uint64_t>(c.startAt, bytes.size()) + c.fileBytes));
            EXPECT_EQ(bytesOf(target.path()), want) << c.what << (pathForm ? " (path)" : " (file)");
            EXPECT_EQ(stream.reads, c.reads) << c.what;
        }
    }
}

TEST_F(HostDoubles, WriteStreamToFileFailsBeforeTouchingWhatItCannotUse) {
    FakeStream stream(tovxtest::patternBytes(100, 1));
    EXPECT_FALSE(WriteStreamToFile(&stream, static_cast<FILE*>(nullptr), 0));
    EXPECT_EQ(stream.stats, 1);  // the size is worked out before the file is looked at
    EXPECT_EQ(stream.seeks, 1);
    EXPECT_EQ(stream.reads, 0);

    TOVXFilePath nowhere("/nonexistent-folder/out.bin");
    EXPECT_FALSE(WriteStreamToFile(&stream, nowhere, 10));
    EXPECT_EQ(stream.reads, 0);

    const tovxtest::ScratchFile target({}, ".bin");
    TOVXFilePath path(target.path());
    stream.failStat = true;
    EXPECT_FALSE(WriteStreamToFile(&stream, path, 0));
    EXPECT_EQ(bytesOf(target.path()).size(), 0u);  // not even opened
    EXPECT_FALSE(WriteStreamToFile(nullptr, path, 5));

    // The file form writes where the file stands and leaves it open: pieces follow each other.
    FakeStream pieces(tovxtest::u8("abcdef"));
    FILE* file = std::fopen(target.path().c_str(), "wb");
    EXPECT_TRUE(WriteStreamToFile(&pieces, file, 2));
    EXPECT_TRUE(WriteStreamToFile(&pieces, file, 0));
    std::fclose(file);
    EXPECT_EQ(bytesOf(target.path()), tovxtest::u8("abcdef"));
}
