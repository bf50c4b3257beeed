// The host stack through the platform's service on files made for the purpose: the whole
// road from the probe to a set's properties, and the retry through a temporary copy,
// triggered by another process that holds the file.
#include <gtest/gtest.h>

#ifndef _WIN32
#include <sys/stat.h>
#endif

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "CfbBuilder.h"
#include "HostileFiles.h"
#include "PropertyStreamBuilder.h"
#include "TOVStgOpenStorageRoot.h"
#include "TOVXStorageReader.h"
#include "TOVXStructuredStorageUtils.h"
#include "TestFiles.h"

namespace fs = std::filesystem;
using namespace tovxtest;
using Utils = TOVXStructuredStorageUtils;

namespace {

// Format ids as stored in a stream, and in the byte order of their printed form.
const Bytes& kSummaryStored = summaryFormatId();
const Bytes kDocumentStored = {0x02, 0xD5, 0xCD, 0xD5, 0x9C, 0x2E, 0x1B, 0x10, 0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE};
const Bytes kUserStored = {0x05, 0xD5, 0xCD, 0xD5, 0x9C, 0x2E, 0x1B, 0x10, 0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE};
const unsigned char kUserPrinted[16] = {0xD5, 0xCD, 0xD5, 0x05, 0x2E, 0x9C, 0x10, 0x1B,
                                        0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE};

std::vector<uint8_t> sampleFile() {
    CfbBuilder builder;
    builder.addStream(CfbBuilder::kRoot, u"Data", patternBytes(5000, 4));
    builder.addStream(CfbBuilder::kRoot, u"Small", patternBytes(100, 5));
    const int sub = builder.addStorage(CfbBuilder::kRoot, u"Sub");
    builder.addStream(sub, u"Inner", u8("inner bytes"));
    PropertyStreamBuilder summary;
    summary.section(kSummaryStored)
        .value(1, typed(2, le16(1252)))
        .value(2, typed(30, narrowString("Report")))
        .value(14, typed(3, le32(7)));
    builder.addStream(CfbBuilder::kRoot, u"\x05SummaryInformation", summary.build());
    PropertyStreamBuilder document;
    document.section(kDocumentStored).value(1, typed(2, le16(1252))).value(15, typed(30, narrowString("Company")));
    document.section(kUserStored)
        .value(0, narrowDictionary({{2, "Client"}}))
        .value(1, typed(2, le16(1252)))
        .value(2, typed(30, narrowString("ACME")));
    builder.addStream(CfbBuilder::kRoot, u"\x05" u"DocumentSummaryInformation", document.build());
    return builder.build();
}

std::vector<std::string> utf8(const TOVXDynamicArray<TOVXString>& names) {
    std::vector<std::string> out;
    for (const TOVXString& name : names) out.push_back(name.ToUtf8());
    std::sort(out.begin(), out.end());
    return out;
}

TOVXString text(const char* utf8Text) { return TOVXString::FromUtf8(utf8Text); }

// The value and name of property `id` in a container, as "name=value/type".
std::string property(TOVXPropertyContainerHandle& container, uint32_t id) {
    for (const TOVXPropertyHandle& handle : container->GetProperties()) {
        if (!handle.IsValid() || handle->GetID() != id) continue;
        TOVXString name, value;
        int type = 0;
        handle->GetData(name, value, type);
        return name.ToUtf8() + "=" + value.ToUtf8() + "/" + std::to_string(type);
    }
    return "absent";
}

// A private folder taken as the system's temporary folder while the object lives, so that
// a test sees every temporary file the library makes.
class TemporaryFolder {
public:
    TemporaryFolder() : path_(makeScratchFolder("tovx-host-")) { override_.emplace(path_); }
    ~TemporaryFolder() {
        override_.reset();
        std::error_code ignored;
        fs::remove_all(fs::u8path(path_), ignored);
    }
    void pointNowhere() const {
        override_.reset();
        override_.emplace(path_ + "/missing");
    }
    size_t files() const {
        std::error_code ignored;
        return static_cast<size_t>(std::distance(fs::directory_iterator(fs::u8path(path_), ignored), fs::directory_iterator()));
    }
    const std::string& path() const { return path_; }

private:
    std::string path_;
    mutable std::optional<TemporaryFolderOverride> override_;
};

// Another process that holds `path` open through the platform in `mode` until the object
// ends: the holder program built beside this test.
class OtherHolder {
public:
    OtherHolder(const std::string& path, DWORD mode) : holder_(TOVX_FILE_HOLDER, {path, hex(mode)}) {
        held_ = holder_.readByte() == '1';
    }
    bool held() const { return held_; }

private:
    static std::string hex(DWORD mode) {
        char text[16];
        std::snprintf(text, sizeof text, "%x", static_cast<unsigned>(mode));
        return text;
    }
    ChildProgram holder_;
    bool held_ = false;
};

#ifndef _WIN32
// The mode of the file that this process holds open as `path`, removed or not; 0 if none.
mode_t modeOfOpenFile(const std::string& path) {
    for (const auto& link : fs::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        const std::string target = fs::read_symlink(link.path(), error).string();
        if (error || (target != path && target != path + " (deleted)")) continue;
        struct stat info;
        if (::stat(link.path().c_str(), &info) == 0) return info.st_mode;
    }
    return 0;
}
#endif

std::vector<uint8_t> streamBytes(IStorage* storage, const char* name) {
    IStream* stream = OpenStream(storage, text(name));
    uint32_t size = 0;
    std::vector<uint8_t> bytes;
    if (GetStreamSize(stream, size)) {
        bytes.resize(size);
        if (!ReadStream(stream, bytes.data(), size)) bytes.clear();
    }
    CloseStream(stream);
    return bytes;
}

}  // namespace

