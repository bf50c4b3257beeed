#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "TOVXFilePath.h"
#include "TOVXTemporaryFile.h"
#include "TestFiles.h"

namespace fs = std::filesystem;

namespace {

int firstByte(const TOVXFilePath& path) {
    FILE* stream = path.OpenFile("rb");
    if (stream == nullptr) return -2;
    const int byte = std::fgetc(stream);
    std::fclose(stream);
    return byte;
}

// Callers may hand in a derived path: both operations are reached through the object.
struct RedirectedPath : TOVXFilePath {
    std::string target;
    TOVXString GetPath() const override { return TOVXString::FromUtf8(target); }
    FILE* OpenFile(const char* mode) const override { return std::fopen(target.c_str(), mode); }
};

}  // namespace

TEST(TemporaryFile, CreatesUniquePrivateFilesInTmpdirThatOutliveTheObject) {
    const std::string folder = tovxtest::makeScratchFolder("tovx-tmpdir-");
    ASSERT_FALSE(folder.empty());
    std::string paths[2];
    {
        const tovxtest::TemporaryFolderOverride temporaryFolder(folder);
        for (std::string& path : paths) {
            TOVXFilePath named;
            TOVXTemporaryFile(TOVXFilePath(), "TOVXStStorage.m\\src\\TOVXStorageReader", 51).GetPath(named);
            path = named.GetPath().ToUtf8();  // the object has ended here
        }
    }

    EXPECT_NE(paths[0], paths[1]);
    for (const std::string& path : paths) {
        const fs::path file = fs::u8path(path);
        std::error_code error;
        EXPECT_TRUE(fs::equivalent(file.parent_path(), fs::u8path(folder), error)) << path;
        ASSERT_TRUE(fs::is_regular_file(file)) << "the file stays for the caller to remove";
        EXPECT_EQ(fs::file_size(file), 0u);
#ifndef _WIN32  // Windows gives the file the temporary folder's access list, which mode bits do not show
        EXPECT_EQ(fs::status(file).permissions() & fs::perms::all, fs::perms::owner_read | fs::perms::owner_write);
#endif
    }
    for (const std::string& path : paths) EXPECT_TRUE(fs::remove(fs::u8path(path)));
    EXPECT_TRUE(fs::remove(fs::u8path(folder)));
}

TEST(FilePath, OpensWhatItNamesAndCallsDerivedOverrides) {
    const tovxtest::ScratchFile file({'x'});
    EXPECT_EQ(firstByte(TOVXFilePath(file.path())), 'x');
    EXPECT_EQ(firstByte(TOVXFilePath(file.path() + ".missing")), -2);
    EXPECT_EQ(firstByte(TOVXFilePath()), -2);
    RedirectedPath redirected;
    redirected.target = file.path();
    EXPECT_EQ(static_cast<const TOVXFilePath&>(redirected).GetPath().ToUtf8(), file.path());
    EXPECT_EQ(firstByte(redirected), 'x');
}

TEST(FilePath, NonAsciiPathRoundTripsAndOpens) {
    const std::string utf8 = "/tmp/\xCE\xB1\xCE\xB2-\xE6\x96\x87.doc";
    const TOVXString text = TOVXFilePath(utf8).GetPath();
    EXPECT_EQ(text.At(5), 0x03B1);
    EXPECT_EQ(TOVXFilePath(text).Utf8(), utf8);

    // Outside the machine's code page on Windows: the name must reach the system as UTF-16.
    const std::string folder = tovxtest::makeScratchFolder("tovx-names-");
    ASSERT_FALSE(folder.empty());
    const std::string named = folder + "/\xCE\xB1\xCE\xB2-\xE6\x96\x87.doc";
    std::ofstream(fs::u8path(named), std::ios::binary) << 'z';
    EXPECT_EQ(firstByte(TOVXFilePath(named)), 'z');
    fs::remove_all(fs::u8path(folder));
}
