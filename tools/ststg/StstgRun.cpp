#include <algorithm>

#include "StstgCommands.h"
#include "StstgCommon.h"
#include "StstgHost.h"

namespace ststg {

int run(const std::vector<std::string>& arguments, FILE* out, FILE* err) {
    const Console console{out, err};
    if (arguments.empty()) return usageError(console, "", "missing command");
    const std::string& command = arguments[0];
    if (isHelpOption(command)) {
        printToolHelp(out);
        return kExitOk;
    }
    if (command == "--host") return hostRun(std::vector<std::string>(arguments.begin() + 1, arguments.end()), out, err);
    const std::vector<std::string> rest(arguments.begin() + 1, arguments.end());
    if (std::any_of(rest.begin(), rest.end(), isHelpOption)) {
        if (printCommandHelp(command, out)) return kExitOk;
        return usageError(console, "", "unknown command '" + command + "'");
    }
    if (command == "tree") return treeCommand(rest, console);
    if (command == "cat") return catCommand(rest, console);
    if (command == "extract") return extractCommand(rest, console);
    if (command == "props") return propsCommand(rest, console);
    return usageError(console, "", "unknown command '" + command + "'");
}

}  // namespace ststg
