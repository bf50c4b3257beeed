#include "StstgHost.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "StstgCommands.h"
#include "StstgHostCommon.h"
#include "StstgText.h"

namespace ststg {

namespace {

const char kHostHelp[] =
    "Usage: ststg --host COMMAND [ARGUMENTS]\n"
    "Runs a command through the platform's structured-storage service (StgOpenStorage,\n"
    "IStorage and their family) instead of the library's own reader. On this system the\n"
    "service is " STSTG_HOST_SERVICE ".\n"
    "\n"
    "Commands:\n"
    "  tree FILE [--json]        every storage and stream, depth first in the service's order;\n"
    "                            JSON: {\"file\": FILE, \"entries\": [{\"path\": [NAME, ...],\n"
    "                            \"type\": N, \"size\": N}, ...]}, the root first with type 5, then\n"
    "                            type 1 for a storage and 2 for anything else; size for streams\n"
    "  cat FILE NAME [NAME...]   the bytes of one stream to standard output\n"
    "  extract FILE DIR          every stream to a file under DIR, names made safe as by\n"
    "                            'ststg extract'\n"
    "  props FILE [--json]       every property set of the root as the service gives it, then\n"
    "                            the user-defined set when the file has one; the JSON of\n"
    "                            'ststg props', each set's name empty\n"
    "\n"
    "Names are given and shown as by the commands without --host. A file that another\n"
    "program holds is read from a temporary copy, which goes when the command ends.\n";

bool isHelp(const std::string& argument) { return argument == "--help" || argument == "-h"; }

}  // namespace

namespace host {

void Console::fail(const std::string& file, const std::string& message) const {
    std::fprintf(err, "ststg: %s: %s\n", file.c_str(), message.c_str());
}

void Console::fail(const std::string& message) const { std::fprintf(err, "ststg: %s\n", message.c_str()); }

int usageError(const Console& console, const std::string& command, const std::string& message) {
    const std::string help = command.empty() ? "ststg --host --help" : "ststg --host " + command + " --help";
    std::fprintf(console.err, "ststg: %s\nTry '%s' for more information.\n", message.c_str(), help.c_str());
    return kExitUsage;
}

OpenedFile::OpenedFile(const std::string& path, const Console& console) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(std::filesystem::u8path(path), error);
    if (error) {
        console.fail(path, error.message());
        return;
    }
    if (std::filesystem::is_directory(status)) {
        console.fail(path, "is a directory");
        return;
    }
    const TOVXFilePath file(path);
    root_ = OpenStorage(file, temporary_);
    if (root_ == nullptr) {
        console.fail(path, IsStorageFile(file) ? "the platform's service refuses this compound file"
                                               : "not a compound file");
        return;
    }
    if (temporary_.GetPath().length() > 0) console.fail(path, "held by another program; read all the same");
}

OpenedFile::~OpenedFile() {
    CloseStorage(root_);
    // Where the system could not remove the copy while it was open, it goes now.
    const std::string copy = temporary_.GetPath().ToUtf8();
    std::error_code ignored;
    if (!copy.empty()) std::filesystem::remove(std::filesystem::u8path(copy), ignored);
}

std::string shownPath(const std::vector<TOVXString>& names) {
    std::string out;
    for (const TOVXString& name : names) out += "/" + displayName(name);
    return out.empty() ? "/" : out;
}

}  // namespace host

int hostRun(const std::vector<std::string>& arguments, FILE* out, FILE* err) {
    const host::Console console{out, err};
    if (arguments.empty()) return host::usageError(console, "", "missing command after --host");
    const std::string& command = arguments[0];
    const std::vector<std::string> rest(arguments.begin() + 1, arguments.end());
    if (isHelp(command) || std::any_of(rest.begin(), rest.end(), isHelp)) {
        std::fputs(kHostHelp, out);
        return kExitOk;
    }
    if (command == "tree") return host::treeCommand(rest, console);
    if (command == "cat") return host::catCommand(rest, console);
    if (command == "extract") return host::extractCommand(rest, console);
    if (command == "props") return host::propsCommand(rest, console);
    return host::usageError(console, "", "unknown command '" + command + "'");
}

}  // namespace ststg
