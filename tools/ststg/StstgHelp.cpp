#include <cstring>

#include "StstgCommon.h"

namespace ststg {

namespace {

const char kToolHelp[] =
    "Usage: ststg COMMAND [ARGUMENTS]\n"
    "Looks inside compound files (a tree of storages and streams in one file, as written\n"
    "by office suites, installers and mail clients) and the property sets they hold.\n"
    "\n"
    "Commands:\n"
    "  tree FILE [--json]        list every storage and stream\n"
    "  cat FILE NAME [NAME...]   write the bytes of one stream to standard output\n"
    "  extract FILE DIR          write every stream to a file under DIR\n"
    "  props FILE [--json]       list the property sets and their properties\n"
    "\n"
    "  --host COMMAND ...        the same commands through the platform's structured-storage\n"
    "                            service; here " STSTG_HOST_SERVICE "\n"
    "\n"
    "'ststg COMMAND --help' describes one command, 'ststg --host --help' the host commands.\n"
    "Exit status: 0 on success, 1 when the file cannot be opened or an item is not\n"
    "found, 2 on a usage error. Data goes to standard output, messages to standard error.\n";

const char kTreeHelp[] =
    "Usage: ststg tree FILE [--json]\n"
    "Lists the whole tree depth first, each storage's children in directory order.\n"
    "The text form shows one entry per line, indented by depth, with its kind and size;\n"
    "names appear as 'cat' takes them (control characters as \\xHH).\n"
    "With --json the output is\n"
    "  {\"file\": FILE, \"entries\": [{\"path\": [NAME, ...], \"type\": N, \"size\": N}, ...]}\n"
    "where the root comes first with an empty path and type is 1 storage, 2 stream, 5 root.\n"
    "A storage that cannot be opened (an empty name, for one) is listed but its contents\n"
    "are not; a storage reached a second time is not gone into again.\n";

const char kCatHelp[] =
    "Usage: ststg cat FILE NAME [NAME...]\n"
    "Writes the bytes of a stream to standard output. The NAMEs lead from the root\n"
    "through storages to the stream: 'ststg cat f.doc ObjectPool _1 Contents'.\n"
    "Names are UTF-8 and match the names as 'tree' shows them. Within a NAME:\n"
    "  \\xHH   the character with hex code HH, e.g. '\\x05SummaryInformation'\n"
    "  \\NNN   the character with octal code NNN, e.g. '\\005SummaryInformation'\n"
    "  \\\\     a backslash\n"
    "Quote such names for the shell. An empty stream gives no output and success.\n"
    "Where two entries share a name, the one listed first is found.\n";

const char kExtractHelp[] =
    "Usage: ststg extract FILE DIR\n"
    "Writes every stream of FILE under DIR (made if missing), one folder per storage.\n"
    "Names are made safe for the file system and never leave DIR: control characters,\n"
    "/ \\ : * ? \" < > | and % are written as %XX (hex), '.' and '..' as %2E and %2E%2E,\n"
    "an empty name as %empty; names that collide (ignoring case) get ~2, ~3, ...\n"
    "A stream hidden by an earlier one of the same name is skipped with a warning.\n"
    "Progress is shown on standard error when it is a terminal and FILE is large.\n";

const char kPropsHelp[] =
    "Usage: ststg props FILE [--json]\n"
    "Lists the property sets of the root storage (streams whose name starts with \\x05)\n"
    "in the order the file holds them, and each set's properties with id, name, kind\n"
    "and value. With --json the output is\n"
    "  {\"file\": FILE, \"property_sets\": [{\"id\": \"{GUID}\", \"name\": NAME,\n"
    "    \"properties\": [{\"id\": N, \"name\": NAME, \"type\": N, \"value\": TEXT}, ...]}, ...]}\n"
    "where type is 0 unconverted, 1 text, 2 whole number, 3 floating point, 4 boolean, 5 date.\n";

}  // namespace

void printToolHelp(FILE* file) { std::fputs(kToolHelp, file); }

bool printCommandHelp(const std::string& command, FILE* file) {
    const char* text = command == "tree" ? kTreeHelp
                       : command == "cat" ? kCatHelp
                       : command == "extract" ? kExtractHelp
                       : command == "props" ? kPropsHelp
                                            : nullptr;
    if (text == nullptr) return false;
    std::fputs(text, file);
    return true;
}

bool isHelpOption(const std::string& argument) { return argument == "--help" || argument == "-h"; }

}  // namespace ststg
