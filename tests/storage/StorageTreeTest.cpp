#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CfbBuilder.h"
#include "TOVIStorage.h"
#include "TOVXMemoryManager.h"
#include "TestFiles.h"

using namespace tovxtest;

namespace {

TOVXString text(const std::u16string& units) {
    return TOVXString::FromUnits(reinterpret_cast<const unsigned short*>(units.data()), static_cast<int>(units.size()));
}

// Opens a root storage over bytes; the file lives as long as the fixture object.
struct OpenedFile {
    explicit OpenedFile(const std::vector<uint8_t>& bytes) : file(bytes) {
        EXPECT_EQ(TOVStgOpenStorage(TOVXFilePath(file.path()), &root), 0);
    }
    ~OpenedFile() { tovxDelete(root); }
    ScratchFile file;
    TOVIStorage* root = nullptr;
};

std::vector<std::string> childNames(TOVIStorage* storage) {
    TOVXDynamicArray<TOVStStorageDirEntry> children;
    std::vector<std::string> names;
    if (storage->enumElements(children) != 0) return names;
    for (int i = 0; i < children.Count(); ++i) names.push_back(children.At(i)->getName().ToUtf8());
    return names;
}

// A root with `count` streams named "s1".."sN" at directory indices 1..N, linked however the test likes.
CfbImage flatImage(int count) {
    CfbBuilder builder;
    for (int i = 1; i <= count; ++i) {
        const std::string name = "s" + std::to_string(i);
        builder.addStream(CfbBuilder::kRoot, std::u16string(name.begin(), name.end()), {});
    }
    CfbImage image = builder.layout();
    for (int i = 1; i <= count; ++i) image.entries[i].left = image.entries[i].right = kNoStream;
    return image;
}

}  // namespace

TEST(StorageTree, ChildrenComeInIndexOrderWhateverTheLinksDo) {
    struct Case {
        const char* what;
        uint32_t child;
        std::vector<std::array<uint32_t, 3>> links;  // entry, left, right
        std::vector<std::string> expected;
    };
    const std::vector<Case> cases = {
        {"a tree walked in another order than its indices", 5, {{5, 2, 4}, {2, kNoStream, 3}, {4, 1, kNoStream}},
         {"s1", "s2", "s3", "s4", "s5"}},
        {"left and right point at each other", 1, {{1, 2, 2}, {2, 1, 1}}, {"s1", "s2"}},
        {"a loop back to the first child", 1, {{1, kNoStream, 2}, {2, kNoStream, 3}, {3, 1, 1}}, {"s1", "s2", "s3"}},
        {"a node reached through two links", 1, {{1, 3, 2}, {2, 3, kNoStream}}, {"s1", "s2", "s3"}},
    };
    for (const Case& c : cases) {
        CfbImage image = flatImage(5);
        image.entries[0].child = c.child;
        for (const auto& link : c.links) {
            image.entries[link[0]].left = link[1];
            image.entries[link[0]].right = link[2];
        }
        OpenedFile opened(image.serialize());
        EXPECT_EQ(childNames(opened.root), c.expected) << c.what;
    }
}

TEST(StorageTree, ChildLinkThatIsASpecialValueMeansNoChildrenAndLeavesTheListAlone) {
    for (const uint32_t special : {kFreeSect, kEndOfChain, kFatSect, kDifSect}) {
        CfbImage image = flatImage(2);
        image.entries[0].child = special;
        OpenedFile opened(image.serialize());
        TOVXDynamicArray<TOVStStorageDirEntry> out;
        TOVStStorageDirEntry marker;
        out.Add(marker);
        EXPECT_EQ(opened.root->enumElements(out), -1);
        EXPECT_EQ(out.Count(), 1) << "the out list must stay as it was";
    }
}

