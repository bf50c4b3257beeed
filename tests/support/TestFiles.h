#ifndef TOVX_TEST_FILES_H
#define TOVX_TEST_FILES_H

#include <cstdint>
#include <string>
#include <vector>

namespace tovxtest {

// A file in a private temporary folder that is removed when the object ends.
class ScratchFile {
public:
    explicit ScratchFile(const std::vector<uint8_t>& bytes, const std::string& suffix = ".cfb");
    ~ScratchFile();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

std::vector<uint8_t> readWholeFile(const std::string& path);
std::string corpusDir();  // the shared corpus folder; empty when it is not there

// What the tests need of the system, the same on POSIX and on Windows; paths are UTF-8.

// A new, empty folder under the system's temporary folder; empty when none could be made.
std::string makeScratchFolder(const std::string& prefix);

// Points the system's temporary folder at `folder` while the object lives (TMPDIR on POSIX,
// TMP on Windows).
class TemporaryFolderOverride {
public:
    explicit TemporaryFolderOverride(const std::string& folder);
    ~TemporaryFolderOverride();
    TemporaryFolderOverride(const TemporaryFolderOverride&) = delete;
    TemporaryFolderOverride& operator=(const TemporaryFolderOverride&) = delete;

private:
    bool hadValue_;
    std::string saved_;
};

// Runs `program` with `arguments`, its output discarded, and gives its exit status; -1 when
// it could not be started or did not exit normally.
int exitStatusOf(const std::string& program, const std::vector<std::string>& arguments);

// Another program, started with `arguments`, whose standard input and output are pipes to
// this one; its errors go where this program's go. It runs until the object ends, which
// closes its input and waits for it.
class ChildProgram {
public:
    ChildProgram(const std::string& program, const std::vector<std::string>& arguments);
    ~ChildProgram();
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    // The next byte the program writes; -1 when it ends its output or could not be started.
    int readByte();

private:
#ifdef _WIN32
    void* process_ = nullptr;
    void* input_ = nullptr;
    void* output_ = nullptr;
#else
    int pid_ = -1;
    int input_ = -1;
    int output_ = -1;
#endif
};

}  // namespace tovxtest

#endif
