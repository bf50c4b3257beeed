// The status codes of the service, case by case, as the real service gives them.

#include "StgTestSupport.h"
#include "CfbBuilder.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

using stgtest::Ref;
using stgtest::wide;

namespace {

std::vector<uint8_t> signatureAnd(size_t extra) {
    std::vector<uint8_t> bytes = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
    for (size_t i = 0; i < extra; ++i) bytes.push_back(static_cast<uint8_t>(0x41 + i % 26));
    return bytes;
}

TEST(StgStatusCodes, ProbeAndOpenOfFilesThatAreNoCompoundFiles) {
    const tovxtest::ScratchFile good(stgtest::sampleFile());
    const tovxtest::ScratchFile text(tovxtest::u8("plain text, not a compound file\n"));
    const tovxtest::ScratchFile empty({});
    const tovxtest::ScratchFile signatureOnly(signatureAnd(0));
    const tovxtest::ScratchFile signatureAndJunk(signatureAnd(592));
    const std::string missing = good.path() + ".missing";
    const char* folder = std::getenv("TMPDIR") != nullptr ? std::getenv("TMPDIR") : "/tmp";
    struct Case {
        std::string path;
        HRESULT probe;
        HRESULT open;
    } cases[] = {
        {good.path(), S_OK, S_OK},
        {text.path(), S_FALSE, STG_E_FILEALREADYEXISTS},
        {empty.path(), S_FALSE, STG_E_FILEALREADYEXISTS},
        {signatureOnly.path(), S_OK, STG_E_FILEALREADYEXISTS},  // only the signature is probed
        {signatureAndJunk.path(), S_OK, STG_E_FILEALREADYEXISTS},
        {missing, STG_E_FILENOTFOUND, STG_E_FILENOTFOUND},
        {folder, STG_E_FILENOTFOUND, STG_E_ACCESSDENIED},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        EXPECT_EQ(StgIsStorageFile(wide(c.path).data()), c.probe);
        Ref<IStorage> storage;
        EXPECT_EQ(stgtest::openFile(c.path, 0x20, storage), c.open);
        EXPECT_EQ(storage.get() == nullptr, c.open != S_OK);
    }
}

TEST(StgStatusCodes, ArgumentsAndModesOfTheFileOpen) {
    const tovxtest::ScratchFile good(stgtest::sampleFile());
    const std::vector<WCHAR> path = wide(good.path());
    IStorage* storage = reinterpret_cast<IStorage*>(&storage);  // must come back null on failure
    struct Case {
        const WCHAR* name;
        DWORD mode;
        DWORD reserved;
        HRESULT status;
    } cases[] = {
        {path.data(), STGM_READ | STGM_SHARE_DENY_WRITE, 1, STG_E_INVALIDPARAMETER},
        {nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, 0, STG_E_INVALIDNAME},
        {path.data(), STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, STG_E_ACCESSDENIED},
        {path.data(), STGM_WRITE | STGM_SHARE_DENY_WRITE, 0, STG_E_ACCESSDENIED},
        {path.data(), STGM_READ | STGM_SHARE_EXCLUSIVE | STGM_CREATE, 0, STG_E_INVALIDFLAG},
        {path.data(), STGM_READ | 0x70, 0, STG_E_INVALIDFLAG},
        {path.data(), STGM_READ | STGM_SHARE_DENY_NONE | STGM_DIRECT_SWMR, 0, S_OK},
        {path.data(), STGM_READ | STGM_SHARE_DENY_NONE | STGM_TRANSACTED, 0, S_OK},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.mode << " reserved " << c.reserved);
        EXPECT_EQ(StgOpenStorage(c.name, nullptr, c.mode, nullptr, c.reserved, &storage), c.status);
        EXPECT_EQ(storage == nullptr, c.status != S_OK);
        if (storage != nullptr) storage->Release();
    }
}

