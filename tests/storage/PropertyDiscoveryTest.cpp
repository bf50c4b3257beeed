#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CfbBuilder.h"
#include "PropertyStreamBuilder.h"
#include "TOVIStorage.h"
#include "TOVXMemoryManager.h"
#include "TestFiles.h"

using namespace tovxtest;

namespace {

// A property set whose name (property 255) is `name`, padded with a long string when asked.
Bytes namedSet(const std::string& name, uint8_t fmtid, size_t padding = 0) {
    PropertyStreamBuilder builder;
    builder.section(formatId(fmtid)).value(255, typed(30, narrowString(name)));
    if (padding > 0) builder.value(2, typed(30, narrowString(std::string(padding, 'x'))));
    builder.value(3, typed(3, le32(42)));
    return builder.build();
}

std::vector<std::string> setNames(TOVIPropertySetStorage* container) {
    TOVXDynamicArray<TOVIPropertyStorage*> sets;
    container->GetPropertyStorages(sets);
    std::vector<std::string> names;
    for (int i = 0; i < sets.Count(); ++i) {
        names.push_back((*sets.At(i))->GetPropertyStorageName().ToUtf8());
        (*sets.At(i))->LowerReference();
    }
    return names;
}

struct Opened {
    explicit Opened(const std::vector<uint8_t>& bytes) : file(std::make_unique<ScratchFile>(bytes)) {
        EXPECT_EQ(TOVStgOpenStorage(TOVXFilePath(file->path()), &root), 0);
    }
    ~Opened() { tovxDelete(root); }
    std::unique_ptr<ScratchFile> file;
    TOVIStorage* root = nullptr;
};

}  // namespace

TEST(PropertyDiscovery, FindsTheRootsPropertyStreamsThatParseInDirectoryOrder) {
    CfbBuilder builder;
    Bytes broken = namedSet("broken", 1);
    broken[0] = 0xFF;  // wrong byte-order mark: refused
    builder.addStream(CfbBuilder::kRoot, u"\x05" u"A", broken);
    builder.addStream(CfbBuilder::kRoot, u"\x05" u"B", namedSet("second", 2));
    builder.addStream(CfbBuilder::kRoot, u"\x05" u"C", namedSet("third", 3));
    builder.addStream(CfbBuilder::kRoot, u"\x05" u"Empty", {});
    builder.addStream(CfbBuilder::kRoot, u"X\x05" u"Inside", namedSet("not a set name", 4));
    builder.addStorage(CfbBuilder::kRoot, u"\x05" u"Folder");
    const int sub = builder.addStorage(CfbBuilder::kRoot, u"Sub");
    builder.addStream(sub, u"\x05" u"Nested", namedSet("nested", 5));
    Opened opened(builder.build());

    TOVIPropertySetStorage* sets = opened.root->getPropertySetStorage();
    ASSERT_NE(sets, nullptr);
    EXPECT_EQ(setNames(sets), (std::vector<std::string>{"second", "third"}));

    TOVIPropertyStorage* found = nullptr;
    ASSERT_TRUE(sets->GetPropertyStorageWithName(TOVXString::FromUtf8("third"), found).IsSuccess());
    ASSERT_NE(found, nullptr);
    found->LowerReference();
}

TEST(PropertyDiscovery, FilledContainerIsCachedAndSharedWithSubStorages) {
    CfbBuilder builder;
    builder.addStream(CfbBuilder::kRoot, u"\x05SummaryInformation", namedSet("summary", 1));
    const int sub = builder.addStorage(CfbBuilder::kRoot, u"Sub");
    builder.addStream(sub, u"x", u8("x"));
    Opened opened(builder.build());

    TOVIPropertySetStorage* first = opened.root->getPropertySetStorage();
    opened.file.reset();  // the file is gone: a filled container needs it no more
    EXPECT_EQ(opened.root->getPropertySetStorage(), first);
    EXPECT_EQ(first->GetPropertyStorageCount(), 1);

    TOVIStorage* a = nullptr;
    TOVIStorage* b = nullptr;
    ASSERT_EQ(opened.root->openStorage(TOVXString::FromUtf8("Sub"), &a), 0);
    ASSERT_EQ(opened.root->openStorage(TOVXString::FromUtf8("Sub"), &b), 0);
    EXPECT_EQ(a->getPropertySetStorage(), first);
    EXPECT_EQ(b->getPropertySetStorage(), first);
    tovxDelete(opened.root);
    opened.root = nullptr;
    EXPECT_EQ(setNames(a->getPropertySetStorage()), std::vector<std::string>{"summary"}) << "outlives the root";
    tovxDelete(a);
    EXPECT_EQ(setNames(b->getPropertySetStorage()), std::vector<std::string>{"summary"});
    tovxDelete(b);
}

TEST(PropertyDiscovery, OnlyARootDiscovers) {
    TOVIStorage empty;
    TOVIPropertySetStorage* own = empty.getPropertySetStorage();
    ASSERT_NE(own, nullptr);
    EXPECT_EQ(own->GetPropertyStorageCount(), 0);
    EXPECT_EQ(empty.getPropertySetStorage(), own) << "kept from then on";

    CfbBuilder builder;
    builder.addStream(CfbBuilder::kRoot, u"\x05SummaryInformation", namedSet("summary", 1));
    CfbImage image = builder.layout();
    image.entries[0].type = 1;  // element 0 that is not a root
    Opened opened(image.serialize());
    EXPECT_EQ(opened.root->getPropertySetStorage()->GetPropertyStorageCount(), 0);
}

TEST(PropertyDiscovery, ReplacedContainerDecidesWhetherDiscoveryRunsAgain) {
    CfbBuilder builder;
    builder.addStream(CfbBuilder::kRoot, u"\x05SummaryInformation", namedSet("summary", 1));
    Opened opened(builder.build());
    opened.root->setPropertySetStorage(nullptr);
    TOVIPropertySetStorage* again = opened.root->getPropertySetStorage();
    EXPECT_EQ(again->GetPropertyStorageCount(), 1) << "a null container brings the discovery back";
}

TEST(PropertyDiscovery, StreamWhoseChainEndsEarlyIsParsedFromTheBytesRead) {
    // A set of 6000 bytes lies in regular sectors; its chain is cut after the first sector,
    // which still holds the name. Whatever lies behind must not be read (the sanitizers watch).
    CfbBuilder builder;
    builder.addStream(CfbBuilder::kRoot, u"\x05SummaryInformation", namedSet("cut short", 1, 6000));
    CfbImage image = builder.layout();
    image.fat[image.entries[1].start] = kEndOfChain;
    Opened opened(image.serialize());
    TOVIPropertySetStorage* sets = opened.root->getPropertySetStorage();
    EXPECT_EQ(setNames(sets), std::vector<std::string>{"cut short"});
}
