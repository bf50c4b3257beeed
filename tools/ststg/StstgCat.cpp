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

namespace {

// Parses the stream's names and opens the file; false, with `code` set, when either fails.
bool openRequestedStream(const Invocation& invocation, const Console& console, OpenedInput& input, NamePath& names,
                         int& code) {
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
    return true;
}

}  // namespace

bool readRequestedStream(const Invocation& invocation, const Console& console, OpenedInput& input, NamePath& names,
                         StreamRead& read, int& code) {
    if (!openRequestedStream(invocation, console, input, names, code)) return false;
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

// cat to anything but a terminal: the stream goes from the road's reader to the output with
// no copy of the tool's in between. Says, once the bytes are out, why there were none or
// fewer than the stream's size.
int copyRequestedStream(const Invocation& invocation, const Console& console, OpenedInput& input, const NamePath& names) {
    const StreamRead read = input.road().copy(names, console.out);
    if (read.outcome != StreamRead::Outcome::Read) {
        console.fail(input.shown(), streamFailureText(read, names));
        return input.finish(kExitFailure, invocation.strict, console);
    }
    if (read.copied < read.declaredSize) {
        console.fail(input.shown(), shownPath(names) + ": the file holds only " + std::to_string(read.copied) +
                                        " of its " + std::to_string(read.declaredSize) + " bytes");
        input.road().damage().addProblem();
    }
    return input.finish(kExitOk, invocation.strict, console);
}

// Bytes that are not text would upset a terminal: they go there only when forced.
bool refusedOnTerminal(const Invocation& invocation, const Console& console, const std::vector<unsigned char>& bytes) {
    return !invocation.force && ::isatty(::fileno(console.out)) == 1 && looksBinary(bytes.data(), bytes.size());
}

}  // namespace

// The default copy: the road's whole read, written at once.
StreamRead Road::copy(const NamePath& path, FILE* out) {
    StreamRead read = this->read(path);
    writeStreamBytes(out, read.bytes);
    read.copied = read.bytes.size();
    read.bytes.clear();
    return read;
}

int catCommand(const Invocation& invocation, const Console& console) {
    OpenedInput input;
    NamePath names;
    StreamRead read;
    int code = kExitOk;
    // Only a terminal needs the bytes looked at before they go out.
    if (invocation.force || ::isatty(::fileno(console.out)) != 1) {
        if (!openRequestedStream(invocation, console, input, names, code)) return code;
        return copyRequestedStream(invocation, console, input, names);
    }
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