TEST(StgStatusCodes, ChildrenByNameAndMode) {
    const tovxtest::ScratchFile file(stgtest::sampleFile());
    Ref<IStorage> root;
    ASSERT_EQ(stgtest::openFile(file.path(), 0x20, root), S_OK);
    struct Case {
        const char* name;
        bool storage;
        DWORD mode;
        HRESULT status;
    } cases[] = {
        {"CaseTest", false, 0x10, S_OK},
        {"casetest", false, 0x10, S_OK},
        {"CASETEST", false, 0x10, S_OK},
        {"ДОКУМЕНТ", false, 0x10, S_OK},  // upper case of every script, not only ASCII
        {"документ", false, 0x10, S_OK},
        {"æøå", false, 0x10, S_OK},
        {"substg", true, 0x10, S_OK},
        {"SubStg", false, 0x10, STG_E_FILENOTFOUND},   // a storage is no stream
        {"CaseTest", true, 0x10, STG_E_FILENOTFOUND},  // and a stream no storage
        {"Missing", false, 0x10, STG_E_FILENOTFOUND},
        {"A123456789012345678901234567890", false, 0x10, STG_E_FILENOTFOUND},  // 31 units
        {"A1234567890123456789012345678901", false, 0x10, STG_E_INVALIDNAME},  // 32 units
        {"A1234567890123456789012345678901", true, 0x10, STG_E_INVALIDNAME},
        {"CaseTest", false, 0x20, STG_E_INVALIDFLAG},  // children are opened exclusive
        {"SubStg", true, 0x40, STG_E_INVALIDFLAG},
        {"CaseTest", false, 0x12, STG_E_ACCESSDENIED},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.name << (c.storage ? " storage" : " stream") << " mode " << c.mode);
        const std::vector<WCHAR> name = wide(c.name);
        if (c.storage) {
            Ref<IStorage> child;
            EXPECT_EQ(root->OpenStorage(name.data(), nullptr, c.mode, nullptr, 0, child.out()), c.status);
            EXPECT_EQ(child.get() == nullptr, c.status != S_OK);
        } else {
            Ref<IStream> child;
            EXPECT_EQ(root->OpenStream(name.data(), nullptr, c.mode, 0, child.out()), c.status);
            EXPECT_EQ(child.get() == nullptr, c.status != S_OK);
        }
    }
    Ref<IStream> stream;
    int reserved = 0;
    EXPECT_EQ(root->OpenStream(wide("CaseTest").data(), &reserved, 0x10, 0, stream.out()), STG_E_INVALIDPARAMETER);
    EXPECT_EQ(root->OpenStream(wide("CaseTest").data(), nullptr, 0x10, 1, stream.out()), STG_E_INVALIDPARAMETER);
    Ref<IStorage> storage;
    EXPECT_EQ(root->OpenStorage(wide("SubStg").data(), root.get(), 0x10, nullptr, 0, storage.out()),
              STG_E_INVALIDPARAMETER);
    EXPECT_EQ(root->OpenStorage(wide("SubStg").data(), nullptr, 0x10, nullptr, 1, storage.out()),
              STG_E_INVALIDPARAMETER);
}

TEST(StgStatusCodes, EnumeratorSeekAndWrites) {
    const tovxtest::ScratchFile file(stgtest::sampleFile());
    Ref<IStorage> root;
    ASSERT_EQ(stgtest::openFile(file.path(), 0x20, root), S_OK);
    Ref<IEnumSTATSTG> children;
    int reserved = 0;
    EXPECT_EQ(root->EnumElements(1, nullptr, 0, children.out()), STG_E_INVALIDPARAMETER);
    EXPECT_EQ(root->EnumElements(0, &reserved, 0, children.out()), STG_E_INVALIDPARAMETER);
    ASSERT_EQ(root->EnumElements(0, nullptr, 0, children.out()), S_OK);
    EXPECT_EQ(children->Skip(5), S_OK);
    STATSTG stats[4];
    ULONG fetched = 99;
    EXPECT_EQ(children->Next(4, stats, &fetched), S_FALSE);  // more asked for than remain
    ASSERT_EQ(fetched, 2u);
    for (ULONG i = 0; i < fetched; ++i) CoTaskMemFree(stats[i].pwcsName);
    EXPECT_EQ(children->Next(1, stats, &fetched), S_FALSE);
    EXPECT_EQ(fetched, 0u);
    EXPECT_EQ(children->Skip(1), S_FALSE);

    Ref<IStream> stream;
    ASSERT_EQ(root->OpenStream(wide("Документ").data(), nullptr, 0x10, 0, stream.out()), S_OK);
    LARGE_INTEGER move;
    ULARGE_INTEGER position;
    move.QuadPart = -1;
    EXPECT_EQ(stream->Seek(move, STREAM_SEEK_SET, &position), STG_E_INVALIDFUNCTION);  // before the start
    EXPECT_EQ(stream->Seek(move, STREAM_SEEK_CUR, &position), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->Seek(move, 3, &position), STG_E_INVALIDFUNCTION);
    ASSERT_EQ(stream->Seek(move, STREAM_SEEK_END, &position), S_OK);
    EXPECT_EQ(position.QuadPart, 4999u);
    uint8_t bytes[8];
    ULONG got = 0;
    EXPECT_EQ(stream->Read(bytes, sizeof bytes, &got), S_OK);
    EXPECT_EQ(got, 1u);  // what is left, and S_OK at the end
    EXPECT_EQ(bytes[0], tovxtest::patternBytes(5000, 2)[4999]);

    ULONG written = 7;
    EXPECT_EQ(stream->Write(bytes, 1, &written), STG_E_ACCESSDENIED);
    EXPECT_EQ(written, 0u);
    EXPECT_EQ(stream->SetSize(position), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->CreateStream(wide("New").data(), 0x12, 0, 0, stream.out()), STG_E_ACCESSDENIED);
    EXPECT_EQ(stream.get(), nullptr);
    EXPECT_EQ(root->DestroyElement(wide("CaseTest").data()), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->RenameElement(wide("CaseTest").data(), wide("Other").data()), STG_E_ACCESSDENIED);
    EXPECT_EQ(root->SetClass(IID_IStorage), STG_E_ACCESSDENIED);
}

