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

}  // namespace tovxtest

#endif
