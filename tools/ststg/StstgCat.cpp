#include <unistd.h>

#include "StstgCommandList.h"
#include "StstgInput.h"
#include "StstgText.h"

namespace ststg {

std::string streamFailureText(const StreamRead& read, const NamePath& names) {
    using Outcome = StreamRead::Outcome;
    switch (read.outcome) {
        case Outcome::NoSuchStorage: return "no storage " + shownPath(names, read.storagesOpened + 1) + " that can be opened";
        case Outcome::IsStorage: return shownPath(names) + " is a storage, not a stream";
        case Outcome::Unreadable: return shownPath(names) + ": cannot be read";
        case Outcome::NoSuchStream:
        case Outcome::Read: break;
    }
    return shownPath(names) + ": no such stream";
}

bool readRequestedStream(const Invocation& invocation, const Console& console, OpenedInput& input, NamePath& names,
                         StreamRead& read, int& code) {
    std::string error;
    const std::vector<std::string> path(invocation.operands.begin() + 1, invocation.operands.end());
    if (!parseNamePath(path, names, error)) {
        code = usageError(console, invocation.command, error);
        return false;
    }
    if (!input.open(invocation.operands[0], invocation.road, console)) {
        code = kExitFailure;
        return false;
    }
    read = input.road().read(names);
    if (read.outcome != StreamRead::Outcome::Read) {
        console.fail(input.shown(), streamFailureText(read, names));
        code = input.finish(kExitFailure, invocation.strict, console);
        return false;
    }
    if (read.bytes.size() < read.declaredSize) {
        console.fail(input.shown(), shownPath(names) + ": the file holds only " + std::to_string(read.bytes.size()) + " of its " +
                                        std::to_string(read.declaredSize) + " bytes");
        input.road().damage().addProblem();
    }
    return true;
}

namespace {

bool writeStreamBytes(FILE* out, const std::vector<unsigned char>& bytes) {
    return bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
}

// Bytes that are not text would upset a terminal: they go there only when forced.
bool refusedOnTerminal(const Invocation& invocation, const Console& console, const std::vector<unsigned char>& bytes) {
    return !invocation.force && ::isatty(::fileno(console.out)) == 1 && looksBinary(bytes.data(), bytes.size());
}

}  // namespace

int catCommand(const Invocation& invocation, const Console& console) {
    OpenedInput input;
    NamePath names;
    StreamRead read;
    int code = kExitOk;
    if (!readRequestedStream(invocation, console, input, names, read, code)) return code;
    if (refusedOnTerminal(invocation, console, read.bytes)) {
        console.fail(input.shown(), shownPath(names) + ": binary data, not written to a terminal "
                                                       "(see it with 'ststg dump', or write it anyway with --force)");
        return input.finish(kExitFailure, invocation.strict, console);
    }
    writeStreamBytes(console.out, read.bytes);  // a failed write shows when the output is flushed
    return input.finish(kExitOk, invocation.strict, console);
}

}  // namespace ststg
