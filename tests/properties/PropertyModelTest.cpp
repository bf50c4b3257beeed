// Counted objects, handles, properties, the container of sets and the hash table.

#include <gtest/gtest.h>

#include <cstring>

#include "PropertyTestSupport.h"
#include "TOVIPropertySetStorage.h"
#include "TOVIPropertySetStorageHandle.h"
#include "TOVXHashTable.h"
#include "TOVXPropertyContainerHandle.h"

using namespace tovxtest;

namespace {

// Counts the destructions of its instances.
struct Tracked : TOVXProperty {
    static int destroyed;
    Tracked() : TOVXProperty(TOVXString(), ValueTypeText, TOVXString()) {}
    ~Tracked() override { ++destroyed; }
};
int Tracked::destroyed = 0;

class Handles : public ::testing::Test {
protected:
    void SetUp() override { Tracked::destroyed = 0; }
};

TEST_F(Handles, AnEmptyHandleIsInvalidAndCopiesFreely) {
    TOVXPropertyHandle empty(nullptr);
    EXPECT_FALSE(empty.IsValid());
    EXPECT_EQ(static_cast<TOVXProperty*>(empty), nullptr);
    TOVXPropertyHandle copy(empty);
    TOVXPropertyHandle assigned(tovxNew<Tracked>());
    assigned = empty;
    EXPECT_EQ(Tracked::destroyed, 1);
    EXPECT_FALSE(copy.IsValid());
    EXPECT_TRUE(copy == empty);
}

TEST_F(Handles, TheObjectLivesUntilItsLastHandleGoes) {
    Tracked* object = tovxNew<Tracked>();
    EXPECT_EQ(object->GetReferenceCount(), 0u);
    {
        TOVXPropertyHandle first(object);
        {
            TOVXPropertyHandle second(first);
            EXPECT_EQ(object->GetReferenceCount(), 2u);
            second = second;  // self-assignment keeps it alive
            EXPECT_EQ(object->GetReferenceCount(), 2u);
        }
        EXPECT_EQ(Tracked::destroyed, 0);
        first = first;
        EXPECT_EQ(Tracked::destroyed, 0);
    }
    EXPECT_EQ(Tracked::destroyed, 1);
}

TEST_F(Handles, ReplacingAnArrayElementDropsTheOldObject) {
    TOVXDynamicArray<TOVXPropertyHandle> list;
    list.Add(TOVXPropertyHandle(tovxNew<Tracked>()));
    list.Add(TOVXPropertyHandle(tovxNew<Tracked>()));
    EXPECT_EQ(Tracked::destroyed, 0);
    *list.At(0) = TOVXPropertyHandle(tovxNew<Tracked>());
    EXPECT_EQ(Tracked::destroyed, 1);
    {
        TOVXDynamicArray<TOVXPropertyHandle> copy(list);  // shares the elements
    }
    EXPECT_EQ(Tracked::destroyed, 1);
    list.FreeElements();
    EXPECT_EQ(Tracked::destroyed, 3);
}

TEST_F(Handles, HandlesOrderAndCompareByObject) {
    TOVXPropertyHandle a(tovxNew<Tracked>());
    TOVXPropertyHandle b(tovxNew<Tracked>());
    TOVXPropertyHandle a2(a);
    EXPECT_TRUE(a == a2);
    EXPECT_FALSE(a == b);
    EXPECT_NE(a < b, b < a);
    EXPECT_FALSE(a < a2);
}

TEST_F(Handles, LoweringAnUnheldObjectDoesNothing) {
    Tracked* object = tovxNew<Tracked>();
    EXPECT_EQ(object->LowerReference(), 0u);
    EXPECT_EQ(Tracked::destroyed, 0);
    object->RaiseReference();
    object->LowerReference();
    EXPECT_EQ(Tracked::destroyed, 1);
}

TEST(Property, GetDataGivesValueBeforeTypeAndKeepsMinusOne) {
    TOVXString name = TOVXString::FromUtf8("Größe");
    TOVXString value = TOVXString::FromUtf8("12");
    TOVXPropertyHandle property(tovxNew<TOVXProperty>(name, ValueType(-1), value));
    property->SetID(0x80000001u);
    TOVXString outName;
    TOVXString outValue;
    int type = 0;
    property->GetData(outName, outValue, type);
    EXPECT_TRUE(outName.equals(name));
    EXPECT_TRUE(outValue.equals(value));
    EXPECT_EQ(type, -1);
    EXPECT_EQ(property->GetID(), 0x80000001u);
    EXPECT_STREQ(property->GetName(), "Gr\xC3\xB6\xC3\x9F" "e");
    EXPECT_TRUE(TOVXString(property->GetName(), "US-ASCII").equals(name));
}

TEST(PropertyContainer, CountsItsProperties) {
    TOVXDynamicArray<TOVXPropertyHandle> list;
    TOVXPropertyContainerHandle empty(tovxNew<TOVXPropertyContainer>(list, TOVXString()));
    EXPECT_EQ(empty->GetNumberOfUserProperties(), 0);
    list.Add(TOVXPropertyHandle(tovxNew<TOVXProperty>(TOVXString(), ValueTypeText, TOVXString())));
    TOVXPropertyContainerHandle one(tovxNew<TOVXPropertyContainer>(list, TOVXString()));
    EXPECT_EQ(one->GetNumberOfUserProperties(), 1);
    EXPECT_NE(static_cast<TOVXPropertyContainer*>(one), nullptr);
}

// ---- The container of sets -----------------------------------------------------------------

TOVIPropertyStorage* parsed(const Bytes& bytes) {
    TOVIPropertyStorage* set = tovxNew<TOVIPropertyStorage>();
    set->InitializeFromBuffer(bytes.data(), int(bytes.size()));
    return set;
}

TEST(PropertySetStorage, AnEmptyContainerFindsNothing) {
    TOVIPropertySetStorageHandle container(tovxNew<TOVIPropertySetStorage>());
    EXPECT_EQ(container->GetPropertyStorageCount(), 0);
    TOVIPropertyStorage* found = reinterpret_cast<TOVIPropertyStorage*>(1);
    const unsigned char id[16] = {};
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

TEST(PropertySetStorage, ASetOutlivesTheContainerWhileACallerHoldsIt) {
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
    EXPECT_EQ(set->GetPropertyWithID(2)->GetValue().ToUtf8(), "77");
    set->LowerReference();
    set->LowerReference();  // the last reference frees the set (checked under the leak sanitizer)
}

TEST(PropertySetStorage, PropertiesOutliveTheirSet) {
    TOVXDynamicArray<TOVXPropertyHandle> list;
    {
        ParsedSet set(PropertyStreamBuilder().value(2, typed(3, le32(5))).value(3, typed(3, le32(6))).build());
        list = set->GetPropertyArray();
    }
    ASSERT_EQ(list.Count(), 2);
    EXPECT_EQ((*list.At(1))->GetValue().ToUtf8(), "6");
}

// ---- Hash table ----------------------------------------------------------------------------

using Table = TOVXHashTable<unsigned int, TOVXString>;

TEST(HashTable, TwelveEntriesFitAndTheThirteenthDoubles) {
    Table table(12);
    EXPECT_EQ(table.Size(), 17);
    for (unsigned int key = 100; key < 112; ++key) table.AddEntry(key, TOVXString::FromUtf8(std::to_string(key)));
    EXPECT_EQ(table.Size(), 17);
    EXPECT_EQ(table.entryCount, 12u);
    table.AddEntry(112, TOVXString::FromUtf8("112"));
    EXPECT_EQ(table.Size(), 34);
    EXPECT_EQ(table.entryCount, 13u);
    for (unsigned int key = 100; key <= 112; ++key) {
        const int slot = table.Find(&key);
        ASSERT_GE(slot, 0) << key;
        EXPECT_EQ(table.values.At(slot)->ToUtf8(), std::to_string(key));
    }
    const unsigned int absent = 5;
    EXPECT_EQ(table.Find(&absent), -1);
}

TEST(HashTable, TheFirstValueWinsAndExtremeKeysAreOrdinary) {
    Table table(12);
    const unsigned int zero = 0;
    const unsigned int all = 0xFFFFFFFFu;
    EXPECT_EQ(table.Find(&zero), -1);  // a free slot holds key 0 but is not an entry
    table.AddEntry(zero, TOVXString::FromUtf8("zero"));
    table.AddEntry(all, TOVXString::FromUtf8("all"));
    table.AddEntry(zero, TOVXString::FromUtf8("again"));
    EXPECT_EQ(table.entryCount, 2u);
    EXPECT_EQ(table.values.At(table.Find(&zero))->ToUtf8(), "zero");
    EXPECT_EQ(table.values.At(table.Find(&all))->ToUtf8(), "all");
}

uint32_t lastSlotHash(const unsigned int*) { return 16; }

TEST(HashTable, CollisionsProbeOnAndWrapAround) {
    Table table(12);
    table.hashFunction = &lastSlotHash;  // every key's home is the last of 17 slots
    for (unsigned int key = 1; key <= 3; ++key) table.AddEntry(key, TOVXString::FromUtf8(std::to_string(key)));
    const unsigned int one = 1, two = 2, three = 3, four = 4;
    EXPECT_EQ(table.Find(&one), 16);
    EXPECT_EQ(table.Find(&two), 0);
    EXPECT_EQ(table.Find(&three), 1);
    EXPECT_EQ(table.Find(&four), -1);
}

TEST(HashTable, TheBuiltInHashMatchesItsDefinition) {
    // Worked by hand from the six steps, with arithmetic right shifts.
    auto reference = [](uint32_t key) {
        int32_t h = int32_t(key + ~(key << 15));
        h ^= h >> 10;
        h = int32_t(uint32_t(h) * 9u);
        h ^= h >> 6;
        h = int32_t(uint32_t(h) + ~(uint32_t(h) << 11));
        h ^= h >> 16;
        return uint32_t(h);
    };
    for (uint32_t key : {0u, 1u, 2u, 255u, 0x80000000u, 0xFFFFFFFFu, 123456789u})
        EXPECT_EQ(Table::DefaultHash(key), reference(key)) << key;
}

}  // namespace
