#include <cstdio>
#include <string>
#include <vector>

#include "StstgCommands.h"

int main(int argc, char** argv) {
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i) arguments.emplace_back(argv[i]);
    return ststg::run(arguments, stdout, stderr);
}
