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

std::string temporaryPath() {
    TOVXTemporaryFile file(TOVXFilePath(), "TOVXStStorage.m\\src\\TOVXStorageReader", 51);
    TOVXFilePath path;
    file.GetPath(path);
    return path.GetPath().ToUtf8();
}

// Points TMPDIR at a fresh folder for the length of a test.
class TemporaryFolder {
public:
    TemporaryFolder() {
        const char* old = std::getenv("TMPDIR");
        if (old != nullptr) saved_ = old, hadOld_ = true;
        char pattern[] = "/tmp/tovx-tmpdir-XXXXXX";
        folder_ = mkdtemp(pattern);
        setenv("TMPDIR", folder_.c_str(), 1);
    }
    ~TemporaryFolder() {
        if (hadOld_) setenv("TMPDIR", saved_.c_str(), 1);
        else unsetenv("TMPDIR");
        rmdir(folder_.c_str());
    }
    const std::string& path() const { return folder_; }

private:
    std::string folder_, saved_;
    bool hadOld_ = false;
};

}  // namespace

TEST(TemporaryFile, CreatesAPrivateFileInTmpdirThatOutlivesTheObject) {
    TemporaryFolder folder;
    const std::string path = temporaryPath();  // the object has ended here
    ASSERT_FALSE(path.empty());
    EXPECT_EQ(path.substr(0, folder.path().size() + 1), folder.path() + "/");
    struct stat info;
    ASSERT_EQ(stat(path.c_str(), &info), 0) << "the file stays for the caller to remove";
    EXPECT_TRUE(S_ISREG(info.st_mode));
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    EXPECT_EQ(info.st_size, 0);
    EXPECT_EQ(std::remove(path.c_str()), 0);
}

TEST(TemporaryFile, NamesAreUniqueAndUsableAtOnce) {
    TemporaryFolder folder;
    TOVXTemporaryFile first(TOVXFilePath(), "test", 1);
    TOVXTemporaryFile second(TOVXFilePath(), "test", 2);
    TOVXFilePath a, b;
    first.GetPath(a);
    second.GetPath(b);
    EXPECT_FALSE(a.GetPath().equals(b.GetPath()));
    // A file can be written over the path right away, as the retry copy does.
    FILE* stream = a.OpenFile("w+b");
    ASSERT_NE(stream, nullptr);
    EXPECT_GE(std::fputs("copy", stream), 0);
    std::rewind(stream);
    EXPECT_EQ(std::fgetc(stream), 'c');
    std::fclose(stream);
    std::remove(a.Utf8().c_str());
    std::remove(b.Utf8().c_str());
}

TEST(FilePath, EmptyPathOpensNothing) {
    const TOVXFilePath path;
    EXPECT_EQ(path.GetPath().length(), 0);
    EXPECT_EQ(path.OpenFile("rb"), nullptr);
}

TEST(FilePath, CopiesNameTheSameFile) {
    const tovxtest::ScratchFile file({'x', 'y'});
    const TOVXFilePath original(file.path());
    TOVXFilePath assigned;
    assigned = original;
    const TOVXFilePath copied(original);
    for (const TOVXFilePath* path : {static_cast<const TOVXFilePath*>(&assigned), &copied}) {
        EXPECT_TRUE(path->GetPath().equals(original.GetPath()));
        FILE* stream = path->OpenFile("rb");
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(std::fgetc(stream), 'x');
        std::fclose(stream);
    }
    EXPECT_EQ(TOVXFilePath(file.path() + ".missing").OpenFile("rb"), nullptr);
}

TEST(FilePath, NonAsciiPathRoundTrips) {
    const std::string utf8 = "/tmp/\xCE\xB1\xCE\xB2-\xE6\x96\x87.doc";
    const TOVXFilePath path(utf8);
    const TOVXString text = path.GetPath();
    EXPECT_EQ(text.At(5), 0x03B1);
    EXPECT_EQ(TOVXFilePath(text).Utf8(), utf8);
}

namespace {

// Callers may hand in a derived path: both operations are reached through the object.
class RedirectedPath : public TOVXFilePath {
public:
    explicit RedirectedPath(std::string target) : target_(std::move(target)) {}
    TOVXString GetPath() const override { return TOVXString::FromUtf8(target_); }
    FILE* OpenFile(const char* mode) const override { return std::fopen(target_.c_str(), mode); }

private:
    std::string target_;
};

}  // namespace

TEST(FilePath, DerivedOperationsAreCalledThroughTheBase) {
    const tovxtest::ScratchFile file({'z'});
    const RedirectedPath redirected(file.path());
    const TOVXFilePath& base = redirected;
    EXPECT_EQ(base.GetPath().ToUtf8(), file.path());
    FILE* stream = base.OpenFile("rb");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(std::fgetc(stream), 'z');
    std::fclose(stream);
}
