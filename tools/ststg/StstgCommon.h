#ifndef STSTG_COMMON_H
#define STSTG_COMMON_H

#include <cstdio>
#include <string>
#include <vector>

#include "TOVXNativeOwners.h"

// Pieces the subcommands share.
namespace ststg {

// The console of one run.
struct Console {
    FILE* out;
    FILE* err;
    // "ststg: <file>: <message>" on the error stream.
    void fail(const std::string& file, const std::string& message) const;
    void fail(const std::string& message) const;
};

// Opens the compound file at `path`, or says why not and gives null: a file that is
// missing or unreadable is told apart from one that is no compound file.
TOVXStoragePtr openCompoundFile(const std::string& path, const Console& console);

// Writes all of `bytes`; false when the stream refuses some.
bool writeAll(FILE* file, const std::vector<unsigned char>& bytes);

// Subcommands: each gets the arguments after its own name.
int treeCommand(const std::vector<std::string>& arguments, const Console& console);
int catCommand(const std::vector<std::string>& arguments, const Console& console);
int extractCommand(const std::vector<std::string>& arguments, const Console& console);
int propsCommand(const std::vector<std::string>& arguments, const Console& console);

// Help texts.
void printToolHelp(FILE* file);
bool printCommandHelp(const std::string& command, FILE* file);  // false for an unknown command
bool isHelpOption(const std::string& argument);

// A usage error: the message and a pointer to --help, exit code 2.
int usageError(const Console& console, const std::string& command, const std::string& message);

}  // namespace ststg

#endif
