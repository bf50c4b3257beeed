#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TOVXDynamicArray.h"
#include "TOVXMemoryManager.h"
#include "TOVXString.h"

namespace {

using UIntArray = TOVXDynamicArray<unsigned int>;
using StringArray = TOVXDynamicArray<TOVXString>;

UIntArray arrayOf(const std::vector<unsigned int>& values) {
    UIntArray array;
    for (unsigned int v : values) array.Add(v);
    return array;
}

std::vector<unsigned int> contents(const UIntArray& array) {
    std::vector<unsigned int> out;
    for (int i = 0; i < array.Count(); ++i) out.push_back(*array.At(i));
    return out;
}

// Long enough to live on the heap, so a double release or a use after free shows under the sanitizers.
TOVXString longText(int n) {
    return TOVXString::FromUtf8("a text long enough to need its own heap block, number " + std::to_string(n));
}

void expectTexts(const StringArray& array, int count) {
    ASSERT_EQ(array.Count(), count);
    for (int i = 0; i < count; ++i) EXPECT_TRUE(array.At(i)->equals(longText(i))) << i;
}

}  // namespace

TEST(Array, EmptyArraysHaveCapacityOneAndLookupsOutsideTheElementsFindNothing) {
    for (const UIntArray& empty : {UIntArray(), UIntArray(0, 7u), UIntArray(-5, 7u)}) {
        EXPECT_EQ(empty.Count(), 0);
        EXPECT_EQ(empty.header->capacity, 1);
        EXPECT_EQ(empty.First(), nullptr);
        EXPECT_EQ(empty.At(0), nullptr);
    }
    EXPECT_EQ(contents(UIntArray(3, 7u)), (std::vector<unsigned int>{7, 7, 7}));
    const UIntArray array = arrayOf({10, 20, 30});
    EXPECT_EQ(*array.At(2), 30u);
    EXPECT_EQ(array.At(3), nullptr);
    EXPECT_EQ(array.At(-1), nullptr);
    EXPECT_EQ(array.First(), array.At(0));
    EXPECT_EQ(UIntArray().IndexOf(0), -1);
    EXPECT_EQ(arrayOf({4, 8, 4, 8}).IndexOf(8), 1);  // the lowest match
    EXPECT_EQ(array.IndexOf(5), -1);
}

TEST(Array, SortOrdersUnsignedAscendingAndFinishesOnLargeAdversarialShapes) {
    UIntArray mixed = arrayOf({5, 0x80000000u, 1, 4, 1, 0xFFFFFFFFu, 0});
    mixed.Sort();
    EXPECT_EQ(contents(mixed), (std::vector<unsigned int>{0, 1, 1, 4, 5, 0x80000000u, 0xFFFFFFFFu}));  // compared unsigned
    // Shapes that drive a naive quicksort to its deepest recursion.
    UIntArray reversed, equal(100000, 42u);
    for (unsigned int i = 0; i < 100000; ++i) reversed.Add(100000 - i);
    reversed.Sort();
    equal.Sort();
    for (int i = 1; i < reversed.Count(); ++i) ASSERT_LE(*reversed.At(i - 1), *reversed.At(i));
    EXPECT_EQ(*equal.At(99999), 42u);
}

