#include "StstgCommandList.h"

#ifndef STSTG_VERSION
#error "STSTG_VERSION comes from the project's version in CMake"
#endif
#ifndef STSTG_HOST_SERVICE
#error "STSTG_HOST_SERVICE names the service under the host road"
#endif

namespace ststg {

namespace {

const char kToolHelp[] =
    "Usage: ststg [--native | --host] COMMAND [OPTIONS] FILE [ARGUMENTS]\n"
    "Looks inside compound files (a tree of storages and streams in one file, as written\n"
    "by office suites, installers and mail clients) and the property sets they hold.\n"
    "\n"
    "Commands:\n"
    "  tree FILE [--json] [--long]        list every storage and stream\n"
    "  cat FILE PATH [--force]            write the bytes of one stream to standard output\n"
    "  dump FILE PATH [--offset N] [--length N]\n"
    "                                     show a stream as a hex dump\n"
    "  extract FILE DIR [PATH] [--force]  write every stream (or those under PATH) below DIR\n"
    "  props FILE [PATH] [--json]         list the property sets of the root (or of the\n"
    "                                     storage PATH) and their properties\n"
    "  info FILE [--json]                 header facts, counts of entries, damage found\n"
    "\n"
    "Readers:\n"
    "  (default)  the platform's structured-storage service, through the library's host\n"
    "             stack; here " STSTG_HOST_SERVICE ". It gives full names, any directory\n"
    "             size, and each section of a property stream as a set of its own. Where it\n"
    "             refuses a damaged file that the library's own reader takes, a warning\n"
    "             says so and that reader's lenient reading is shown.\n"
    "  --native   the library's own reader, by its own rules: a name keeps the low byte of\n"
    "             each 16-bit unit, a header with more than five directory sectors is\n"
    "             refused, the two sections of a document summary merge by id. Output is\n"
    "             exactly what ststg always gave.\n"
    "  --host     the platform's service only, without the fall back.\n"
    "\n"
    "Options:\n"
    "  --json       JSON instead of text (tree, props, info)\n"
    "  --long       tree: one line per entry with its whole path, kind, size, class id\n"
    "               and modification time\n"
    "  --force      cat: write binary data to a terminal too; extract: replace files (and\n"
    "               links in their place, never followed) that are already there\n"
    "  --offset N, --length N\n"
    "               dump: where to start and how many bytes (decimal, or hex after 0x)\n"
    "  --strict     exit with 1 when the file is damaged\n"
    "  --help, -h   this text; 'ststg COMMAND --help' describes one command\n"
    "  --version, -V\n"
    "               the version of ststg and its library\n"
    "\n"
    "FILE '-' reads the file from standard input. PATH leads from the root through\n"
    "storages: 'ObjectPool/_1234/Ole' as one argument, or the names as separate arguments\n"
    "('ObjectPool' '_1234' 'Ole'). Names are given as 'tree' shows them: \\xHH or \\NNN for\n"
    "a character by its code (\\x05SummaryInformation), \\\\ for a backslash, \\x2f for a\n"
    "'/' inside a name, \"\" for the empty name. Put '--' before names that begin with '-'.\n"
    "\n"
    "Damage (entries that are not valid, streams of which the file holds only part, a\n"
    "file cut short) is told on standard error, one line for each kind, and what can be\n"
    "read is still shown.\n"
    "\n"
    "Exit status: 0 success, warnings included; 1 the file cannot be opened or read, an\n"
    "item is not found, output or a file cannot be written, an extract is incomplete,\n"
    "binary data is refused on a terminal, or the file is damaged under --strict;\n"
    "2 a usage error. Data goes to standard output, messages to standard error.\n";

const char kTreeHelp[] =
    "Usage: ststg tree FILE [--json] [--long] [--strict]\n"
    "Lists the whole tree depth first, each storage's children in the reader's order (the\n"
    "platform's, or directory order with --native), a storage before its children.\n"
    "The text form shows one entry per line, indented by depth, with its kind and size;\n"
    "names appear as 'cat' takes them (control characters as \\xHH).\n"
    "With --long each line is KIND SIZE CLASS-ID MODIFIED PATH, the whole path last, so\n"
    "that a line found by grep names its parents; '-' stands for what is not known (the\n"
    "library's own reader keeps no times).\n"
    "With --json the output is\n"
    "  {\"file\": FILE, \"entries\": [{\"path\": [NAME, ...], \"type\": N, \"size\": N}, ...]}\n"
    "where the root comes first with an empty path and type is 1 storage, 2 stream, 5 root\n"
    "(with --native, the entry's stored type: 0 invalid, 3 lockbytes, 4 property too).\n"
    "Through the platform's service size is given for streams only, and entries also\n"
    "carry \"clsid\", \"created\" and \"modified\" where the service gives them; with\n"
    "--native they carry \"clsid\" under --long.\n"
    "A storage that cannot be opened is listed but its contents are not; with --native a\n"
    "storage reached a second time is not gone into again.\n";

const char kCatHelp[] =
    "Usage: ststg cat FILE PATH [--force] [--strict]\n"
    "Writes the bytes of a stream to standard output. PATH leads from the root through\n"
    "storages to the stream: 'ststg cat f.doc ObjectPool/_1/Contents', or the names as\n"
    "separate arguments: 'ststg cat f.doc ObjectPool _1 Contents'. A leading '/' is\n"
    "allowed. Names are UTF-8 and match the names as 'tree' shows them. Within a name:\n"
    "  \\xHH   the character with hex code HH, e.g. '\\x05SummaryInformation'\n"
    "  \\NNN   the character with octal code NNN, e.g. '\\005SummaryInformation'\n"
    "  \\\\     a backslash\n"
    "  \\x2f   a '/' that belongs to the name\n"
    "  \"\"     (the whole name) the empty name\n"
    "Quote such names for the shell. An empty stream gives no output and success.\n"
    "Where two entries share a name, the one listed first is found. To a terminal, bytes\n"
    "that are not text are refused (use 'ststg dump') unless --force is given.\n";

const char kDumpHelp[] =
    "Usage: ststg dump FILE PATH [--offset N] [--length N] [--strict]\n"
    "Shows a stream as a hex dump: each line the offset, 16 bytes in hex and the same\n"
    "bytes as text ('.' for anything but printable ASCII). --offset starts there, --length\n"
    "shows at most that many bytes; both take decimal numbers or hex after 0x. PATH is\n"
    "given as to 'cat'. An offset past the end of the stream is an error.\n";

const char kExtractHelp[] =
    "Usage: ststg extract FILE DIR [PATH] [--force] [--strict]\n"
    "Writes every stream of FILE under DIR (made if missing), one folder per storage. With\n"
    "PATH only what lies in that storage is written, or only that one stream.\n"
    "Names are made safe for the file system and never leave DIR: control characters,\n"
    "/ \\ : * ? \" < > | and % are written as %XX (hex), '.' and '..' as %2E and %2E%2E,\n"
    "an empty name as %empty; names that collide (ignoring case) get ~2, ~3, ...\n"
    "Every folder and file is made relative to its open folder and no symbolic link is\n"
    "followed: a link where a folder or file would go is refused. A file that is already\n"
    "there is kept unless --force is given, which replaces it (a link is replaced, not\n"
    "followed). A stream hidden by an earlier one of the same name is skipped with a\n"
    "warning. When not every stream could be written the last message says how many of\n"
    "how many were, and why the first was not; the exit code is 1 when a file could not\n"
    "be written (a stream the file holds no bytes of counts as damage).\n"
    "Progress is shown on standard error when it is a terminal and FILE is large.\n";

const char kPropsHelp[] =
    "Usage: ststg props FILE [PATH] [--json] [--strict]\n"
    "Lists the property sets of the root storage, or of the storage PATH leads to (given\n"
    "as to 'cat'), and each set's properties with id, name, kind and value.\n"
    "Through the platform's service: each set shows the stream that holds it, the sets the\n"
    "service enumerates come first and the user-defined set last; well-known properties\n"
    "show their usual name (Title, Author, ..., LineCount, ...) where the set names them\n"
    "not; the code page shows as its number (65001) and EditTime as a duration (H:MM:SS);\n"
    "a vector shows as a list, a blob or clipboard value as its size and first bytes.\n"
    "With --native, the sets the library's reader finds, in directory order, with the\n"
    "values as it converts them.\n"
    "With --json the output is\n"
    "  {\"file\": FILE, \"property_sets\": [{\"id\": \"{GUID}\", \"name\": NAME,\n"
    "    \"properties\": [{\"id\": N, \"name\": NAME, \"type\": N, \"value\": TEXT}, ...]}, ...]}\n"
    "where type is 0 unconverted, 1 text, 2 whole number, 3 floating point, 4 boolean,\n"
    "5 date (-1 empty, through the platform's service). Through the platform's service a\n"
    "set also carries \"stream\", and a property \"label\" (its usual name) and \"display\"\n"
    "(the human form: a string, or an array for a vector) where they apply.\n";

const char kInfoHelp[] =
    "Usage: ststg info FILE [--json] [--strict]\n"
    "Shows the header facts of FILE (version, byte order, sector and mini sector sizes,\n"
    "the mini stream cutoff, the file's size in sectors and the header's counts of FAT,\n"
    "DIFAT, directory and mini FAT sectors), the root's class id, how many storages and\n"
    "streams the reader finds and how many bytes the streams hold, and the damage found.\n"
    "With --json the same as one object: {\"file\", \"road\" (host or native),\n"
    "\"major_version\", \"minor_version\", \"little_endian\", \"sector_size\",\n"
    "\"mini_sector_size\", \"mini_stream_cutoff\", \"file_size\", \"sectors\": {\"file\",\n"
    "\"fat\", \"difat\", \"directory\", \"mini_fat\"}, \"clsid\" (when there is one),\n"
    "\"storages\", \"streams\", \"other_entries\", \"stream_bytes\", \"damage\": [TEXT, ...]}.\n";

}  // namespace

void printToolHelp(FILE* file) { std::fputs(kToolHelp, file); }

void printVersion(FILE* file) { std::fputs("ststg (TOVXStStorage) " STSTG_VERSION "\n", file); }

bool printCommandHelp(const std::string& command, FILE* file) {
    const char* text = command == "tree" ? kTreeHelp
                       : command == "cat" ? kCatHelp
                       : command == "dump" ? kDumpHelp
                       : command == "extract" ? kExtractHelp
                       : command == "props" ? kPropsHelp
                       : command == "info" ? kInfoHelp
                                           : nullptr;
    if (text == nullptr) return false;
    std::fputs(text, file);
    return true;
}

}  // namespace ststg