TEST(HostStandIn, TheWholeRoadFromTheProbeToTheStreams) {
    const ScratchFile file(sampleFile());
    const ScratchFile target({}, ".bin");
    const TemporaryFolder temporary;
    const TOVXFilePath path(file.path());
    EXPECT_TRUE(IsStorageFile(path));
    TOVXFilePath copy("untouched");
    IStorage* root = OpenStorage(path, copy);
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(copy.Utf8(), "untouched");

    TOVXDynamicArray<TOVXStStorageElement> children;
    EXPECT_TRUE(GetChildElements(root, children));
    EXPECT_EQ(children.Count(), 5);
    TOVXDynamicArray<TOVXString> storages, streams, both;
    EXPECT_TRUE(GetStorageNames(root, storages));
    EXPECT_TRUE(GetStreamNames(root, streams));
    EXPECT_TRUE(GetStreamStorageNames(root, both));
    EXPECT_EQ(utf8(storages), std::vector<std::string>({"Sub"}));
    EXPECT_EQ(utf8(streams), std::vector<std::string>({"\x05" "DocumentSummaryInformation", "\x05SummaryInformation", "Data",
                                                       "Small"}));
    EXPECT_EQ(both.Count(), 5);

    IStorage* sub = OpenStorage(root, text("Sub"));
    EXPECT_EQ(streamBytes(sub, "Inner"), u8("inner bytes"));
    EXPECT_EQ(OpenStorage(root, text("Data")), nullptr);  // a stream is no storage
    EXPECT_TRUE(CloseStorage(sub));

    IStream* data = OpenStream(root, text("Data"));
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(OpenStream(root, text("Sub")), nullptr);
    EXPECT_TRUE(SeekStream(data, -904, STREAM_SEEK_END));
    uint32_t position = 0;
    EXPECT_TRUE(TellStream(data, position));
    EXPECT_EQ(position, 4096u);
    TOVXFilePath targetPath(target.path());
    EXPECT_TRUE(WriteStreamToFile(data, targetPath, 0));
    const std::vector<uint8_t> whole = patternBytes(5000, 4);
    EXPECT_EQ(readWholeFile(target.path()), std::vector<uint8_t>(whole.begin() + 4096, whole.end()));
    EXPECT_TRUE(CloseStream(data));
    EXPECT_EQ(streamBytes(root, "Small"), patternBytes(100, 5));
    EXPECT_TRUE(CloseStorage(root));

    IStorage* platformRoot = TOVStgOpenStorageRoot(path);
    EXPECT_EQ(streamBytes(platformRoot, "Small"), patternBytes(100, 5));
    CloseStorage(platformRoot);
    EXPECT_EQ(TOVStgOpenStorageRoot(TOVXFilePath(temporary.path() + "/missing.cfb")), nullptr);
    EXPECT_EQ(temporary.files(), 0u);
}

