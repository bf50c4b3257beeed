// Property-set opening and queries over doubles of the platform's interfaces.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "HostDoubles.h"
#include "TOVXStructuredStorageUtils.h"

using namespace hosttest;
using Utils = TOVXStructuredStorageUtils;

namespace {

class HostPropertyDoubles : public ::testing::Test {
protected:
    void SetUp() override {
        Ledger::instance().reset();
        first.fmtid = fakeId(1);
        first.properties = {{2, u"", VT_LPWSTR, 0, u"first title"}, {3, u"Count", VT_I4, 0, u""}};
        first.properties[1].number = -42;
        second.fmtid = fakeId(2);
        second.properties = {{2, u"", VT_LPSTR, 0, u"second title"}};
        third.fmtid = fakeId(3);
        third.properties = {{5, u"", VT_I2, 7, u""}};
        sets.sets = {&first, &second, &third};
        storage.propertySets = &sets;
    }
    void TearDown() override {
        EXPECT_TRUE(Ledger::instance().allBackOnce()) << "a text handed out was not given back exactly once";
        for (const FakeSet* set : {&first, &second, &third}) EXPECT_EQ(set->references, 0);
        EXPECT_EQ(sets.references, 0);
        for (const auto* records : sets.enumerators) EXPECT_EQ(records->references, 0);
    }

    FakeSet first, second, third;
    FakePropertySets sets;
    FakeStorage storage;
};

struct Read {
    int32_t code;
    std::string value;
    int type;
};

Read byId(IPropertyStorage* set, int id) {
    TOVXString value = TOVXString::FromUtf8("stale");
    int type = 99;
    const TOVXResult result = Utils::GetValueWithId(id, set, value, type);
    return {result.Code(), value.ToUtf8(), type};
}

bool operator==(const Read& a, const Read& b) { return a.code == b.code && a.value == b.value && a.type == b.type; }
std::ostream& operator<<(std::ostream& out, const Read& r) { return out << r.code << " '" << r.value << "' " << r.type; }

}  // namespace

TEST_F(HostPropertyDoubles, OpeningTheViewAndASetById) {
    IPropertySetStorage* view = nullptr;
    EXPECT_EQ(Utils::OpenPropertySetStorage(nullptr, view).Code(), TOVX_E_NULL_STORAGE);
    EXPECT_EQ(Utils::OpenPropertySetStorage(&storage, view).Code(), TOVX_OK);
    EXPECT_EQ(view, &sets);
    EXPECT_TRUE(Utils::ClosePropertySetStorage(view));
    FakeStorage plain;  // gives no property-set view
    view = nullptr;
    EXPECT_EQ(Utils::OpenPropertySetStorage(&plain, view).Code(), TOVX_E_FAIL);
    EXPECT_EQ(view, nullptr);

    // The id's bytes stand in printed order: the numeric fields read big-endian.
    const unsigned char printed[16] = {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07,
                                       0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0xF0, 0x0F};
    IPropertyStorage* set = nullptr;
    EXPECT_EQ(Utils::OpenPropertySetWithId(&storage, printed, set).Code(), TOVX_E_FAIL);  // no such set
    EXPECT_EQ(set, nullptr);
    ASSERT_EQ(sets.opened.size(), 1u);
    EXPECT_EQ(sets.opened[0].Data1, 0x00010203u);
    EXPECT_EQ(sets.opened[0].Data2, 0x0405);
    EXPECT_EQ(sets.opened[0].Data3, 0x0607);
    EXPECT_EQ(sets.opened[0].Data4[0], 0x08);
    EXPECT_EQ(sets.opened[0].Data4[6], 0xF0);
    EXPECT_EQ(sets.opened[0].Data4[7], 0x0F);
    EXPECT_EQ(sets.lastMode, static_cast<DWORD>(STGM_READ | STGM_SHARE_EXCLUSIVE));

    const unsigned char secondId[16] = {0, 0, 0, 2};
    EXPECT_EQ(Utils::OpenPropertySetWithId(&storage, secondId, set).Code(), TOVX_OK);
    EXPECT_EQ(set, &second);
    EXPECT_TRUE(Utils::ClosePropertyStorage(set));
    EXPECT_EQ(Utils::OpenPropertySetWithId(nullptr, secondId, set).Code(), TOVX_E_NULL_POINTER);
    set = nullptr;
    EXPECT_EQ(Utils::OpenPropertySetWithId(&plain, secondId, set).Code(), TOVX_E_FAIL);
    EXPECT_EQ(set, nullptr);
    EXPECT_TRUE(Utils::ClosePropertyStorage(nullptr));
    EXPECT_TRUE(Utils::ClosePropertySetStorage(nullptr));
}