TEST(StgStatusCodes, PropertySetsAndProperties) {
    const tovxtest::ScratchFile file(stgtest::sampleFile());
    Ref<IStorage> root;
    ASSERT_EQ(stgtest::openFile(file.path(), 0x20, root), S_OK);
    Ref<IPropertySetStorage> sets;
    ASSERT_EQ(root->QueryInterface(IID_IPropertySetStorage, reinterpret_cast<void**>(sets.out())), S_OK);
    Ref<IUnknown> viaSets;
    Ref<IUnknown> viaRoot;
    ASSERT_EQ(sets->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(viaSets.out())), S_OK);
    ASSERT_EQ(root->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(viaRoot.out())), S_OK);
    EXPECT_EQ(viaSets.get(), viaRoot.get()) << "one identity";

    // The sets listed: the document summary (its user-defined section not), the base-32 one; no junk.
    Ref<IEnumSTATPROPSETSTG> listed;
    ASSERT_EQ(sets->Enum(listed.out()), S_OK);
    STATPROPSETSTG stat[4];
    ULONG count = 0;
    EXPECT_EQ(listed->Next(4, stat, &count), S_FALSE);
    ASSERT_EQ(count, 2u);
    const FMTID base32 = {0x00000001, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};  // "baaa...": bit 0 set
    EXPECT_TRUE(IsEqualGUID(stat[0].fmtid, FMTID_DocSummaryInformation) || IsEqualGUID(stat[1].fmtid, FMTID_DocSummaryInformation));
    EXPECT_TRUE(IsEqualGUID(stat[0].fmtid, base32) || IsEqualGUID(stat[1].fmtid, base32));

    Ref<IPropertyStorage> set;
    EXPECT_EQ(sets->Open(FMTID_SummaryInformation, 0x10, set.out()), STG_E_FILENOTFOUND);
    EXPECT_EQ(sets->Open(FMTID_UserDefinedProperties, 0x20, set.out()), STG_E_INVALIDFLAG);
    EXPECT_EQ(sets->Create(FMTID_SummaryInformation, nullptr, 0, 0x12, set.out()), STG_E_ACCESSDENIED);
    ASSERT_EQ(sets->Open(base32, 0x10, set.out()), S_OK);
    ASSERT_EQ(sets->Open(FMTID_UserDefinedProperties, 0x10, set.out()), S_OK);

    auto byId = [](PROPID id) { PROPSPEC which; which.ulKind = PRSPEC_PROPID; which.propid = id; return which; };
    std::vector<WCHAR> otherCase = wide("nAMED");
    std::vector<WCHAR> missingName = wide("Absent");
    PROPSPEC byName;
    byName.ulKind = PRSPEC_LPWSTR;
    byName.lpwstr = otherCase.data();
    PROPSPEC byMissingName = byName;
    byMissingName.lpwstr = missingName.data();
    struct Case {
        std::vector<PROPSPEC> whichOnes;
        HRESULT status;
        std::vector<VARTYPE> types;
    } cases[] = {
        {{byId(2)}, S_OK, {VT_I4}},
        {{byId(99)}, S_FALSE, {VT_EMPTY}},
        {{byId(2), byId(99)}, S_FALSE, {VT_I4, VT_EMPTY}},  // any missing one makes it S_FALSE
        {{byName}, S_OK, {VT_I4}},                          // names match in any case
        {{byMissingName}, S_FALSE, {VT_EMPTY}},
        {{}, S_FALSE, {}},
    };
    for (const Case& c : cases) {
        std::vector<PROPVARIANT> values(c.whichOnes.size() + 1);
        EXPECT_EQ(set->ReadMultiple(static_cast<ULONG>(c.whichOnes.size()), c.whichOnes.data(), values.data()), c.status);
        for (size_t i = 0; i < c.types.size(); ++i) {
            EXPECT_EQ(values[i].vt, c.types[i]);
            PropVariantClear(&values[i]);
        }
    }
    const PROPID ids[] = {3, 99, 2};
    LPOLESTR names[3] = {};
    EXPECT_EQ(set->ReadPropertyNames(1, &ids[0], names), S_FALSE);  // unnamed
    EXPECT_EQ(names[0], nullptr);
    EXPECT_EQ(set->ReadPropertyNames(1, &ids[1], names), S_FALSE);  // missing
    EXPECT_EQ(set->ReadPropertyNames(3, ids, names), S_OK);
    EXPECT_EQ(stgtest::narrow(names[2]), "Named");
    EXPECT_EQ(names[0], nullptr);
    CoTaskMemFree(names[2]);
    PROPVARIANT value;
    const PROPSPEC which = byId(2);
    EXPECT_EQ(set->WriteMultiple(1, &which, &value, 2), STG_E_ACCESSDENIED);
    EXPECT_EQ(set->DeleteMultiple(1, &which), STG_E_ACCESSDENIED);
}

TEST(StgStatusCodes, GuidText) {
    WCHAR text[40];
    EXPECT_EQ(StringFromGUID2(FMTID_SummaryInformation, text, 38), 0);
    ASSERT_EQ(StringFromGUID2(FMTID_SummaryInformation, text, 40), 39);
    EXPECT_EQ(stgtest::narrow(text), "{F29F85E0-4FF9-1068-AB91-08002B27B3D9}");
}

}  // namespace
