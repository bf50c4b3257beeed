#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "StstgCommands.h"

int main(int argc, char** argv) {
#ifdef SIGXFSZ
    // A file that outgrows the size limit fails its write, which extract reports, instead of
    // ending the program half-way.
    std::signal(SIGXFSZ, SIG_IGN);
#endif
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i) arguments.emplace_back(argv[i]);
    return ststg::run(arguments, stdout, stderr);
}
