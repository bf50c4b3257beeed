#include "ToolRun.h"

#include <cstdio>
#include <cstdlib>

#include "StstgCommands.h"
#include "TestFiles.h"

namespace fs = std::filesystem;

namespace tooltest {

namespace {

std::string readBack(FILE* file) {
    std::rewind(file);
    std::string text;
    char buffer[4096];
    for (size_t got; (got = std::fread(buffer, 1, sizeof buffer, file)) > 0;) text.append(buffer, got);
    std::fclose(file);
    return text;
}

}  // namespace

Outcome runStstg(const Arguments& arguments, const std::string& input) {
    FILE* out = std::tmpfile();
    FILE* err = std::tmpfile();
    FILE* in = std::tmpfile();
    std::fwrite(input.data(), 1, input.size(), in);
    std::rewind(in);
    const int code = ststg::run(arguments, out, err, in);
    std::fclose(in);
    return Outcome{code, readBack(out), readBack(err)};
}

std::string text(const std::vector<uint8_t>& bytes) { return std::string(bytes.begin(), bytes.end()); }

ScratchFolder::ScratchFolder() : path(fs::u8path(tovxtest::makeScratchFolder("ststg-test-"))) {}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
}

std::map<std::string, std::string> filesUnder(const fs::path& root) {
    std::map<std::string, std::string> files;
    for (const auto& item : fs::recursive_directory_iterator(root))
        if (item.is_regular_file())
            files[fs::relative(item.path(), root).generic_u8string()] = text(tovxtest::readWholeFile(item.path().u8string()));
    return files;
}

}  // namespace tooltest
