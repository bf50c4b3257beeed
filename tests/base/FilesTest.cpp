#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "TOVXFilePath.h"
#include "TOVXTemporaryFile.h"
#include "TestFiles.h"

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
    char pattern[] = "/tmp/tovx-tmpdir-XXXXXX";
    const std::string folder = mkdtemp(pattern);
    const char* old = std::getenv("TMPDIR");
    const std::string saved = old != nullptr ? old : "";
    setenv("TMPDIR", folder.c_str(), 1);
    std::string paths[2];
    for (std::string& path : paths) {
        TOVXFilePath named;
        TOVXTemporaryFile(TOVXFilePath(), "TOVXStStorage.m\\src\\TOVXStorageReader", 51).GetPath(named);
        path = named.GetPath().ToUtf8();  // the object has ended here
    }
    old != nullptr ? setenv("TMPDIR", saved.c_str(), 1) : unsetenv("TMPDIR");

    EXPECT_NE(paths[0], paths[1]);
    for (const std::string& path : paths) {
        EXPECT_EQ(path.substr(0, folder.size() + 1), folder + "/");
        struct stat info;
        ASSERT_EQ(stat(path.c_str(), &info), 0) << "the file stays for the caller to remove";
        EXPECT_TRUE(S_ISREG(info.st_mode));
        EXPECT_EQ(info.st_mode & 0777, 0600u);
        EXPECT_EQ(info.st_size, 0);
    }
    for (const std::string& path : paths) EXPECT_EQ(std::remove(path.c_str()), 0);
    EXPECT_EQ(rmdir(folder.c_str()), 0);
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

TEST(FilePath, NonAsciiPathRoundTrips) {
    const std::string utf8 = "/tmp/\xCE\xB1\xCE\xB2-\xE6\x96\x87.doc";
    const TOVXString text = TOVXFilePath(utf8).GetPath();
    EXPECT_EQ(text.At(5), 0x03B1);
    EXPECT_EQ(TOVXFilePath(text).Utf8(), utf8);
}
