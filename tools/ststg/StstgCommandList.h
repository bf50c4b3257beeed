#ifndef STSTG_COMMAND_LIST_H
#define STSTG_COMMAND_LIST_H

#include <cstdio>
#include <string>

#include "StstgArguments.h"
#include "StstgCommands.h"
#include "StstgConsole.h"
#include "StstgRoad.h"

// The commands of the tool and their help. Each command gets its command line taken
// apart, with as many operands as it takes, and gives the exit code.
namespace ststg {

int treeCommand(const Invocation& invocation, const Console& console);
int catCommand(const Invocation& invocation, const Console& console);
int dumpCommand(const Invocation& invocation, const Console& console);
int extractCommand(const Invocation& invocation, const Console& console);
int propsCommand(const Invocation& invocation, const Console& console);
int infoCommand(const Invocation& invocation, const Console& console);

void printToolHelp(FILE* file);
void printVersion(FILE* file);
bool printCommandHelp(const std::string& command, FILE* file);  // false for an unknown command

// Why `names` gave no stream, as the message after "ststg: FILE: " says it.
std::string streamFailureText(const StreamRead& read, const NamePath& names);

class OpenedInput;
// For cat and dump: opens FILE and reads the stream that the PATH operands lead to. False
// with the exit code in `code`, after saying why, when there is no stream to show. A
// stream of which the file holds only part is told, and read as far as it goes.
bool readRequestedStream(const Invocation& invocation, const Console& console, OpenedInput& input, NamePath& names,
                         StreamRead& read, int& code);

}  // namespace ststg

#endif
