// Property values of every kind the walk of the corpus does not meet, the file functions, and
// the lifetime of objects opened from one another.

#include "CfbBuilder.h"
#include "PropertyStreamBuilder.h"
#include "StgTestSupport.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sys/stat.h>

using stgtest::Ref;
using namespace tovxtest;

namespace {

// One set holding `values` (id 2 onwards) in `codePage`, opened as FMTID_SummaryInformation.
void openSet(const ScratchFile& file, Ref<IPropertyStorage>& set) {
    Ref<IStorage> root;
    ASSERT_EQ(stgtest::openFile(file.path(), 0x20, root), S_OK);
    Ref<IPropertySetStorage> sets;
    ASSERT_EQ(root->QueryInterface(IID_IPropertySetStorage, reinterpret_cast<void**>(sets.out())), S_OK);
    ASSERT_EQ(sets->Open(FMTID_SummaryInformation, 0x10, set.out()), S_OK);
}

std::vector<uint8_t> fileWithSet(uint16_t codePage, const std::vector<Bytes>& values) {
    PropertyStreamBuilder builder;
    builder.section(stgtest::storedId(FMTID_SummaryInformation));
    builder.value(PID_CODEPAGE, typed(VT_I2, concat({le16(codePage), le16(0)})));
    for (size_t i = 0; i < values.size(); ++i) builder.value(static_cast<uint32_t>(i + 2), values[i]);
    CfbBuilder file;
    file.addStream(CfbBuilder::kRoot, u"\005SummaryInformation", builder.build());
    return file.build();
}

PROPVARIANT read(IPropertyStorage* set, PROPID id) {
    PROPSPEC which;
    which.ulKind = PRSPEC_PROPID;
    which.propid = id;
    PROPVARIANT value;
    EXPECT_EQ(set->ReadMultiple(1, &which, &value), S_OK) << id;
    return value;
}

TEST(StgValues, NarrowTextOfMultiByteCodePagesComesAsUtf8) {
    // Shift-JIS 日本 and GBK 中文; the base's decoder or the C library's iconv reads them.
    const ScratchFile japanese(fileWithSet(932, {typed(VT_LPSTR, narrowString("\x93\xfa\x96\x7b"))}));
    const ScratchFile chinese(fileWithSet(936, {typed(VT_LPSTR, narrowString("\xd6\xd0\xce\xc4")),
                                                typed(VT_BSTR, narrowString("\xd6\xd0"))}));
    Ref<IPropertyStorage> set;
    openSet(japanese, set);
    PROPVARIANT value = read(set.get(), 2);
    EXPECT_STREQ(value.pszVal, "日本");
    PropVariantClear(&value);
    openSet(chinese, set);
    value = read(set.get(), 2);
    EXPECT_STREQ(value.pszVal, "中文");
    PropVariantClear(&value);
    value = read(set.get(), 3);
    ASSERT_EQ(value.vt, VT_BSTR);
    EXPECT_EQ(stgtest::narrow(value.bstrVal), "中");
    uint32_t byteCount = 0;
    std::memcpy(&byteCount, reinterpret_cast<uint8_t*>(value.bstrVal) - 4, 4);
    EXPECT_EQ(byteCount, 2u) << "a BSTR counts its bytes without the terminator";
    PropVariantClear(&value);
    EXPECT_EQ(value.vt, VT_EMPTY);
}

TEST(StgValues, EveryKindOfValueReadsAndClears) {
    const Bytes guid = stgtest::storedId(IID_IStorage);
    const ScratchFile file(fileWithSet(1252, {
        typed(VT_I1, {0x80, 0, 0, 0}),
        typed(VT_DECIMAL, concat({le16(0), {2, 0x80}, le32(0), le64(12345)})),
        typed(VT_CY, le64(12345678)),
        typed(VT_CLSID, guid),
        typed(VT_CF, concat({le32(8), le32(0xFFFFFFFF), le32(3)})),
        typed(VT_VECTOR | VT_UI1, concat({le32(3), {7, 8, 9, 0}})),
        typed(VT_VECTOR | VT_I2, concat({le32(3), le16(1), le16(0xFFFF), le16(3), le16(0)})),
        typed(VT_VECTOR | VT_CLSID, concat({le32(1), guid})),
        typed(VT_VECTOR | VT_BSTR, concat({le32(2), narrowString("ab"), narrowString("c")})),
        typed(VT_VECTOR | VT_CF, concat({le32(1), le32(6), le32(2), {0x41, 0x42, 0, 0}})),
        typed(VT_VECTOR | VT_VARIANT, concat({le32(2), typed(VT_R4, {0, 0, 0xC0, 0x3F}), typed(VT_FILETIME, le64(5))})),
    }));
    Ref<IPropertyStorage> set;
    openSet(file, set);
    PROPVARIANT value = read(set.get(), 2);
    EXPECT_EQ(value.vt, VT_I1);
    EXPECT_EQ(value.cVal, -128);
    value = read(set.get(), 3);
    EXPECT_EQ(value.vt, VT_DECIMAL);
    EXPECT_EQ(value.decVal.scale, 2);
    EXPECT_EQ(value.decVal.sign, DECIMAL_NEG);
    EXPECT_EQ(value.decVal.Lo64, 12345u);
    value = read(set.get(), 4);
    EXPECT_EQ(value.cyVal.int64, 12345678);
    value = read(set.get(), 5);
    ASSERT_EQ(value.vt, VT_CLSID);
    EXPECT_TRUE(IsEqualGUID(*value.puuid, IID_IStorage));
    PropVariantClear(&value);
    value = read(set.get(), 6);
    ASSERT_EQ(value.vt, VT_CF);
    EXPECT_EQ(value.pclipdata->cbSize, 8u);
    EXPECT_EQ(value.pclipdata->ulClipFmt, -1);
    EXPECT_EQ(value.pclipdata->pClipData[0], 3);
    PropVariantClear(&value);
    value = read(set.get(), 7);
    ASSERT_EQ(value.vt, VT_VECTOR | VT_UI1);
    EXPECT_EQ(std::vector<UCHAR>(value.caub.pElems, value.caub.pElems + value.caub.cElems), (std::vector<UCHAR>{7, 8, 9}));
    PropVariantClear(&value);
    value = read(set.get(), 8);
    ASSERT_EQ(value.vt, VT_VECTOR | VT_I2);
    EXPECT_EQ(std::vector<SHORT>(value.cai.pElems, value.cai.pElems + value.cai.cElems), (std::vector<SHORT>{1, -1, 3}));
    PropVariantClear(&value);
    value = read(set.get(), 9);
    ASSERT_EQ(value.vt, VT_VECTOR | VT_CLSID);
    EXPECT_TRUE(IsEqualGUID(value.cauuid.pElems[0], IID_IStorage));
    PropVariantClear(&value);
    value = read(set.get(), 10);
    ASSERT_EQ(value.vt, VT_VECTOR | VT_BSTR);
    ASSERT_EQ(value.cabstr.cElems, 2u);
    EXPECT_EQ(stgtest::narrow(value.cabstr.pElems[1]), "c");
    PropVariantClear(&value);
    value = read(set.get(), 11);
    ASSERT_EQ(value.vt, VT_VECTOR | VT_CF);
    EXPECT_EQ(value.caclipdata.pElems[0].pClipData[1], 0x42);
    PropVariantClear(&value);
    value = read(set.get(), 12);
    ASSERT_EQ(value.vt, VT_VECTOR | VT_VARIANT);
    ASSERT_EQ(value.capropvar.cElems, 2u);
    EXPECT_EQ(value.capropvar.pElems[0].fltVal, 1.5f);
    EXPECT_EQ(value.capropvar.pElems[1].filetime.dwLowDateTime, 5u);
    PropVariantClear(&value);  // what is left unfreed, the address sanitizer reports
}

TEST(StgValues, ValuesCutShortOrOfForeignTypesAreLeftOut) {
    const ScratchFile file(fileWithSet(1252, {
        typed(VT_LPSTR, le32(0x7FFFFFFF)),                 // a string longer than the stream
        typed(VT_VECTOR | VT_I4, le32(0x40000000)),        // a vector longer than the stream
        typed(VT_STREAM, narrowString("elsewhere")),       // no simple set holds a stream
        typed(VT_VECTOR | VT_VARIANT, concat({le32(1), typed(VT_VECTOR | VT_I4, le32(0))})),  // nested vectors
        typed(VT_I4, le32(42)),
    }));
    Ref<IPropertyStorage> set;
    openSet(file, set);
    Ref<IEnumSTATPROPSTG> properties;
    ASSERT_EQ(set->Enum(properties.out()), S_OK);
    STATPROPSTG stat[8];
    ULONG count = 0;
    EXPECT_EQ(properties->Next(8, stat, &count), S_FALSE);
    ASSERT_EQ(count, 2u);  // the code page and the one sound value
    EXPECT_EQ(stat[1].propid, 6u);
    EXPECT_EQ(stat[1].lpwstrName, nullptr);
}

TEST(StgService, FileFunctionsOnPosixFiles) {
    const ScratchFile source(stgtest::sampleFile());
    const ScratchFile target({});
    const std::vector<WCHAR> from = stgtest::wide(source.path());
    const std::vector<WCHAR> to = stgtest::wide(target.path());
    EXPECT_EQ(GetFileAttributesW(stgtest::wide(source.path() + ".missing").data()), INVALID_FILE_ATTRIBUTES);
    ASSERT_EQ(SetFileAttributesW(from.data(), FILE_ATTRIBUTE_READONLY), TRUE);
    EXPECT_EQ(GetFileAttributesW(from.data()), DWORD(FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(CopyFileW(from.data(), to.data(), TRUE), FALSE) << "the target exists";
    ASSERT_EQ(CopyFileW(from.data(), to.data(), FALSE), TRUE);
    EXPECT_EQ(readWholeFile(target.path()), stgtest::sampleFile());
    EXPECT_EQ(GetFileAttributesW(to.data()) & FILE_ATTRIBUTE_READONLY, DWORD(FILE_ATTRIBUTE_READONLY));
    ASSERT_EQ(SetFileAttributesW(to.data(), GetFileAttributesW(to.data()) & ~DWORD(FILE_ATTRIBUTE_READONLY)), TRUE);
    EXPECT_EQ(GetFileAttributesW(to.data()), DWORD(FILE_ATTRIBUTE_NORMAL));
    EXPECT_EQ(CopyFileW(from.data(), from.data(), FALSE), FALSE) << "a file is not copied onto itself";
    EXPECT_EQ(readWholeFile(source.path()).size(), stgtest::sampleFile().size());
}

TEST(StgService, ChildrenKeepWhatTheyCameFromAlive) {
    const ScratchFile file(stgtest::sampleFile());
    Ref<IStream> stream;
    Ref<IPropertyStorage> set;
    Ref<IEnumSTATSTG> children;
    {
        Ref<IStorage> root;
        ASSERT_EQ(stgtest::openFile(file.path(), 0x20, root), S_OK);
        Ref<IStorage> folder;
        ASSERT_EQ(root->OpenStorage(stgtest::wide("SubStg").data(), nullptr, 0x10, nullptr, 0, folder.out()), S_OK);
        ASSERT_EQ(folder->OpenStream(stgtest::wide("Inner").data(), nullptr, 0x10, 0, stream.out()), S_OK);
        Ref<IPropertySetStorage> sets;
        ASSERT_EQ(root->QueryInterface(IID_IPropertySetStorage, reinterpret_cast<void**>(sets.out())), S_OK);
        ASSERT_EQ(sets->Open(FMTID_DocSummaryInformation, 0x10, set.out()), S_OK);
        ASSERT_EQ(folder->EnumElements(0, nullptr, 0, children.out()), S_OK);
    }  // the caller's references to root, folder and sets are gone
    std::vector<uint8_t> bytes(100);
    ULONG got = 0;
    ASSERT_EQ(stream->Read(bytes.data(), 100, &got), S_OK);
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin(), bytes.begin() + got), patternBytes(70, 4));
    PROPVARIANT value = read(set.get(), 2);
    EXPECT_STREQ(value.pszVal, "Category");
    PropVariantClear(&value);
    STATSTG stat;
    ASSERT_EQ(children->Next(1, &stat, nullptr), S_OK);
    EXPECT_EQ(stgtest::narrow(stat.pwcsName), "Inner");
    CoTaskMemFree(stat.pwcsName);
    Ref<IStream> clone;
    ASSERT_EQ(stream->Clone(clone.out()), S_OK);
    EXPECT_EQ(clone->Read(bytes.data(), 1, &got), S_OK);
    EXPECT_EQ(got, 0u) << "a clone starts where its original stands";
}

}  // namespace
