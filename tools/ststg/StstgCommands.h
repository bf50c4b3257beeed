#ifndef STSTG_COMMANDS_H
#define STSTG_COMMANDS_H

#include <cstdio>
#include <string>
#include <vector>

namespace ststg {

// Exit codes of the tool.
constexpr int kExitOk = 0;
// The file cannot be opened or read, an item is not found, a write fails or an extract is
// incomplete, binary data is refused on a terminal, or, under --strict, the file is damaged.
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

// Runs the tool on `arguments` (without the program name): data goes to `out`, messages
// to `err`, and `-` as FILE reads `in`. Returns the exit code.
int run(const std::vector<std::string>& arguments, FILE* out, FILE* err, FILE* in);
int run(const std::vector<std::string>& arguments, FILE* out, FILE* err);  // `in` is stdin

}  // namespace ststg

#endif
