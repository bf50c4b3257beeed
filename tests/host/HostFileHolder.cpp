// The other process of the retry tests: holds a file open through the platform's service in
// the mode it is given, says so on its standard output ('1' opened, '0' refused), and lets
// go when its standard input ends.
//
//     tovx_file_holder PATH MODE        MODE in hexadecimal, e.g. 10 for read, share exclusive
#include <cstdio>
#include <cstdlib>
#include <string>

#include "TOVXStorageApi.h"
#include "TOVXString.h"

#ifdef _WIN32
#include <shellapi.h>
#endif

namespace {

// The path as the platform takes it. Windows hands a program its arguments in the machine's
// code page, so the path is taken from the UTF-16 command line there.
std::u16string widePath(char** argv) {
#ifdef _WIN32
    static_cast<void>(argv);
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::u16string path = wide != nullptr && count > 1 ? std::u16string(wide[1], wide[1] + wcslen(wide[1])) : u"";
    LocalFree(wide);
    return path;
#else
    const TOVXString text = TOVXString::FromUtf8(argv[1]);
    std::u16string path;
    for (int i = 0; i < text.length(); ++i) path.push_back(static_cast<char16_t>(text.At(i)));
    return path;
#endif
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: tovx_file_holder PATH MODE\n");
        return 2;
    }
    const std::u16string path = widePath(argv);
    const DWORD mode = static_cast<DWORD>(std::strtoul(argv[2], nullptr, 16));
    IStorage* storage = nullptr;
    const HRESULT code = StgOpenStorage(reinterpret_cast<const WCHAR*>(path.c_str()), nullptr, mode, nullptr, 0, &storage);
    std::fputc(SUCCEEDED(code) && storage != nullptr ? '1' : '0', stdout);
    std::fflush(stdout);
    while (std::fgetc(stdin) != EOF) {
    }
    if (storage != nullptr) storage->Release();
    return 0;
}
