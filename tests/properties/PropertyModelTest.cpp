// Counted objects and handles, the container of sets and the hash table.

#include <gtest/gtest.h>

#include "PropertyTestSupport.h"
#include "TOVIPropertySetStorage.h"
#include "TOVIPropertySetStorageHandle.h"
#include "TOVXHashTable.h"

using namespace tovxtest;

namespace {

// Counts the destructions of its instances.
struct Tracked : TOVXProperty {
    static int destroyed;
    Tracked() : TOVXProperty(TOVXString(), ValueTypeText, TOVXString()) {}
    ~Tracked() override { ++destroyed; }
};
int Tracked::destroyed = 0;

TEST(Handles, TheObjectLivesUntilItsLastHandleGoes) {
    Tracked::destroyed = 0;
    Tracked* object = tovxNew<Tracked>();
    EXPECT_EQ(object->LowerReference(), 0u);  // lowering an unheld object does nothing
    {
        TOVXPropertyHandle first(object);
        {
            TOVXPropertyHandle second(first);
            EXPECT_EQ(object->GetReferenceCount(), 2u);
            second = second;
            first = second;  // assigning a handle on the same object keeps it alive
            EXPECT_EQ(object->GetReferenceCount(), 2u);
            EXPECT_TRUE(first == second);
        }
        EXPECT_EQ(Tracked::destroyed, 0);
        first = TOVXPropertyHandle(nullptr);  // an empty handle drops the old object
        EXPECT_EQ(Tracked::destroyed, 1);
        EXPECT_FALSE(first.IsValid());
    }
    EXPECT_EQ(Tracked::destroyed, 1);
}

TEST(Handles, ArrayElementsAreSharedByCopiesAndDroppedWhenReplacedOrFreed) {
    Tracked::destroyed = 0;
    TOVXDynamicArray<TOVXPropertyHandle> list;
    list.Add(TOVXPropertyHandle(tovxNew<Tracked>()));
    list.Add(TOVXPropertyHandle(tovxNew<Tracked>()));
    EXPECT_FALSE(*list.At(0) == *list.At(1));
    EXPECT_NE(*list.At(0) < *list.At(1), *list.At(1) < *list.At(0));
    *list.MutableAt(0) = TOVXPropertyHandle(tovxNew<Tracked>());
    EXPECT_EQ(Tracked::destroyed, 1);
    { TOVXDynamicArray<TOVXPropertyHandle> copy(list); }
    EXPECT_EQ(Tracked::destroyed, 1);
    list.FreeElements();
    EXPECT_EQ(Tracked::destroyed, 3);
}

// ---- The container of sets -----------------------------------------------------------------

TOVIPropertyStorage* parsed(const Bytes& bytes) {
    TOVIPropertyStorage* set = tovxNew<TOVIPropertyStorage>();
    set->InitializeFromBuffer(bytes.data(), int(bytes.size()));
    return set;
}

TEST(PropertySetStorage, AnEmptyContainerFindsNothingAndTakesNoNull) {
    TOVIPropertySetStorageHandle container(tovxNew<TOVIPropertySetStorage>());
    const unsigned char id[16] = {};
    TOVIPropertyStorage* found = reinterpret_cast<TOVIPropertyStorage*>(1);
    EXPECT_EQ(container->GetPropertyStorageWithID(id, found).Code(), TOVX_E_FAIL);
    EXPECT_EQ(found, nullptr);
    found = reinterpret_cast<TOVIPropertyStorage*>(1);
    EXPECT_EQ(container->GetPropertyStorageWithName(TOVXString(), found).Code(), TOVX_E_FAIL);
    EXPECT_EQ(found, nullptr);
    EXPECT_FALSE(container->AddPropertyStorage(nullptr));
    EXPECT_EQ(container->GetPropertyStorageCount(), 0);
}

TEST(PropertySetStorage, LookupsGiveTheFirstMatchWithAReference) {
    TOVIPropertySetStorageHandle container(tovxNew<TOVIPropertySetStorage>());
    TOVIPropertyStorage* first = parsed(PropertyStreamBuilder().section(formatId(0)).value(2, typed(3, le32(1))).build());
    TOVIPropertyStorage* second = parsed(PropertyStreamBuilder().section(formatId(0)).value(255, typed(30, narrowString("named"))).build());
    EXPECT_TRUE(container->AddPropertyStorage(first));
    EXPECT_TRUE(container->AddPropertyStorage(second));
    EXPECT_EQ(container->GetPropertyStorageCount(), 2);

    const unsigned char id[16] = {0x33, 0x22, 0x11, 0x00, 0x55, 0x44, 0x77, 0x66, 0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
    TOVIPropertyStorage* found = nullptr;
    EXPECT_TRUE(container->GetPropertyStorageWithID(id, found).IsSuccess());
    EXPECT_EQ(found, first);
    EXPECT_EQ(first->GetReferenceCount(), 2u);
    found->LowerReference();
    EXPECT_TRUE(container->GetPropertyStorageWithName(TOVXString::FromUtf8("named"), found).IsSuccess());
    EXPECT_EQ(found, second);
    found->LowerReference();
    EXPECT_TRUE(container->GetPropertyStorageWithName(TOVXString(), found).IsSuccess());  // no property 255: empty name
    EXPECT_EQ(found, first);
    found->LowerReference();
}

TEST(PropertySetStorage, SetsAndPropertiesOutliveTheirOwnersWhileHeld) {
    TOVXDynamicArray<TOVIPropertyStorage*> sets;
    {
        TOVIPropertySetStorageHandle container(tovxNew<TOVIPropertySetStorage>());
        container->AddPropertyStorage(parsed(PropertyStreamBuilder().value(2, typed(3, le32(77))).build()));
        container->GetPropertyStorages(sets);
        container->GetPropertyStorages(sets);  // listed twice, two references
        ASSERT_EQ(sets.Count(), 2);
        EXPECT_EQ(*sets.At(0), *sets.At(1));
        EXPECT_EQ((*sets.At(0))->GetReferenceCount(), 3u);
    }
    TOVIPropertyStorage* set = *sets.At(0);
    EXPECT_EQ(set->GetReferenceCount(), 2u);
    TOVXDynamicArray<TOVXPropertyHandle> properties = set->GetPropertyArray();
    set->LowerReference();
    set->LowerReference();  // the last reference frees the set (checked under the leak sanitizer)
    ASSERT_EQ(properties.Count(), 1);
    EXPECT_EQ((*properties.At(0))->GetValue().ToUtf8(), "77");
}

// ---- Hash table ----------------------------------------------------------------------------

using Table = TOVXHashTable<unsigned int, TOVXString>;

TEST(HashTable, TwelveEntriesFitAndTheThirteenthDoubles) {
    Table table(12);
    EXPECT_EQ(table.Size(), 17);
    for (unsigned int key = 100; key < 112; ++key) table.AddEntry(key, TOVXString::FromUtf8(std::to_string(key)));
    EXPECT_EQ(table.Size(), 17);
    table.AddEntry(112, TOVXString::FromUtf8("112"));
    EXPECT_EQ(table.Size(), 34);
    EXPECT_EQ(table.entryCount, 13u);
    for (unsigned int key = 100; key <= 112; ++key) {
        const int slot = table.Find(&key);
        ASSERT_GE(slot, 0) << key;
        EXPECT_EQ(table.values.At(slot)->ToUtf8(), std::to_string(key));
    }
}

TEST(HashTable, CopiesOfItsArraysKeepTheEntriesTheyWereTakenWith) {
    Table table(12);
    const unsigned int one = 1, two = 2;
    table.AddEntry(one, TOVXString::FromUtf8("one"));
    const TOVXDynamicArray<unsigned char> occupied = table.occupied;
    const TOVXDynamicArray<TOVXString> values = table.values;
    table.AddEntry(two, TOVXString::FromUtf8("two"));
    const int slot = table.Find(&two);
    ASSERT_GE(slot, 0);
    EXPECT_EQ(*occupied.At(slot), 0);
    EXPECT_EQ(values.At(slot)->length(), 0);
    EXPECT_EQ(values.At(table.Find(&one))->ToUtf8(), "one");
}

uint32_t lastSlotHash(const unsigned int*) { return 16; }

TEST(HashTable, TheFirstValueWinsKeyZeroIsOrdinaryAndProbesWrapAround) {
    Table table(12);
    const unsigned int zero = 0, one = 1, two = 2, three = 3;
    EXPECT_EQ(table.Find(&zero), -1);  // a free slot holds key 0 but is not an entry
    table.hashFunction = &lastSlotHash;  // every key's home is the last of 17 slots
    for (const char* text : {"zero", "one", "two", "again"}) table.AddEntry(table.entryCount % 3, TOVXString::FromUtf8(text));  // keys 0, 1, 2, 0
    EXPECT_EQ(table.entryCount, 3u);
    EXPECT_EQ(table.Find(&zero), 16);
    EXPECT_EQ(table.values.At(16)->ToUtf8(), "zero");
    EXPECT_EQ(table.Find(&one), 0);
    EXPECT_EQ(table.Find(&two), 1);
    EXPECT_EQ(table.Find(&three), -1);
}

TEST(HashTable, TheBuiltInHashGivesTheWorkedValues) {
    // Worked by hand from the six steps, with arithmetic right shifts (0x80000000 needs them).
    const std::pair<uint32_t, uint32_t> worked[] = {
        {0u, 0u}, {1u, 0x23744B91u}, {255u, 0x5806A1A9u}, {0x80000000u, 0x5CE4DCE4u}, {0xFFFFFFFFu, 0x2374039Au}, {123456789u, 0x48880EF9u}};
    for (const auto& pair : worked) EXPECT_EQ(Table::DefaultHash(pair.first), pair.second) << pair.first;
}

}  // namespace
