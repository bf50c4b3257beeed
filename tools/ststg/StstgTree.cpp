#include <string>

#include "StstgCommands.h"
#include "StstgCommon.h"
#include "StstgText.h"
#include "StstgWalk.h"

namespace ststg {

namespace {

std::string jsonPath(const std::vector<TOVXString>& path) {
    std::string out = "[";
    for (size_t i = 0; i < path.size(); ++i) {
        if (i > 0) out += ", ";
        out += jsonString(path[i].ToUtf8());
    }
    return out + "]";
}

std::string descentNote(const WalkItem& item) {
    if (item.descent == Descent::Refused) return "; cannot be opened, contents not listed";
    if (item.descent == Descent::AlreadyListed) return "; leads to a storage listed above, not repeated";
    if (item.shadowed) return "; an earlier entry of the same name hides it";
    return "";
}

void printTextLine(const WalkItem& item, FILE* out) {
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
    StoragePtr root = openCompoundFile(file, console);
    if (root == nullptr) return kExitFailure;

    if (json) std::fprintf(console.out, "{\"file\": %s, \"entries\": [", jsonString(file).c_str());
    bool first = true;
    StorageWalker().walk(*root, [&](const WalkItem& item) {
        if (!json) {
            printTextLine(item, console.out);
            return;
        }
        TOVStStorageDirEntry entry = item.entry;
        std::fprintf(console.out, "%s\n  {\"path\": %s, \"type\": %d, \"size\": %u}", first ? "" : ",",
                     jsonPath(item.path).c_str(), static_cast<int>(entry.getType()), entry.getSize());
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
