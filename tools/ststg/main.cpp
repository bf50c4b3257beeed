#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "StstgCommands.h"
#include "StstgPipe.h"
#include "StstgProcess.h"

int main(int argc, char** argv) {
#ifdef SIGXFSZ
    // A file that outgrows the size limit fails its write, which extract reports, instead of
    // ending the program half-way.
    std::signal(SIGXFSZ, SIG_IGN);
#endif
    ststg::useBinaryStandardStreams();
    ststg::widenOutputPipe(stdout);
    return ststg::run(ststg::commandLineArguments(argc, argv), stdout, stderr);
}
