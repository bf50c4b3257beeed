#include "StstgConsole.h"

#include "StstgCommands.h"

namespace ststg {

void Console::fail(const std::string& file, const std::string& message) const {
    std::fprintf(err, "ststg: %s: %s\n", file.c_str(), message.c_str());
}

void Console::fail(const std::string& message) const { std::fprintf(err, "ststg: %s\n", message.c_str()); }

void Console::warn(const std::string& file, const std::string& message) const {
    std::fprintf(err, "ststg: %s: warning: %s\n", file.c_str(), message.c_str());
}

bool Console::outputWritten() const {
    if (std::fflush(out) == 0 && !std::ferror(out)) return true;
    fail("cannot write the output");
    return false;
}

int usageError(const Console& console, const std::string& command, const std::string& message) {
    const std::string help = command.empty() ? "ststg --help" : "ststg " + command + " --help";
    std::fprintf(console.err, "ststg: %s\nTry '%s' for more information.\n", message.c_str(), help.c_str());
    return kExitUsage;
}

}  // namespace ststg