TEST(Array, AnAddOrAWriteOnOneCopyIsNotSeenByTheOthers) {
    UIntArray original = arrayOf({1, 2});
    UIntArray copy(original);
    UIntArray assigned;
    assigned = original;
    *copy.MutableAt(0) = 7;
    *original.MutableAt(1) = 8;
    EXPECT_EQ(contents(copy), (std::vector<unsigned int>{7, 2}));
    EXPECT_EQ(contents(original), (std::vector<unsigned int>{1, 8}));
    EXPECT_EQ(contents(assigned), (std::vector<unsigned int>{1, 2}));
    original.Add(3);
    copy.Add(4);
    EXPECT_EQ(contents(original), (std::vector<unsigned int>{1, 8, 3}));
    EXPECT_EQ(contents(copy), (std::vector<unsigned int>{7, 2, 4}));
    EXPECT_EQ(contents(assigned), (std::vector<unsigned int>{1, 2}));
    EXPECT_EQ(copy.MutableAt(-1), nullptr);
    EXPECT_EQ(copy.MutableAt(copy.Count()), nullptr);

    StringArray names;
    names.Add(longText(0));
    StringArray renamed(names);
    *renamed.MutableAt(0) = longText(1);  // objects are copied whole into the new block
    expectTexts(names, 1);
    EXPECT_TRUE(renamed.At(0)->equals(longText(1)));

    UIntArray roomy;
    roomy.Reserve(16);
    roomy.Add(1);
    UIntArray sharer(roomy);
    sharer.Add(2);  // the shared block has room, yet the other holder must not see the new element
    roomy.Add(9);
    EXPECT_EQ(contents(roomy), (std::vector<unsigned int>{1, 9}));
    EXPECT_EQ(contents(sharer), (std::vector<unsigned int>{1, 2}));

    const unsigned int* data = roomy.First();
    UIntArray& alias = roomy;
    roomy = alias;
    EXPECT_EQ(roomy.First(), data);  // self-assignment keeps the block
}

TEST(Array, ReserveKeepsTheBlockForLaterAddsAndNeverShrinks) {
    TOVXDynamicArray<unsigned char> bytes;
    bytes.Reserve(1000);
    bytes.Add(0);
    const unsigned char* data = bytes.First();
    for (int i = 1; i < 1000; ++i) bytes.Add(static_cast<unsigned char>(i));
    EXPECT_EQ(bytes.First(), data);
    const int capacity = bytes.header->capacity;
    bytes.Reserve(-1);
    bytes.Reserve(1);
    EXPECT_EQ(bytes.header->capacity, capacity);
    EXPECT_EQ(bytes.Count(), 1000);

    // Extending in place fills the reserved block where it stands; a sharer keeps its elements.
    TOVXDynamicArray<unsigned char> reserved;
    reserved.Reserve(8);
    const TOVXDynamicArray<unsigned char> sharer(reserved);
    EXPECT_EQ(reserved.Extend(0), nullptr);
    unsigned char* place = reserved.Extend(3);
    ASSERT_NE(place, nullptr);
    place[0] = 'a', place[1] = 'b', place[2] = 'c';
    unsigned char* more = reserved.Extend(5);
    EXPECT_EQ(more, place + 3);
    EXPECT_EQ(reserved.Count(), 8);
    EXPECT_EQ(sharer.Count(), 0);
    EXPECT_EQ(reserved.At(2) != nullptr ? *reserved.At(2) : 0, 'c');
}

TEST(Array, StringArraysSurviveDetachingEmptyingAndFreeingInAnyOrder) {
    for (int order = 0; order < 2; ++order) {
        SCOPED_TRACE(order);
        auto* first = tovxNew<StringArray>();
        for (int i = 0; i < 20; ++i) first->Add(longText(i));
        auto* second = tovxNew<StringArray>(*first);
        StringArray third;
        third = *second;
        second->Add(longText(20));  // detaches while the others still share the block
        StringArray* survivor = order == 0 ? second : first;
        tovxDelete(order == 0 ? first : second);
        survivor->Add(longText(order == 0 ? 21 : 20));
        expectTexts(*survivor, order == 0 ? 22 : 21);
        third = *survivor;  // releases the last hold on the first block
        tovxDelete(survivor);
        expectTexts(third, order == 0 ? 22 : 21);
        StringArray emptied(third);
        emptied.FreeElements();  // empties this holder only, which stays usable
        EXPECT_EQ(emptied.Count(), 0);
        emptied.Add(longText(0));
        expectTexts(emptied, 1);
        expectTexts(third, order == 0 ? 22 : 21);
    }
}

TEST(Array, AddingAnElementOfTheSameArray) {
    // The value lives in the block that growing moves.
    StringArray names;
    names.Add(longText(5));
    for (int i = 0; i < 10; ++i) names.Add(*names.At(0));
    ASSERT_EQ(names.Count(), 11);
    EXPECT_TRUE(names.At(10)->equals(longText(5)));
}
