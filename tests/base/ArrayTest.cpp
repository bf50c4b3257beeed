#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TOVXDynamicArray.h"
#include "TOVXMemoryManager.h"
#include "TOVXString.h"

namespace {

using UIntArray = TOVXDynamicArray<unsigned int>;

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

}  // namespace

TEST(Array, NewArrayIsEmptyWithCapacityOne) {
    UIntArray array;
    EXPECT_EQ(array.Count(), 0);
    ASSERT_NE(array.header, nullptr);
    EXPECT_EQ(array.header->capacity, 1);
    EXPECT_EQ(array.First(), nullptr);
    EXPECT_EQ(array.At(0), nullptr);
    EXPECT_EQ(array.At(-1), nullptr);
}

TEST(Array, CountValueConstructor) {
    for (int count : {0, -5}) {
        UIntArray empty(count, 7u);
        EXPECT_EQ(empty.Count(), 0) << count;
        EXPECT_EQ(empty.header->capacity, 1) << count;
    }
    UIntArray three(3, 7u);
    EXPECT_EQ(contents(three), (std::vector<unsigned int>{7, 7, 7}));
}

TEST(Array, AtIsNullOutsideTheElements) {
    UIntArray array = arrayOf({10, 20, 30});
    EXPECT_EQ(*array.At(0), 10u);
    EXPECT_EQ(*array.At(2), 30u);
    EXPECT_EQ(array.At(3), nullptr);
    EXPECT_EQ(array.At(-1), nullptr);
    EXPECT_EQ(array.First(), array.At(0));
}

TEST(Array, SortOrdersUnsignedAscending) {
    struct Case {
        std::vector<unsigned int> input, sorted;
    };
    const Case cases[] = {
        {{}, {}},
        {{5}, {5}},
        {{1, 2}, {1, 2}},
        {{2, 1}, {1, 2}},
        {{3, 3}, {3, 3}},
        {{5, 1, 4, 1, 5, 9, 2, 6}, {1, 1, 2, 4, 5, 5, 6, 9}},
        // Compared as unsigned: values with the top bit set go last.
        {{0x80000000u, 1, 0xFFFFFFFFu, 0}, {0, 1, 0x80000000u, 0xFFFFFFFFu}},
    };
    for (const Case& c : cases) {
        UIntArray array = arrayOf(c.input);
        array.Sort();
        EXPECT_EQ(contents(array), c.sorted);
    }
}

TEST(Array, SortOfALargeReversedOrEqualArrayFinishes) {
    // Shapes that drive a naive quicksort to its deepest recursion.
    UIntArray reversed, equal;
    for (unsigned int i = 0; i < 100000; ++i) {
        reversed.Add(100000 - i);
        equal.Add(42);
    }
    reversed.Sort();
    equal.Sort();
    for (int i = 1; i < reversed.Count(); ++i) ASSERT_LE(*reversed.At(i - 1), *reversed.At(i));
    EXPECT_EQ(*equal.At(99999), 42u);
}

TEST(Array, IndexOf) {
    EXPECT_EQ(UIntArray().IndexOf(0), -1);
    const UIntArray array = arrayOf({4, 8, 4, 8});
    EXPECT_EQ(array.IndexOf(8), 1);  // the lowest of the duplicates
    EXPECT_EQ(array.IndexOf(4), 0);
    EXPECT_EQ(array.IndexOf(5), -1);
}

TEST(Array, CopySharesTheBlockUntilAWrite) {
    UIntArray original = arrayOf({1, 2, 3});
    UIntArray copy(original);
    EXPECT_EQ(copy.First(), original.First());  // O(1): nothing copied yet
    copy.Add(4);
    EXPECT_NE(copy.First(), original.First());
    EXPECT_EQ(contents(original), (std::vector<unsigned int>{1, 2, 3}));
    EXPECT_EQ(contents(copy), (std::vector<unsigned int>{1, 2, 3, 4}));
}

TEST(Array, AddOnTheOriginalLeavesTheCopyAlone) {
    UIntArray original = arrayOf({1, 2});
    UIntArray assigned;
    assigned = original;
    original.Add(3);
    original.Add(4);
    EXPECT_EQ(assigned.Count(), 2);
    EXPECT_EQ(contents(assigned), (std::vector<unsigned int>{1, 2}));
    EXPECT_EQ(original.Count(), 4);
}

