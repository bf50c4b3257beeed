#include "StstgCommands.h"
#include "StstgCommon.h"
#include "StstgText.h"
#include "TOVXStreamRead.h"

namespace ststg {

namespace {

// Why `names` gave no stream, as the message after "ststg: FILE: " says it.
std::string failureText(const TOVXStreamRead& read, const std::vector<TOVXString>& names) {
    using Outcome = TOVXStreamRead::Outcome;
    switch (read.outcome) {
        case Outcome::NoSuchStorage: return "no storage " + shownPath(names, read.storagesOpened + 1) + " that can be opened";
        case Outcome::IsStorage: return shownPath(names) + " is a storage, not a stream";
        case Outcome::Unreadable: return shownPath(names) + ": cannot be read";
        case Outcome::NoSuchStream:
        case Outcome::Read: break;
    }
    return shownPath(names) + ": no such stream";
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
    TOVXStoragePtr root = openCompoundFile(file, console);
    if (root == nullptr) return kExitFailure;

    const TOVXStreamRead read = TOVXStreamRead::atPath(*root, names);
    if (read.outcome != TOVXStreamRead::Outcome::Read) {
        console.fail(file, failureText(read, names));
        return kExitFailure;
    }
    if (!writeAll(console.out, read.bytes) || std::fflush(console.out) != 0) {
        console.fail("cannot write the output");
        return kExitFailure;
    }
    if (read.bytes.size() < read.declaredSize) {
        console.fail(file, shownPath(names) + ": the file holds only " + std::to_string(read.bytes.size()) + " of its " +
                               std::to_string(read.declaredSize) + " bytes");
    }
    return kExitOk;
}

}  // namespace ststg
