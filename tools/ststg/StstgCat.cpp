#include "StstgCommands.h"
#include "StstgCommon.h"
#include "StstgText.h"

namespace ststg {

namespace {

// "/A/B" for messages, names as `tree` prints them.
std::string shownPath(const std::vector<TOVXString>& names, size_t count) {
    if (count == 0) return "/";
    std::string out;
    for (size_t i = 0; i < count; ++i) out += "/" + displayName(names[i]);
    return out;
}

// The first child stream of `name`, as a lookup by name finds it; false if there is none.
bool findStreamEntry(TOVIStorage& storage, const TOVXString& name, bool& isStorage, TOVStStorageDirEntry& found) {
    TOVXDynamicArray<TOVStStorageDirEntry> children;
    storage.enumElements(children);
    isStorage = false;
    for (int i = 0; i < children.Count(); ++i) {
        TOVStStorageDirEntry entry = *children.At(i);
        if (!entry.getName().equals(name)) continue;
        if (entry.isStream()) {
            found = entry;
            return true;
        }
        isStorage = isStorage || entry.isStorage();
    }
    return false;
}

}  // namespace

int catCommand(const std::vector<std::string>& arguments, const Console& console) {
    std::vector<std::string> operands;
    bool optionsEnded = false;
    for (const std::string& argument : arguments) {
        if (!optionsEnded && argument == "--") optionsEnded = true;
        else if (!optionsEnded && argument.size() > 1 && argument[0] == '-') return usageError(console, "cat", "unknown option '" + argument + "'");
        else operands.push_back(argument);
    }
    if (operands.size() < 2) return usageError(console, "cat", operands.empty() ? "missing FILE and NAME" : "missing NAME");
    std::vector<TOVXString> names;
    for (size_t i = 1; i < operands.size(); ++i) {
        TOVXString name;
        std::string error;
        if (!parseNameArgument(operands[i], name, error)) return usageError(console, "cat", "'" + operands[i] + "': " + error);
        names.push_back(name);
    }
    const std::string& file = operands[0];
    StoragePtr root = openCompoundFile(file, console);
    if (root == nullptr) return kExitFailure;

    // Keep every storage on the way: each is freed when the walk down is done.
    std::vector<StoragePtr> chain;
    TOVIStorage* current = root.get();
    for (size_t i = 0; i + 1 < names.size(); ++i) {
        TOVIStorage* next = nullptr;
        if (current->openStorage(names[i], &next) != 0 || next == nullptr) {
            console.fail(file, "no storage " + shownPath(names, i + 1) + " that can be opened");
            return kExitFailure;
        }
        chain.emplace_back(next);
        current = next;
    }
    const TOVXString& streamName = names.back();
    bool isStorage = false;
    TOVStStorageDirEntry entry;
    if (!findStreamEntry(*current, streamName, isStorage, entry)) {
        console.fail(file, shownPath(names, names.size()) + (isStorage ? " is a storage, not a stream" : ": no such stream"));
        return kExitFailure;
    }
    std::vector<unsigned char> bytes;
    if (!readStream(*current, streamName, bytes)) {
        console.fail(file, shownPath(names, names.size()) + ": cannot be read");
        return kExitFailure;
    }
    if (!writeAll(console.out, bytes) || std::fflush(console.out) != 0) {
        console.fail("cannot write the output");
        return kExitFailure;
    }
    if (bytes.size() < entry.getSize()) {
        console.fail(file, shownPath(names, names.size()) + ": the file holds only " + std::to_string(bytes.size()) +
                               " of its " + std::to_string(entry.getSize()) + " bytes");
    }
    return kExitOk;
}

}  // namespace ststg