TEST(StorageTree, SearchesLookAtImmediateChildrenByKindAndNameAndFirstIndexWins) {
    CfbBuilder builder;
    const int docs = builder.addStorage(CfbBuilder::kRoot, u"Docs");
    builder.addStream(docs, u"Inner", u8("inner bytes"));
    builder.addStream(CfbBuilder::kRoot, u"Docs", u8("a stream named like the storage"));
    builder.addStream(CfbBuilder::kRoot, u"Twin", u8("first twin"));
    builder.addStream(CfbBuilder::kRoot, u"Twin", u8("second twin"));
    builder.addStream(CfbBuilder::kRoot, u"empty", {});
    builder.addStream(CfbBuilder::kRoot, u"\u041f\u0438", u8("cyrillic"));  // stored as the units 0x041F 0x0438
    const int bad = builder.addStorage(CfbBuilder::kRoot, u"Bad");
    builder.addStream(bad, u"x", u8("x"));
    CfbImage image = builder.layout();
    image.entries[static_cast<size_t>(bad)].colour = 2;  // neither red nor black: listed, but not valid
    OpenedFile opened(image.serialize());

    TOVIStorage* sub = nullptr;
    ASSERT_EQ(opened.root->openStorage(TOVXString::FromUtf8("Docs"), &sub), 0);
    TOVIStream* stream = nullptr;
    ASSERT_EQ(opened.root->openStream(TOVXString::FromUtf8("Docs"), &stream), 0);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(stream->data()), stream->length()), "a stream named like the storage");
    tovxDelete(stream);

    stream = nullptr;
    ASSERT_EQ(opened.root->openStream(TOVXString::FromUtf8("Twin"), &stream), 0);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(stream->data()), stream->length()), "first twin");
    tovxDelete(stream);

    stream = reinterpret_cast<TOVIStream*>(0x1);
    EXPECT_EQ(opened.root->openStream(TOVXString::FromUtf8("Inner"), &stream), -1) << "grandchildren are not searched";
    EXPECT_EQ(stream, nullptr);
    stream = reinterpret_cast<TOVIStream*>(0x1);
    EXPECT_EQ(opened.root->openStream(TOVXString::FromUtf8("Bad"), &stream), -1) << "a storage is no stream";
    EXPECT_EQ(stream, nullptr);
    stream = reinterpret_cast<TOVIStream*>(0x1);
    EXPECT_EQ(opened.root->openStream(TOVXString::FromUtf8("empty"), &stream), -1);
    EXPECT_EQ(stream, reinterpret_cast<TOVIStream*>(0x1)) << "an empty stream leaves the pointer alone";
    TOVIStorage* none = reinterpret_cast<TOVIStorage*>(0x1);
    EXPECT_EQ(opened.root->openStorage(TOVXString::FromUtf8("Twin"), &none), -1) << "a stream is no storage";
    EXPECT_EQ(none, nullptr);
    none = reinterpret_cast<TOVIStorage*>(0x1);
    EXPECT_EQ(opened.root->openStorage(TOVXString::FromUtf8("Bad"), &none), -1) << "found, but the entry is not valid";
    EXPECT_EQ(none, nullptr);

    // A name is found as the low bytes of its stored units, and only so.
    stream = nullptr;
    EXPECT_EQ(opened.root->openStream(text(u"\u041f\u0438"), &stream), -1);
    ASSERT_EQ(opened.root->openStream(text(u"\x1f\x38"), &stream), 0);
    EXPECT_EQ(stream->length(), 8u);
    tovxDelete(stream);

    // The sub-storage has an image of its own and outlives the root.
    tovxDelete(opened.root);
    opened.root = nullptr;
    stream = nullptr;
    ASSERT_EQ(sub->openStream(TOVXString::FromUtf8("Inner"), &stream), 0);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(stream->data()), stream->length()), "inner bytes");
    tovxDelete(stream);
    tovxDelete(sub);
}