TEST_F(HostPropertyDoubles, OpeningASetByThePropertyItHolds) {
    struct Case {
        const char* what;
        int id;
        const char* name;
        FakeSet* match;
        int32_t code;
        size_t opened;
    };
    const Case cases[] = {
        {"first set", 2, "first title", &first, TOVX_OK, 1},
        {"stops at the first match", 2, "second title", &second, TOVX_OK, 2},
        {"the last set read and differs", 5, "nothing like it", nullptr, TOVX_OK, 3},
        {"the last set lacks the property", 2, "nothing like it", nullptr, TOVX_E_FAIL, 3},
        {"empty name: the first set without it", 5, "", &first, TOVX_OK, 1},
    };
    for (const Case& c : cases) {
        sets.opened.clear();
        IPropertyStorage* out = nullptr;
        EXPECT_EQ(Utils::OpenPropertySetWithName(&sets, c.id, TOVXString::FromUtf8(c.name), out).Code(), c.code) << c.what;
        EXPECT_EQ(out, c.match) << c.what;
        EXPECT_EQ(sets.opened.size(), c.opened) << c.what;
        Utils::ClosePropertyStorage(out);
    }
    IPropertyStorage* out = nullptr;
    sets.refusedToOpen = {first.fmtid};
    EXPECT_EQ(Utils::OpenPropertySetWithName(&sets, 2, TOVXString::FromUtf8("second title"), out).Code(), TOVX_OK);
    EXPECT_EQ(out, &second);
    Utils::ClosePropertyStorage(out);
    out = nullptr;
    sets.refusedToOpen = {first.fmtid, second.fmtid, third.fmtid};  // none opens
    EXPECT_EQ(Utils::OpenPropertySetWithName(&sets, 5, TOVXString(), out).Code(), TOVX_E_FAIL);
    sets.failEnum = true;
    EXPECT_EQ(Utils::OpenPropertySetWithName(&sets, 2, TOVXString::FromUtf8("first title"), out).Code(), TOVX_E_FAIL);
    EXPECT_EQ(Utils::OpenPropertySetWithName(nullptr, 2, TOVXString(), out).Code(), TOVX_E_NULL_POINTER);
    EXPECT_EQ(out, nullptr);
}

TEST_F(HostPropertyDoubles, OpeningEverySetAppends) {
    TOVXDynamicArray<IPropertyStorage*> out;
    sets.refusedToOpen = {second.fmtid};  // skipped
    EXPECT_EQ(Utils::OpenAllPropertyStorages(&sets, out).Code(), TOVX_OK);
    EXPECT_EQ(Utils::OpenAllPropertyStorages(&sets, out).Code(), TOVX_OK);
    ASSERT_EQ(out.Count(), 4);
    EXPECT_EQ(*out.At(1), &third);
    sets.failEnum = true;
    EXPECT_EQ(Utils::OpenAllPropertyStorages(&sets, out).Code(), TOVX_OK);  // out already held sets
    for (IPropertyStorage* set : out) Utils::ClosePropertyStorage(set);
    TOVXDynamicArray<IPropertyStorage*> empty;
    EXPECT_EQ(Utils::OpenAllPropertyStorages(&sets, empty).Code(), TOVX_E_FAIL);
    EXPECT_EQ(Utils::OpenAllPropertyStorages(nullptr, empty).Code(), TOVX_E_NULL_POINTER);
}

