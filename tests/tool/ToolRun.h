#ifndef STSTG_TOOL_RUN_H
#define STSTG_TOOL_RUN_H

// What the tests of ststg share: running the tool in the test's own process, and folders
// that go away with the test.

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace tooltest {

using Arguments = std::vector<std::string>;

struct Outcome {
    int code;
    std::string out, err;
};

// Runs ststg with `arguments`; `input` is what it finds on standard input.
Outcome runStstg(const Arguments& arguments, const std::string& input = std::string());

std::string text(const std::vector<uint8_t>& bytes);

// A private folder that goes away with the test.
struct ScratchFolder {
    std::filesystem::path path;
    ScratchFolder();
    ~ScratchFolder();
};

// Every regular file under `root`, by its path relative to `root`, with its contents.
std::map<std::string, std::string> filesUnder(const std::filesystem::path& root);

}  // namespace tooltest

#endif
