#include "StstgCommands.h"
#include "StstgHostCommon.h"
#include "StstgText.h"

namespace ststg {
namespace host {

namespace {

std::vector<TOVXString> firstNames(const std::vector<TOVXString>& names, size_t count) {
    return std::vector<TOVXString>(names.begin(), names.begin() + static_cast<long>(count));
}

// Why `name` did not open as a stream of `storage`.
std::string missingStream(IStorage* storage, const TOVXString& name) {
    IStorage* asStorage = OpenStorage(storage, name);
    CloseStorage(asStorage);
    return asStorage != nullptr ? " is a storage, not a stream" : ": no such stream";
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
    const OpenedFile opened(file, console);
    if (opened.root() == nullptr) return kExitFailure;

    // Every storage on the way stays open until the stream has been copied.
    std::vector<IStorage*> chain;
    IStorage* current = opened.root();
    int result = kExitOk;
    for (size_t i = 0; i + 1 < names.size() && result == kExitOk; ++i) {
        current = OpenStorage(current, names[i]);
        if (current == nullptr) {
            console.fail(file, "no storage " + shownPath(firstNames(names, i + 1)) + " that can be opened");
            result = kExitFailure;
        } else {
            chain.push_back(current);
        }
    }
    if (result == kExitOk) {
        IStream* stream = OpenStream(current, names.back());
        if (stream == nullptr) {
            console.fail(file, shownPath(names) + missingStream(current, names.back()));
            result = kExitFailure;
        } else if (!WriteStreamToFile(stream, console.out, 0)) {
            console.fail(file, shownPath(names) + ": cannot be read to its end");
            result = kExitFailure;
        }
        CloseStream(stream);
    }
    while (!chain.empty()) {
        CloseStorage(chain.back());
        chain.pop_back();
    }
    if (std::fflush(console.out) != 0 || std::ferror(console.out)) {
        console.fail("cannot write the output");
        return kExitFailure;
    }
    return result;
}

}  // namespace host
}  // namespace ststg
