#ifndef STSTG_COMMANDS_H
#define STSTG_COMMANDS_H

#include <cstdio>
#include <string>
#include <vector>

namespace ststg {

// Exit codes of the tool.
constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;  // the file cannot be opened or read, an item is not found, a write fails
constexpr int kExitUsage = 2;

// Runs the tool on `arguments` (without the program name): data goes to `out`,
// messages to `err`. Returns the exit code.
int run(const std::vector<std::string>& arguments, FILE* out, FILE* err);

}  // namespace ststg

#endif
