#include "StstgProcess.h"

#include <cstdio>

#ifdef _WIN32
#include "TOVXPlatform.h"  // <windows.h>, before shellapi.h, which builds on its types

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#endif

namespace ststg {

#ifdef _WIN32

std::vector<std::string> commandLineArguments(int argc, char** argv) {
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    if (wide == nullptr) {  // no wide command line: the code page's text is all there is
        for (int i = 1; i < argc; ++i) arguments.emplace_back(argv[i]);
        return arguments;
    }
    for (int i = 1; i < count; ++i) arguments.push_back(tovxplatform::utf8FromWide(wide[i]));
    LocalFree(wide);
    return arguments;
}

void useBinaryStandardStreams() {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    SetConsoleOutputCP(CP_UTF8);  // names and values are printed as UTF-8
}

#else

std::vector<std::string> commandLineArguments(int argc, char** argv) {
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i) arguments.emplace_back(argv[i]);
    return arguments;
}

void useBinaryStandardStreams() {}  // POSIX streams do not translate line ends

#endif

}  // namespace ststg
