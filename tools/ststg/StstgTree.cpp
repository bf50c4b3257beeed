#include <charconv>
#include <cstdint>
#include <string>

#include "StstgCommands.h"
#include "StstgCommon.h"
#include "StstgText.h"
#include "TOVXTreeWalk.h"

namespace ststg {

namespace {

using Item = TOVXTreeWalk::Item;
using Descent = TOVXTreeWalk::Descent;

std::string descentNote(const Item& item) {
    if (item.descent == Descent::Refused) return "; cannot be opened, contents not listed";
    if (item.descent == Descent::AlreadyListed) return "; leads to a storage listed above, not repeated";
    if (item.shadowed) return "; an earlier entry of the same name hides it";
    return "";
}

// The text form's lines, each made in one reused buffer and written with one call: a tree
// of a million entries prints a million lines.
class TextLines {
public:
    void print(const Item& item, FILE* out) {
        const TOVStStorageDirEntry& entry = item.entry;
        line_.clear();
        if (item.path.empty()) {
            line_ += "/";
        } else {
            line_.append(2 * item.path.size(), ' ');
            line_ += displayName(item.path.back());
        }
        line_ += "  (";
        line_ += kindName(entry.getType());
        line_ += ", ";
        appendNumber(entry.getSize());
        line_ += " bytes";
        if (!item.path.empty()) line_ += descentNote(item);
        line_ += ")\n";
        std::fwrite(line_.data(), 1, line_.size(), out);
    }

private:
    void appendNumber(uint32_t value) {
        char digits[16];
        const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value);
        line_.append(digits, end.ptr);
    }

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
    TOVXStoragePtr root = openCompoundFile(file, console);
    if (root == nullptr) return kExitFailure;

    if (json) std::fprintf(console.out, "{\"file\": %s, \"entries\": [", jsonString(file).c_str());
    bool first = true;
    JsonPath jsonPath;
    TextLines lines;
    TOVXTreeWalk::walk(*root, [&](const Item& item) {
        if (!json) {
            lines.print(item, console.out);
            return;
        }
        TOVStStorageDirEntry entry = item.entry;
        std::fprintf(console.out, "%s\n  {\"path\": %s], \"type\": %d, \"size\": %u}", first ? "" : ",",
                     jsonPath.follow(item.path).c_str(), static_cast<int>(entry.getType()), entry.getSize());
        first = false;
    });
    if (json) std::fprintf(console.out, "\n]}\n");
    if (std::fflush(console.out) != 0 || std::ferror(console.out)) {
        console.fail("cannot write the output");
        return kExitFailure;
    }
    return kExitOk;
}

}  // namespace ststg
