#include <algorithm>

#include "StstgCommandList.h"
#include "StstgInput.h"
#include "StstgText.h"

namespace ststg {

namespace {

constexpr size_t kBytesPerLine = 16;

void printHexDump(const std::vector<unsigned char>& bytes, uint64_t first, uint64_t end, FILE* out) {
    for (uint64_t at = first; at < end; at += kBytesPerLine) {
        const size_t count = static_cast<size_t>(std::min<uint64_t>(kBytesPerLine, end - at));
        std::fprintf(out, "%s\n", hexDumpLine(at, bytes.data() + at, count).c_str());
    }
}

}  // namespace

int dumpCommand(const Invocation& invocation, const Console& console) {
    OpenedInput input;
    NamePath names;
    StreamRead read;
    int code = kExitOk;
    if (!readRequestedStream(invocation, console, input, names, read, code)) return code;
    const uint64_t size = read.bytes.size();
    if (invocation.offset > size) {
        console.fail(input.shown(), shownPath(names) + ": offset " + std::to_string(invocation.offset) +
                                        " lies past the end of the stream (" + std::to_string(size) + " bytes)");
        return input.finish(kExitFailure, invocation.strict, console);
    }
    const uint64_t end = invocation.hasLength ? std::min(size, invocation.offset + std::min(invocation.length, size)) : size;
    printHexDump(read.bytes, invocation.offset, end, console.out);
    return input.finish(kExitOk, invocation.strict, console);
}

}  // namespace ststg
