#include <cstdio>
#include <string>
#include <vector>

#include "StstgCommands.h"
#include "StstgProcess.h"

int main(int argc, char** argv) {
    ststg::useBinaryStandardStreams();
    return ststg::run(ststg::commandLineArguments(argc, argv), stdout, stderr);
}
