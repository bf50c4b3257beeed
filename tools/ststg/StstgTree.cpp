#include <string>

#include "StstgCommands.h"
#include "StstgCommon.h"
#include "StstgText.h"
#include "TOVXTreeWalk.h"

namespace ststg {

namespace {

using Item = TOVXTreeWalk::Item;
using Descent = TOVXTreeWalk::Descent;

// The JSON array of the walk's current path, kept in step with it: each name is turned
// into JSON once, when the walk goes down to it, however many entries lie below. The
// walk changes its path only at the end, so the text of the names before the last stays.
class JsonPath {
public:
    // The text of `path` without its closing bracket.
    const std::string& follow(const TOVXTreeWalk::Path& path) {
        const size_t kept = path.empty() ? 0 : path.size() - 1;
        if (ends_.size() > kept) ends_.resize(kept);
        text_.resize(ends_.empty() ? 1 : ends_.back());
        for (size_t i = ends_.size(); i < path.size(); ++i) {
            if (i > 0) text_ += ", ";
            text_ += jsonString(path[i].ToUtf8());
            ends_.push_back(text_.size());
        }
        return text_;
    }

private:
    std::string text_ = "[";
    std::vector<size_t> ends_;  // ends_[i]: where the text of path[i] ends
};

std::string descentNote(const Item& item) {
    if (item.descent == Descent::Refused) return "; cannot be opened, contents not listed";
    if (item.descent == Descent::AlreadyListed) return "; leads to a storage listed above, not repeated";
    if (item.shadowed) return "; an earlier entry of the same name hides it";
    return "";
}

void printTextLine(const Item& item, FILE* out) {
    TOVStStorageDirEntry entry = item.entry;
    const std::string kind = kindName(entry.getType());
    if (item.path.empty()) {
        std::fprintf(out, "/  (%s, %u bytes)\n", kind.c_str(), entry.getSize());
        return;
    }
    const std::string indent(2 * item.path.size(), ' ');
    std::fprintf(out, "%s%s  (%s, %u bytes%s)\n", indent.c_str(), displayName(item.path.back()).c_str(), kind.c_str(),
                 entry.getSize(), descentNote(item).c_str());
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
    TOVXStoragePtr root = openCompoundFile(file, console);
    if (root == nullptr) return kExitFailure;

    if (json) std::fprintf(console.out, "{\"file\": %s, \"entries\": [", jsonString(file).c_str());
    bool first = true;
    JsonPath jsonPath;
    TOVXTreeWalk::walk(*root, [&](const Item& item) {
        if (!json) {
            printTextLine(item, console.out);
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
