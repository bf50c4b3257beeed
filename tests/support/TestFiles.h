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

}  // namespace tovxtest

#endif
