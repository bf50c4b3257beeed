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

std::string jsonPath(const std::vector<TOVXString>& path) {
    std::string out = "[";
    for (size_t i = 0; i < path.size(); ++i) out += (i > 0 ? ", " : "") + jsonString(path[i].ToUtf8());
    return out + "]";
}

void printJsonEntry(const HostItem& item, bool first, FILE* out) {
    const int type = item.path.empty() ? kRootType : item.isStorage ? kStorageType : kOtherType;
    std::fprintf(out, "%s\n  {\"path\": %s, \"type\": %d", first ? "" : ",", jsonPath(item.path).c_str(), type);
    if (item.hasSize) std::fprintf(out, ", \"size\": %u", item.size);
    std::fputs("}", out);
}

void printTextLine(const HostItem& item, FILE* out) {
    if (item.path.empty()) {
        std::fputs("/  (root)\n", out);
        return;
    }
    const std::string indent(2 * item.path.size(), ' ');
    const std::string name = displayName(item.path.back());
    if (item.isStorage) {
        std::fprintf(out, "%s%s  (storage%s)\n", indent.c_str(), name.c_str(),
                     item.opened ? "" : "; cannot be opened, contents not listed");
    } else if (item.hasSize) {
        std::fprintf(out, "%s%s  (stream, %u bytes)\n", indent.c_str(), name.c_str(), item.size);
    } else {
        std::fprintf(out, "%s%s  (stream; cannot be opened)\n", indent.c_str(), name.c_str());
    }
}

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
    const uint64_t fileBytes = std::filesystem::file_size(std::filesystem::u8path(file), ignored);
    if (json) std::fprintf(console.out, "{\"file\": %s, \"entries\": [", jsonString(file).c_str());
    bool first = true;
    const bool whole = walkHostTree(opened.root(), fileBytes, [&](const HostItem& item) {
        if (json) printJsonEntry(item, first, console.out);
        else printTextLine(item, console.out);
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