TEST(HostStandIn, TheSummarySetsAndTheUserDefinedSetByItsId) {
    const ScratchFile file(sampleFile());
    TOVXFilePath copy;
    IStorage* root = OpenStorage(TOVXFilePath(file.path()), copy);
    ASSERT_NE(root, nullptr);
    IPropertySetStorage* view = nullptr;
    ASSERT_EQ(Utils::OpenPropertySetStorage(root, view).Code(), TOVX_OK);
    TOVXDynamicArray<IPropertyStorage*> sets;
    EXPECT_EQ(Utils::OpenAllPropertyStorages(view, sets).Code(), TOVX_OK);
    EXPECT_EQ(sets.Count(), 2);  // the user-defined set is opened by id only
    for (IPropertyStorage* set : sets) Utils::ClosePropertyStorage(set);
    IPropertyStorage* summary = nullptr;
    EXPECT_EQ(Utils::OpenPropertySetWithName(view, 2, text("Report"), summary).Code(), TOVX_OK);
    ASSERT_NE(summary, nullptr);
    TOVXPropertyContainerHandle properties;
    EXPECT_EQ(Utils::GetAllPropertySets(summary, properties).Code(), TOVX_OK);
    EXPECT_EQ(property(properties, 2), "=Report/1");
    EXPECT_EQ(property(properties, 14), "=7/2");
    Utils::ClosePropertyStorage(summary);
    Utils::ClosePropertySetStorage(view);

    IPropertyStorage* user = nullptr;
    ASSERT_EQ(Utils::OpenPropertySetWithId(root, kUserPrinted, user).Code(), TOVX_OK);
    TOVXString value, name;
    int type = 0;
    EXPECT_EQ(Utils::GetValueWithName(text("Client"), user, value, type).Code(), TOVX_OK);
    EXPECT_EQ(value.ToUtf8() + "/" + std::to_string(type), "ACME/1");
    EXPECT_EQ(Utils::GetPropertySetName(2, user, name).Code(), TOVX_OK);
    EXPECT_EQ(name.ToUtf8(), "Client");
    EXPECT_EQ(Utils::GetValueWithId(3, user, value, type).Code(), TOVX_E_FAIL);
    Utils::ClosePropertyStorage(user);
    EXPECT_TRUE(CloseStorage(root));
}

