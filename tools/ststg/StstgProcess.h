#ifndef STSTG_PROCESS_H
#define STSTG_PROCESS_H

#include <string>
#include <vector>

// What the tool needs of the process it runs in, the same on every system.
namespace ststg {

// The command line after the program name, as UTF-8. Windows hands a program its arguments
// in the machine's code page, which loses names outside it, so they are taken as UTF-16 there.
std::vector<std::string> commandLineArguments(int argc, char** argv);

// The standard streams pass bytes unchanged: a compound file may come in on standard input,
// `cat` writes raw stream bytes, and Windows would otherwise translate line ends both ways.
void useBinaryStandardStreams();

}  // namespace ststg

#endif
