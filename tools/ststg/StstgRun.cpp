#include "StstgCommandList.h"

namespace ststg {

namespace {

using Command = int (*)(const Invocation&, const Console&);

struct Dispatch {
    const char* name;
    Command command;
};

const Dispatch kDispatch[] = {
    {"tree", treeCommand},       {"cat", catCommand},     {"dump", dumpCommand},
    {"extract", extractCommand}, {"props", propsCommand}, {"info", infoCommand},
};

}  // namespace

int run(const std::vector<std::string>& arguments, FILE* out, FILE* err, FILE* in) {
    const Console console{out, err, in};
    Invocation invocation;
    std::string error;
    if (!parseInvocation(arguments, invocation, error)) {
        if (invocation.commandHelp && printCommandHelp(invocation.command, out)) return kExitOk;
        return usageError(console, invocation.command, error);
    }
    if (invocation.toolHelp) {
        printToolHelp(out);
        return kExitOk;
    }
    if (invocation.version) {
        printVersion(out);
        return kExitOk;
    }
    if (invocation.commandHelp) {
        printCommandHelp(invocation.command, out);
        return kExitOk;
    }
    for (const Dispatch& entry : kDispatch)
        if (invocation.command == entry.name) return entry.command(invocation, console);
    return usageError(console, "", "unknown command '" + invocation.command + "'");
}

int run(const std::vector<std::string>& arguments, FILE* out, FILE* err) { return run(arguments, out, err, stdin); }

}  // namespace ststg