TEST(StorageTree, OpeningAndCopyingGiveIndependentImages) {
    CfbBuilder builder;
    const int docs = builder.addStorage(CfbBuilder::kRoot, u"Docs");
    builder.addStream(docs, u"a", u8("alpha"));
    OpenedFile opened(builder.build());
    TOVIStorage* first = nullptr;
    TOVIStorage* second = nullptr;
    ASSERT_EQ(opened.root->openStorage(TOVXString::FromUtf8("Docs"), &first), 0);
    ASSERT_EQ(opened.root->openStorage(TOVXString::FromUtf8("Docs"), &second), 0);
    EXPECT_NE(first->getStStorageFileInfo(), second->getStStorageFileInfo());

    TOVIStorage copy(*first);
    TOVIStorage assigned;
    assigned = copy;
    tovxDelete(first);
    tovxDelete(second);
    EXPECT_EQ(childNames(&copy), std::vector<std::string>{"a"});
    EXPECT_EQ(childNames(&assigned), std::vector<std::string>{"a"});
    EXPECT_NE(copy.getStStorageFileInfo(), assigned.getStStorageFileInfo());

    TOVStStorageFileInfo* mine = opened.root->getStStorageFileInfo();
    TOVIStorage fresh;
    fresh.setStStorageFileInfo(mine);
    fresh.setStStorageFileInfo(mine);  // a second image replaces the first, which is released
    EXPECT_NE(fresh.getStStorageFileInfo(), mine);
    EXPECT_TRUE(mine->checkValidity());
}

TEST(StorageTree, UnusableFilesAndStoragesWithoutImage) {
    TOVIStorage* root = reinterpret_cast<TOVIStorage*>(0x1);
    EXPECT_EQ(TOVStgOpenStorage(TOVXFilePath("/nonexistent/file.doc"), &root), -1);
    EXPECT_EQ(root, nullptr);
    ScratchFile notCompound(u8("plain text, not a compound file"));
    root = reinterpret_cast<TOVIStorage*>(0x1);
    EXPECT_EQ(TOVStgOpenStorage(TOVXFilePath(notCompound.path()), &root), -1);
    EXPECT_EQ(root, nullptr);

    TOVIStorage direct{TOVXFilePath(notCompound.path())};
    ASSERT_NE(direct.getStStorageFileInfo(), nullptr);
    EXPECT_FALSE(direct.getStStorageFileInfo()->checkValidity());
    EXPECT_EQ(direct.getDirectoryEntry().getType(), STGTY_INVALID);

    TOVIStorage empty;
    TOVXDynamicArray<TOVStStorageDirEntry> out;
    EXPECT_EQ(empty.enumElements(out), -1);
    TOVIStorage* sub = reinterpret_cast<TOVIStorage*>(0x1);
    EXPECT_EQ(empty.openStorage(TOVXString::FromUtf8("x"), &sub), -1);
    EXPECT_EQ(sub, nullptr);
    TOVIStream* stream = reinterpret_cast<TOVIStream*>(0x1);
    EXPECT_EQ(empty.openStream(TOVXString::FromUtf8("x"), &stream), -1);
    EXPECT_EQ(stream, reinterpret_cast<TOVIStream*>(0x1)) << "a storage without image leaves the pointer alone";
}

TEST(StorageTree, RootOfAnotherTypeStillOpensAndCachedListSurvivesNewEntry) {
    CfbImage image = flatImage(2);
    image.entries[0].child = 1;
    image.entries[1].right = 2;
    image.entries[0].type = 1;  // a root entry that says "storage"
    OpenedFile opened(image.serialize());
    ASSERT_NE(opened.root, nullptr);
    EXPECT_FALSE(opened.root->getDirectoryEntry().isRoot());
    EXPECT_EQ(childNames(opened.root), (std::vector<std::string>{"s1", "s2"}));
    opened.root->setDirectoryEntry(TOVStStorageDirEntry());
    EXPECT_EQ(childNames(opened.root), (std::vector<std::string>{"s1", "s2"})) << "the cached list stays in use";
}