TEST(HostStandIn, FilesTheServiceRefusesMakeNoCopy) {
    const ScratchFile plain(u8("just some text\n"), ".txt");
    const ScratchFile empty({}, ".txt");
    const ScratchFile compound(sampleFile());
    const TemporaryFolder temporary;  // made after the files, so that it holds only what the library makes
    const struct {
        const char* what;
        std::string path;
        bool compoundFile;
    } cases[] = {
        {"text file", plain.path(), false},
        {"empty file", empty.path(), false},
        {"missing file", temporary.path() + "/missing.cfb", false},
        {"folder", temporary.path(), false},
        {"compound file", compound.path(), true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(IsStorageFile(TOVXFilePath(c.path)), c.compoundFile) << c.what;
        TOVXFilePath copy("untouched");
        IStorage* root = OpenStorage(TOVXFilePath(c.path), copy);
        EXPECT_EQ(root != nullptr, c.compoundFile) << c.what;
        EXPECT_EQ(copy.Utf8(), "untouched") << c.what;
        CloseStorage(root);
        EXPECT_EQ(temporary.files(), 0u) << c.what;
    }
}

TEST(HostStandIn, AFileHeldByAnotherProcessIsReadFromACopyThatGoesAway) {
    const ScratchFile file(sampleFile());
    const TemporaryFolder temporary;
    const fs::path held = fs::u8path(file.path());
    fs::permissions(held, fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write, fs::perm_options::remove);
    ASSERT_EQ(fs::status(held).permissions() & fs::perms::owner_write, fs::perms::none);  // the copy keeps this, then loses it
    const OtherHolder holder(file.path(), STGM_READ | STGM_SHARE_EXCLUSIVE);
    ASSERT_TRUE(holder.held());
    const TOVXFilePath path(file.path());
    IStorage* refused = TOVStgOpenStorageRoot(path);  // no retry there
    EXPECT_EQ(refused, nullptr);
    CloseStorage(refused);

    // Services differ on a mere probe of the held file: one refuses it, another reads the
    // signature all the same. Only a refused probe goes through the copy.
    std::vector<unsigned short> wide(static_cast<size_t>(text(file.path().c_str()).getConvertToWideCharacterSize()));
    text(file.path().c_str()).convertToWideCharacter(wide.data(), static_cast<int>(wide.size()));
    const bool probeRefused = StgIsStorageFile(reinterpret_cast<const WCHAR*>(wide.data())) == STG_E_SHAREVIOLATION;
    EXPECT_TRUE(IsStorageFile(path));
    EXPECT_EQ(temporary.files(), 0u);

    TOVXFilePath copy("untouched");
    IStorage* root = OpenStorage(path, copy);
    ASSERT_NE(root, nullptr);
    const std::string copyPath = copy.Utf8();
    EXPECT_EQ(fs::u8path(copyPath).parent_path(), fs::u8path(temporary.path()));
#ifdef _WIN32
    // Windows removes no file that is open: the copy stays until the caller removes it after the close.
    EXPECT_NE(fs::status(fs::u8path(copyPath)).permissions() & fs::perms::owner_write, fs::perms::none)
        << "the copy kept the read-only bit";
#else
    // Removed at once; the storage reads on through its open file until it is closed.
    EXPECT_FALSE(fs::exists(copyPath));
    EXPECT_NE(modeOfOpenFile(copyPath) & S_IWUSR, 0u) << "the copy kept the read-only bit";
#endif
    EXPECT_EQ(streamBytes(root, "Data"), patternBytes(5000, 4));
    IStorage* sub = OpenStorage(root, text("Sub"));
    EXPECT_EQ(streamBytes(sub, "Inner"), u8("inner bytes"));
    CloseStorage(sub);
    CloseStorage(root);
#ifdef _WIN32
    EXPECT_TRUE(fs::remove(fs::u8path(copyPath))) << "closed, the copy can go";
#else
    EXPECT_EQ(modeOfOpenFile(copyPath), 0u);
#endif
    EXPECT_EQ(temporary.files(), 0u);

    // No copy can be made: the caller's file is tried once more, sharing it with anyone,
    // which the exclusive holder refuses too; the temporary path is written all the same.
    temporary.pointNowhere();
    EXPECT_EQ(IsStorageFile(path), !probeRefused);
    copy = TOVXFilePath("untouched");
    EXPECT_EQ(OpenStorage(path, copy), nullptr);
    EXPECT_NE(copy.Utf8(), "untouched");
    fs::permissions(held, fs::perms::owner_write, fs::perm_options::add);  // Windows removes no read-only file
}