TEST(Array, AddOnACopyWithSpareCapacityLeavesTheOriginalAlone) {
    UIntArray original;
    original.Reserve(16);
    original.Add(1);
    UIntArray copy(original);
    copy.Add(2);  // the shared block has room, yet the original must not see the new element
    EXPECT_EQ(original.Count(), 1);
    EXPECT_EQ(copy.Count(), 2);
    original.Add(9);
    EXPECT_EQ(*copy.At(1), 2u);
}

TEST(Array, SelfAssignmentChangesNothing) {
    UIntArray array = arrayOf({7, 8});
    const unsigned int* data = array.First();
    UIntArray& alias = array;
    array = alias;
    EXPECT_EQ(array.First(), data);
    EXPECT_EQ(contents(array), (std::vector<unsigned int>{7, 8}));
}

TEST(Array, ReserveKeepsTheBlockForLaterAdds) {
    TOVXDynamicArray<unsigned char> bytes;
    bytes.Reserve(1000);
    bytes.Add(0);
    const unsigned char* data = bytes.First();
    for (int i = 1; i < 1000; ++i) bytes.Add(static_cast<unsigned char>(i));
    EXPECT_EQ(bytes.First(), data);
    EXPECT_EQ(bytes.Count(), 1000);

    const int capacity = bytes.header->capacity;
    bytes.Reserve(-1);
    bytes.Reserve(1);  // below the present capacity
    EXPECT_EQ(bytes.header->capacity, capacity);
    EXPECT_EQ(bytes.Count(), 1000);
}

TEST(Array, FreeElementsEmptiesAnArrayThatStaysUsable) {
    TOVXDynamicArray<TOVXString> names;
    names.Add(longText(1));
    names.Add(longText(2));
    TOVXDynamicArray<TOVXString> copy(names);
    names.FreeElements();
    EXPECT_EQ(names.Count(), 0);
    names.Add(longText(3));
    EXPECT_TRUE(names.At(0)->equals(longText(3)));
    ASSERT_EQ(copy.Count(), 2);  // the copy keeps its elements
    EXPECT_TRUE(copy.At(1)->equals(longText(2)));
}

TEST(Array, StringArraysSurviveCopyAndFreeInAnyOrder) {
    for (int order = 0; order < 2; ++order) {
        auto* first = tovxNew<TOVXDynamicArray<TOVXString>>();
        for (int i = 0; i < 20; ++i) first->Add(longText(i));
        auto* second = tovxNew<TOVXDynamicArray<TOVXString>>(*first);
        TOVXDynamicArray<TOVXString>* survivor = order == 0 ? second : first;
        tovxDelete(order == 0 ? first : second);
        ASSERT_EQ(survivor->Count(), 20);
        for (int i = 0; i < 20; ++i) EXPECT_TRUE(survivor->At(i)->equals(longText(i))) << order << " " << i;
        survivor->Add(longText(20));  // growing a block that is no longer shared
        EXPECT_TRUE(survivor->At(20)->equals(longText(20)));
        tovxDelete(survivor);
    }
}

TEST(Array, StringArrayCopiesGrowIndependently) {
    TOVXDynamicArray<TOVXString> a;
    a.Add(longText(0));
    TOVXDynamicArray<TOVXString> b(a);
    TOVXDynamicArray<TOVXString> c;
    c = b;
    b.Add(longText(1));
    c.Add(longText(2));
    EXPECT_EQ(a.Count(), 1);
    EXPECT_TRUE(b.At(1)->equals(longText(1)));
    EXPECT_TRUE(c.At(1)->equals(longText(2)));
    a = c;  // replaces a's block while b and c still hold theirs
    EXPECT_EQ(a.Count(), 2);
    EXPECT_TRUE(a.At(0)->equals(longText(0)));
}

TEST(Array, AddingAnElementOfTheSameArray) {
    // The value lives in the block that growing moves.
    TOVXDynamicArray<TOVXString> names;
    names.Add(longText(5));
    for (int i = 0; i < 10; ++i) names.Add(*names.At(0));
    ASSERT_EQ(names.Count(), 11);
    EXPECT_TRUE(names.At(10)->equals(longText(5)));
}
