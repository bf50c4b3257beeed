// Every file of the shared corpus walked through the stand-in as a host program would: the tree
// with EnumElements and OpenStorage, every stream through Read, every property set through Enum,
// Open, IPropertyStorage::Enum and ReadMultiple. The tree is held against the real service's
// reading (platform-oracle), the property values against the independent reading (oracle).

#include "StgTestSupport.h"
#include "TestFiles.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <openssl/sha.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>

using nlohmann::json;
using stgtest::Ref;

namespace {

// The one file on which the real service's reading has a known fault: its only storage has an
// empty name, and that service lists nothing. The independent reading holds the truth there.
const char kEmptyNamedStorageFile[] = "gh-poi-notes.ole2";

struct Element {
    std::string path;
    int type;
    uint64_t size;
    std::string sha256;
    bool operator==(const Element& other) const {
        return path == other.path && type == other.type && size == other.size && sha256 == other.sha256;
    }
};

std::ostream& operator<<(std::ostream& out, const Element& element) {
    return out << json(element.path).dump() << " type " << element.type << " size " << element.size << " "
               << element.sha256;
}

json loadJson(const std::string& path) {
    std::ifstream in(path);
    return json::parse(in);
}

std::string hex(const uint8_t* bytes, size_t count) {
    std::string text;
    char pair[3];
    for (size_t i = 0; i < count; ++i) {
        std::snprintf(pair, sizeof pair, "%02x", bytes[i]);
        text += pair;
    }
    return text;
}

std::string guidText(const GUID& guid) {
    WCHAR text[39];
    return StringFromGUID2(guid, text, 39) == 39 ? stgtest::narrow(text) : std::string();
}

std::string readStream(IStream* stream, uint64_t& total) {
    std::vector<uint8_t> bytes;
    std::vector<uint8_t> chunk(70000);  // not a multiple of any sector size
    ULONG got = 0;
    while (stream->Read(chunk.data(), static_cast<ULONG>(chunk.size()), &got) == S_OK && got > 0) {
        bytes.insert(bytes.end(), chunk.begin(), chunk.begin() + got);
    }
    total = bytes.size();
    uint8_t digest[SHA256_DIGEST_LENGTH];
    SHA256(bytes.data(), bytes.size(), digest);
    return hex(digest, sizeof digest);
}

// Depth first, in the order EnumElements gives; each element also opened and asked for Stat.
void walk(IStorage* storage, const std::string& prefix, std::vector<Element>& elements, int depth) {
    ASSERT_LT(depth, 64) << "a tree deeper than any file of the corpus";
    Ref<IEnumSTATSTG> children;
    ASSERT_EQ(storage->EnumElements(0, nullptr, 0, children.out()), S_OK);
    STATSTG stat;
    while (children->Next(1, &stat, nullptr) == S_OK) {
        const std::string name = stgtest::narrow(stat.pwcsName);
        Element element{prefix + name, static_cast<int>(stat.type), stat.cbSize.QuadPart, ""};
        STATSTG opened;
        if (stat.type == STGTY_STORAGE) {
            Ref<IStorage> child;
            EXPECT_EQ(storage->OpenStorage(stat.pwcsName, nullptr, 0x10, nullptr, 0, child.out()), S_OK) << name;
            if (child.get() != nullptr && child->Stat(&opened, STATFLAG_DEFAULT) == S_OK) {
                EXPECT_EQ(stgtest::narrow(opened.pwcsName), name);
                EXPECT_EQ(opened.type, DWORD(STGTY_STORAGE));
                CoTaskMemFree(opened.pwcsName);
            }
            elements.push_back(element);
            if (child.get() != nullptr) walk(child.get(), element.path + "/", elements, depth + 1);
        } else {
            Ref<IStream> stream;
            EXPECT_EQ(storage->OpenStream(stat.pwcsName, nullptr, 0x10, 0, stream.out()), S_OK) << name;
            if (stream.get() != nullptr) {
                uint64_t total = 0;
                element.sha256 = readStream(stream.get(), total);
                EXPECT_EQ(total, element.size) << name << ": every byte of the stream reads";
                EXPECT_EQ(stream->Stat(&opened, STATFLAG_NONAME), S_OK);
                EXPECT_EQ(opened.cbSize.QuadPart, element.size);
                EXPECT_EQ(opened.pwcsName, nullptr);
            }
            elements.push_back(element);
        }
        CoTaskMemFree(stat.pwcsName);
    }
}

// The elements the independent reading lists, in its own order, without the root.
std::vector<Element> oracleElements(const json& oracle) {
    std::vector<Element> elements;
    for (const json& entry : oracle["entries"]) {
        const std::string type = entry["type"];
        if (type == "root") continue;
        elements.push_back({entry["path"].get<std::string>().substr(1), type == "storage" ? 1 : 2,
                            entry["size"].get<uint64_t>(), entry.value("sha256", std::string())});
    }
    return elements;
}

std::vector<std::string> corpusFiles() {
    std::vector<std::string> names;
    const std::string dir = tovxtest::corpusDir();
    if (dir.empty()) return names;
    for (const auto& item : std::filesystem::directory_iterator(dir + "/files")) {
        names.push_back(item.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

class StgCorpusWalk : public testing::TestWithParam<std::string> {
protected:
    std::string file(const std::string& folder, const std::string& suffix = "") const {
        return tovxtest::corpusDir() + "/" + folder + "/" + GetParam() + suffix;
    }
};

TEST(StgCorpusWalkSetup, CorpusIsThere) {
    if (tovxtest::corpusDir().empty()) GTEST_SKIP() << "corpus not found beside the project (../shared/corpus/files)";
    EXPECT_GT(corpusFiles().size(), 40u);
}

TEST_P(StgCorpusWalk, TreeStreamsAndOrderAgreeWithTheRealService) {
    const json platform = loadJson(file("platform-oracle", ".json"));
    const std::vector<WCHAR> path = stgtest::wide(file("files"));
    EXPECT_EQ(StgIsStorageFile(path.data()), std::stoul(platform["is_storage_file_hr"].get<std::string>(), nullptr, 16));
    Ref<IStorage> root;
    ASSERT_EQ(StgOpenStorage(path.data(), nullptr, 0x20, nullptr, 0, root.out()), S_OK);

    STATSTG stat;
    ASSERT_EQ(root->Stat(&stat, STATFLAG_DEFAULT), S_OK);
    EXPECT_EQ(stgtest::narrow(stat.pwcsName), file("files")) << "a root is named by its path";
    CoTaskMemFree(stat.pwcsName);
    const json& expectedRoot = platform["root"];
    EXPECT_EQ(stat.type, expectedRoot["type"].get<DWORD>());
    EXPECT_EQ(guidText(stat.clsid), expectedRoot["clsid"].get<std::string>());
    EXPECT_EQ(stat.grfStateBits, expectedRoot["state_bits"].get<DWORD>());
    EXPECT_EQ(stat.grfMode, 0x20u);
    // The real service's reading shows no root times at all, where the files store them: the
    // stand-in reports what the file stores (checked on built files).

    std::vector<Element> elements;
    walk(root.get(), "", elements, 0);
    if (GetParam() == kEmptyNamedStorageFile) {
        std::vector<Element> expected = oracleElements(loadJson(file("oracle", ".json")));
        std::sort(expected.begin(), expected.end(), [](const Element& a, const Element& b) { return a.path < b.path; });
        std::sort(elements.begin(), elements.end(), [](const Element& a, const Element& b) { return a.path < b.path; });
        EXPECT_EQ(elements, expected);
        EXPECT_TRUE(platform["entries"].empty()) << "the fault that this file stands for is gone";
        return;
    }
    std::vector<Element> expected;
    for (const json& entry : platform["entries"]) {
        expected.push_back({entry["path"], entry["type"], entry["size"], entry.value("sha256", std::string())});
    }
    EXPECT_EQ(elements, expected);
}

// ----- property sets ---------------------------------------------------------------------------

std::string utf8(const WCHAR* text) { return text == nullptr ? std::string("<null>") : stgtest::narrow(text); }

// Why `value` differs from the oracle's reading of a property of type `vt`; empty when it agrees.
std::string difference(const PROPVARIANT& value, const json& expected) {
    const int vt = expected["vt"];
    if (value.vt != vt) return "type " + std::to_string(value.vt) + " instead of " + std::to_string(vt);
    const json& want = expected["value"];
    auto same = [&](bool equal, const std::string& got) { return equal ? std::string() : "value " + got + " instead of " + want.dump(); };
    switch (vt) {
    case VT_EMPTY: return same(want.is_null(), "something");
    case VT_I2: return same(want == value.iVal, std::to_string(value.iVal));
    case VT_UI2: return same(want == value.uiVal, std::to_string(value.uiVal));
    case VT_I4: return same(want == value.lVal, std::to_string(value.lVal));
    case VT_UI4: return same(want == value.ulVal, std::to_string(value.ulVal));
    case VT_ERROR: return same(want == static_cast<uint32_t>(value.scode), std::to_string(value.scode));
    case VT_I8: return same(want == value.hVal.QuadPart, std::to_string(value.hVal.QuadPart));
    case VT_UI8: return same(want == value.uhVal.QuadPart, std::to_string(value.uhVal.QuadPart));
    case VT_R4: return same(want.get<double>() == static_cast<double>(value.fltVal) ||
                                std::fabs(want.get<double>() - value.fltVal) < 1e-6 * std::fabs(want.get<double>()),
                            std::to_string(value.fltVal));
    case VT_R8: return same(want == value.dblVal, std::to_string(value.dblVal));
    case VT_BOOL: {
        // A writer that stores true as 1 is read as it stored it; the oracle keeps those bytes.
        const uint16_t stored = expected.contains("raw") ? static_cast<uint16_t>(std::stoul(expected["raw"].get<std::string>(), nullptr, 16))
                                                         : (want.get<bool>() ? 0xFFFF : 0);
        return same(static_cast<uint16_t>(value.boolVal) == stored, std::to_string(value.boolVal));
    }
    case VT_LPSTR: return same(want == std::string(value.pszVal), json(value.pszVal).dump());
    case VT_LPWSTR: return same(want == utf8(value.pwszVal), json(utf8(value.pwszVal)).dump());
    case VT_FILETIME: {
        const uint64_t ticks = (uint64_t(value.filetime.dwHighDateTime) << 32) | value.filetime.dwLowDateTime;
        return same(want == ticks, std::to_string(ticks));
    }
    case VT_CLSID: return same(want == guidText(*value.puuid), guidText(*value.puuid));
    case VT_BLOB: {
        const std::string got = hex(value.blob.pBlobData, value.blob.cbSize);
        return same(want == got, got);
    }
    case VT_CF: {
        // The oracle spells the format word and the data together.
        uint8_t format[4];
        for (int i = 0; i < 4; ++i) format[i] = static_cast<uint8_t>(static_cast<uint32_t>(value.pclipdata->ulClipFmt) >> (8 * i));
        const std::string got = hex(format, 4) + hex(value.pclipdata->pClipData, value.pclipdata->cbSize - 4);
        if (expected.contains("cf_format") && expected["cf_format"] != value.pclipdata->ulClipFmt) return "clipboard format";
        return same(want == got, got.substr(0, 40) + "...");
    }
    case VT_VECTOR | VT_LPSTR: {
        std::vector<std::string> got(value.calpstr.pElems, value.calpstr.pElems + value.calpstr.cElems);
        return same(want == json(got), json(got).dump());
    }
    case VT_VECTOR | VT_LPWSTR: {
        std::vector<std::string> got;
        for (ULONG i = 0; i < value.calpwstr.cElems; ++i) got.push_back(utf8(value.calpwstr.pElems[i]));
        return same(want == json(got), json(got).dump());
    }
    case VT_VECTOR | VT_VARIANT: {
        if (want.size() != value.capropvar.cElems) return "vector of " + std::to_string(value.capropvar.cElems);
        for (ULONG i = 0; i < value.capropvar.cElems; ++i) {
            const std::string element = difference(value.capropvar.pElems[i], want[i]);
            if (!element.empty()) return "element " + std::to_string(i) + ": " + element;
        }
        return std::string();
    }
    default:
        return "a type the corpus walk does not know: " + std::to_string(vt);
    }
}

// Enum, ReadMultiple by id and by name, ReadPropertyNames and Stat of one set against one section.
void checkSet(IPropertyStorage* set, const FMTID& fmtid, const json& section) {
    std::map<PROPID, std::pair<VARTYPE, std::string>> listed;
    Ref<IEnumSTATPROPSTG> properties;
    ASSERT_EQ(set->Enum(properties.out()), S_OK);
    STATPROPSTG stat;
    while (properties->Next(1, &stat, nullptr) == S_OK) {
        listed[stat.propid] = {stat.vt, utf8(stat.lpwstrName)};
        CoTaskMemFree(stat.lpwstrName);
    }
    const json& dictionary = section["dictionary"];
    std::map<PROPID, std::pair<VARTYPE, std::string>> expected;
    for (const json& property : section["properties"]) {
        const std::string id = std::to_string(property["id"].get<PROPID>());
        expected[property["id"]] = {property["vt"], dictionary.value(id, std::string("<null>"))};
    }
    EXPECT_EQ(listed, expected);

    for (const json& property : section["properties"]) {
        PROPSPEC which;
        which.ulKind = PRSPEC_PROPID;
        which.propid = property["id"];
        PROPVARIANT value;
        EXPECT_EQ(set->ReadMultiple(1, &which, &value), S_OK) << which.propid;
        EXPECT_EQ(difference(value, property), "") << "property " << which.propid;
        PropVariantClear(&value);
    }
    for (const auto& entry : dictionary.items()) {
        const PROPID id = std::stoul(entry.key());
        LPOLESTR name = nullptr;
        EXPECT_EQ(set->ReadPropertyNames(1, &id, &name), S_OK);
        EXPECT_EQ(utf8(name), entry.value().get<std::string>());
        CoTaskMemFree(name);
        if (!expected.count(id)) continue;
        // By name too, in the other case where the name has one.
        std::string other = entry.value();
        for (char& c : other) c = static_cast<char>(std::islower(static_cast<unsigned char>(c)) ? std::toupper(c) : std::tolower(c));
        std::vector<WCHAR> text = stgtest::wide(other);
        PROPSPEC which;
        which.ulKind = PRSPEC_LPWSTR;
        which.lpwstr = text.data();
        PROPVARIANT value;
        EXPECT_EQ(set->ReadMultiple(1, &which, &value), S_OK) << other;
        EXPECT_EQ(value.vt, expected[id].first) << other;
        PropVariantClear(&value);
    }
    STATPROPSETSTG setStat;
    ASSERT_EQ(set->Stat(&setStat), S_OK);
    EXPECT_TRUE(IsEqualGUID(setStat.fmtid, fmtid));
    EXPECT_EQ(setStat.grfFlags, section["codepage"] == 1200 ? 0u : DWORD(PROPSETFLAG_ANSI));
}

// The storage at `path` ("" for the root, else names joined by "/").
void openPath(IStorage* root, const std::string& path, Ref<IStorage>& storage) {
    root->AddRef();
    *storage.out() = root;
    size_t start = 0;
    while (start < path.size()) {
        size_t end = path.find('/', start);
        if (end == std::string::npos) end = path.size();
        Ref<IStorage> child;
        ASSERT_EQ(storage->OpenStorage(stgtest::wide(path.substr(start, end - start)).data(), nullptr, 0x10, nullptr,
                                       0, child.out()),
                  S_OK);
        storage.reset();
        *storage.out() = child.get();
        child.get()->AddRef();
        start = end + 1;
    }
}

TEST_P(StgCorpusWalk, PropertySetsAgreeWithTheIndependentReading) {
    const json oracle = loadJson(file("oracle", ".json"));
    Ref<IStorage> root;
    ASSERT_EQ(stgtest::openFile(file("files"), 0x20, root), S_OK);
    // The sets of each storage: the root's, and those the oracle found deeper.
    std::map<std::string, std::vector<json>> setsByStorage;
    for (const json& set : oracle["property_sets"]) setsByStorage[""].push_back(set);
    for (const json& set : oracle.value("nested_property_sets", json::array())) {
        const std::string path = set["path"];
        setsByStorage[path.substr(1, path.rfind('/') - (path.rfind('/') > 0 ? 1 : 0))].push_back(set);
    }
    for (const auto& storageSets : setsByStorage) {
        SCOPED_TRACE("storage /" + storageSets.first);
        Ref<IStorage> storage;
        openPath(root.get(), storageSets.first, storage);
        Ref<IPropertySetStorage> sets;
        ASSERT_EQ(storage->QueryInterface(IID_IPropertySetStorage, reinterpret_cast<void**>(sets.out())), S_OK);
        std::vector<std::string> listed;
        Ref<IEnumSTATPROPSETSTG> walkSets;
        ASSERT_EQ(sets->Enum(walkSets.out()), S_OK);
        STATPROPSETSTG stat;
        while (walkSets->Next(1, &stat, nullptr) == S_OK) listed.push_back(guidText(stat.fmtid));

        std::vector<std::string> expected;
        for (const json& set : storageSets.second) {
            const std::string stream = set["stream"];
            SCOPED_TRACE(json(stream).dump());
            FMTID fmtid;
            if (stream == "\005SummaryInformation") {
                fmtid = FMTID_SummaryInformation;
            } else if (stream == "\005DocumentSummaryInformation") {
                fmtid = FMTID_DocSummaryInformation;
            } else {
                // A stream name that spells no format id (a writer's own name) reaches no set.
                EXPECT_NE(stream.size(), 27u) << "a set whose name could be a format id: extend the walk";
                continue;
            }
            expected.push_back(guidText(fmtid));
            for (size_t index = 0; index < set["sections"].size(); ++index) {
                const json& section = set["sections"][index];
                FMTID sectionSet = fmtid;
                if (index > 0) {
                    if (guidText(FMTID_UserDefinedProperties) != section["fmtid"]) continue;
                    sectionSet = FMTID_UserDefinedProperties;
                }
                SCOPED_TRACE("section " + std::to_string(index));
                Ref<IPropertyStorage> opened;
                ASSERT_EQ(sets->Open(sectionSet, 0x10, opened.out()), S_OK);
                checkSet(opened.get(), sectionSet, section);
            }
        }
        std::sort(listed.begin(), listed.end());
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(listed, expected);
    }
}

INSTANTIATE_TEST_SUITE_P(Corpus, StgCorpusWalk, testing::ValuesIn(corpusFiles()),
                         [](const testing::TestParamInfo<std::string>& info) {
                             std::string name = info.param;
                             for (char& c : name) {
                                 if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                             }
                             return name;
                         });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(StgCorpusWalk);

}  // namespace