TEST_F(HostPropertyDoubles, QueriesByIdNameAndDisplayName) {
    first.properties.push_back({8, u"", VT_EMPTY, 0, u""});
    first.properties.push_back({9, u"Vector", VT_VECTOR | VT_I4, 5, u""});
    EXPECT_EQ(byId(&first, 3), (Read{TOVX_OK, "-42", 2}));
    EXPECT_EQ(byId(&first, 2), (Read{TOVX_OK, "first title", 1}));
    EXPECT_EQ(byId(&first, 8), (Read{TOVX_OK, "", -1}));        // VT_EMPTY
    EXPECT_EQ(byId(&first, 9), (Read{TOVX_OK, "...", 0}));      // unconverted
    EXPECT_EQ(byId(&first, 77), (Read{TOVX_E_FAIL, "", -1}));   // stale content overwritten
    EXPECT_EQ(byId(nullptr, 2), (Read{TOVX_E_NULL_POINTER, "stale", 99}));
    first.failReads = true;
    EXPECT_EQ(byId(&first, 2), (Read{TOVX_E_FAIL, "", -1}));
    TOVXString failed = TOVXString::FromUtf8("stale");
    int failedType = 9;
    EXPECT_EQ(Utils::GetValueWithName(TOVXString::FromUtf8("Count"), &first, failed, failedType).Code(), TOVX_E_FAIL);
    EXPECT_EQ(failed.length() + failedType, -1);
    failed = TOVXString::FromUtf8("stale");
    EXPECT_EQ(Utils::GetPropertySetName(3, &first, failed).Code(), TOVX_E_FAIL);
    EXPECT_EQ(failed.length(), 0);
    first.failReads = false;

    TOVXString value;
    int type = 0;
    EXPECT_EQ(Utils::GetValueWithName(TOVXString::FromUtf8("Count"), &first, value, type).Code(), TOVX_OK);
    EXPECT_EQ(value.ToUtf8(), "-42");
    EXPECT_EQ(Utils::GetValueWithName(TOVXString::FromUtf8("Absent"), &first, value, type).Code(), TOVX_E_FAIL);
    EXPECT_EQ(value.length(), 0);
    EXPECT_EQ(type, -1);
    EXPECT_EQ(Utils::GetValueWithName(TOVXString(), nullptr, value, type).Code(), TOVX_E_NULL_POINTER);

    TOVXString name = TOVXString::FromUtf8("stale");
    EXPECT_EQ(Utils::GetPropertySetName(3, &first, name).Code(), TOVX_OK);
    EXPECT_EQ(name.ToUtf8(), "Count");
    EXPECT_EQ(Utils::GetPropertySetName(2, &first, name).Code(), TOVX_E_FAIL);  // no name
    EXPECT_EQ(name.length(), 0);
    name = TOVXString::FromUtf8("kept");
    EXPECT_EQ(Utils::GetPropertySetName(2, nullptr, name).Code(), TOVX_E_NULL_POINTER);
    EXPECT_EQ(name.ToUtf8(), "kept");
}

TEST_F(HostPropertyDoubles, AllPropertiesOfASetInTheEnumeratorsOrder) {
    first.properties.push_back({8, u"Nothing", VT_EMPTY, 0, u""});
    first.properties.push_back({9, u"", VT_VECTOR | VT_I4, 5, u""});
    struct Case {
        const char* what;
        size_t nextFailsAt;
        bool failEnum;
        int32_t code;
        int count;  // -1: no container
    };
    const Case cases[] = {
        {"whole set", SIZE_MAX, false, TOVX_OK, 4},
        {"next fails part way", 2, false, TOVX_OK, 2},
        {"next fails at once", 0, false, TOVX_E_FAIL, 0},
        {"enum fails", SIZE_MAX, true, TOVX_E_FAIL, -1},
    };
    for (const Case& c : cases) {
        first.nextFailsAt = c.nextFailsAt;
        first.failEnum = c.failEnum;
        TOVXPropertyContainerHandle out;
        EXPECT_EQ(Utils::GetAllPropertySets(&first, out).Code(), c.code) << c.what;
        TOVXPropertyContainer* container = out;
        ASSERT_EQ(container != nullptr, c.count >= 0) << c.what;
        if (container == nullptr) continue;
        EXPECT_EQ(container->GetNumberOfUserProperties(), c.count) << c.what;
    }
    first.nextFailsAt = SIZE_MAX;
    first.failEnum = false;
    TOVXPropertyContainerHandle out;
    ASSERT_EQ(Utils::GetAllPropertySets(&first, out).Code(), TOVX_OK);
    const TOVXDynamicArray<TOVXPropertyHandle> properties = out->GetProperties();
    const struct {
        uint32_t id;
        const char* name;
        int type;
        const char* value;
    } want[] = {{2, "", 1, "first title"}, {3, "Count", 2, "-42"}, {8, "Nothing", -1, ""}, {9, "", 0, "..."}};
    for (int i = 0; i < 4; ++i) {
        TOVXString name, value;
        int type = 0;
        (*properties.At(i))->GetData(name, value, type);
        EXPECT_EQ((*properties.At(i))->GetID(), want[i].id) << i;
        EXPECT_EQ(name.ToUtf8(), want[i].name) << i;
        EXPECT_EQ(type, want[i].type) << i;
        EXPECT_EQ(value.ToUtf8(), want[i].value) << i;
    }
    EXPECT_EQ(Utils::GetAllPropertySets(nullptr, out).Code(), TOVX_E_NULL_POINTER);
    EXPECT_TRUE(out.IsValid());  // untouched
    EXPECT_EQ(Ledger::instance().valuesHandedOut(), 5);  // so that the ledger had something to check
}
