#ifndef STSTG_ARGUMENTS_H
#define STSTG_ARGUMENTS_H

#include <cstdint>
#include <string>
#include <vector>

#include "TOVXString.h"

namespace ststg {

// Which reader a command goes through.
enum class RoadChoice {
    Default,  // the platform's service, or the library's own reader where the service refuses a damaged file
    Host,     // --host: the platform's service only
    Native,   // --native: the library's own reader only
};

// One command line, taken apart.
struct Invocation {
    RoadChoice road = RoadChoice::Default;
    bool toolHelp = false;     // --help before any command
    bool version = false;      // --version, -V
    bool commandHelp = false;  // --help after a command
    std::string command;
    std::vector<std::string> operands;
    bool json = false;
    bool longForm = false;
    bool strict = false;
    bool force = false;
    uint64_t offset = 0;
    bool hasLength = false;
    uint64_t length = 0;
};

// Takes the command line apart: road options and --help/--version before the command, the
// command, then its options and operands in any order; after "--" every argument is an
// operand, and so is "-". False, with `error` and the command whose help applies, for an
// unknown command or option, an option the command does not take, a bad number, or a
// wrong count of operands.
bool parseInvocation(const std::vector<std::string>& arguments, Invocation& invocation, std::string& error);

// The names that PATH operands lead through from the root. One operand is a path whose
// names are separated by '/' (a leading '/' is allowed, "/" alone is the root); several
// operands are one name each, taken whole. Each name is read by parseNameArgument, so a
// '/' inside a name is written \x2f, and "" stands for the empty name.
bool parseNamePath(const std::vector<std::string>& operands, std::vector<TOVXString>& names, std::string& error);

}  // namespace ststg

#endif
