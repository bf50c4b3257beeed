#include <charconv>
#include <filesystem>
#include <system_error>

#include "StstgCommands.h"
#include "StstgHostCommon.h"
#include "StstgText.h"

namespace ststg {
namespace host {

namespace {

constexpr int kRootType = 5;
constexpr int kStorageType = 1;
constexpr int kOtherType = 2;

void printJsonEntry(const HostItem& item, bool first, JsonPath& jsonPath, FILE* out) {
    const int type = item.path.empty() ? kRootType : item.isStorage ? kStorageType : kOtherType;
    std::fprintf(out, "%s\n  {\"path\": %s], \"type\": %d", first ? "" : ",", jsonPath.follow(item.path).c_str(), type);
    if (item.hasSize) std::fprintf(out, ", \"size\": %u", item.size);
    std::fputs("}", out);
}

// The text form's lines, each made in one reused buffer and written with one call.
class TextLines {
public:
    void print(const HostItem& item, FILE* out) {
        if (item.path.empty()) {
            std::fputs("/  (root)\n", out);
            return;
        }
        line_.assign(2 * item.path.size(), ' ');
        line_ += displayName(item.path.back());
        if (item.isStorage) {
            line_ += item.opened ? "  (storage)\n" : "  (storage; cannot be opened, contents not listed)\n";
        } else if (item.hasSize) {
            line_ += "  (stream, ";
            char digits[16];
            line_.append(digits, std::to_chars(digits, digits + sizeof digits, item.size).ptr);
            line_ += " bytes)\n";
        } else {
            line_ += "  (stream; cannot be opened)\n";
        }
        std::fwrite(line_.data(), 1, line_.size(), out);
    }

private:
    std::string line_;
};

}  // namespace

int treeCommand(const std::vector<std::string>& arguments, const Console& console) {
    bool json = false;
    std::vector<std::string> files;
    for (const std::string& argument : arguments) {
        if (argument == "--json") json = true;
        else if (argument.size() > 1 && argument[0] == '-') return usageError(console, "tree", "unknown option '" + argument + "'");
        else files.push_back(argument);
    }
    if (files.size() != 1) return usageError(console, "tree", files.empty() ? "missing FILE" : "too many arguments");
    const std::string& file = files[0];
    const OpenedFile opened(file, console);
    if (opened.root() == nullptr) return kExitFailure;

    std::error_code ignored;
    const uint64_t fileBytes = std::filesystem::file_size(file, ignored);
    if (json) std::fprintf(console.out, "{\"file\": %s, \"entries\": [", jsonString(file).c_str());
    bool first = true;
    TextLines lines;
    JsonPath jsonPath;
    const bool whole = walkHostTree(opened.root(), fileBytes, [&](const HostItem& item) {
        if (json) printJsonEntry(item, first, jsonPath, console.out);
        else lines.print(item, console.out);
        first = false;
    });
    if (json) std::fputs("\n]}\n", console.out);
    if (!whole) console.fail(file, "more elements than the file can hold; the listing stops");
    if (std::fflush(console.out) != 0 || std::ferror(console.out)) {
        console.fail("cannot write the output");
        return kExitFailure;
    }
    return whole ? kExitOk : kExitFailure;
}

}  // namespace host
}  // namespace ststg
