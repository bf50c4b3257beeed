#include "TestFiles.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace tovxtest {

ScratchFile::ScratchFile(const std::vector<uint8_t>& bytes, const std::string& suffix) {
    const char* folder = std::getenv("TMPDIR");
    std::string pattern = std::string(folder && *folder ? folder : "/tmp") + "/tovx-test-XXXXXX" + suffix;
    const int fd = mkstemps(&pattern[0], static_cast<int>(suffix.size()));
    if (fd < 0) throw std::runtime_error("cannot create scratch file");
    size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t n = write(fd, bytes.data() + written, bytes.size() - written);
        if (n <= 0) break;
        written += static_cast<size_t>(n);
    }
    close(fd);
    path_ = pattern;
}

ScratchFile::~ScratchFile() { std::remove(path_.c_str()); }

std::vector<uint8_t> readWholeFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string corpusDir() {
    struct stat info;
    const std::string dir = TOVX_CORPUS_DIR;
    return stat((dir + "/files").c_str(), &info) == 0 ? dir : std::string();
}

}  // namespace tovxtest
