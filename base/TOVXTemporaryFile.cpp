#include "TOVXTemporaryFile.h"

#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

std::string temporaryFolder() {
#ifdef _WIN32
    char buffer[MAX_PATH + 1];
    const DWORD length = GetTempPathA(sizeof buffer, buffer);
    return length > 0 && length < sizeof buffer ? std::string(buffer, length) : std::string(".\\");
#else
    const char* folder = std::getenv("TMPDIR");
    std::string result = folder != nullptr && *folder != '\0' ? folder : "/tmp";
    if (result.back() != '/') result += '/';
    return result;
#endif
}

}  // namespace

TOVXTemporaryFile::TOVXTemporaryFile(const TOVXFilePath& path, const char* sourceFile, unsigned int sourceLine) {
    (void)path;
    (void)sourceFile;
    (void)sourceLine;
#ifdef _WIN32
    char name[MAX_PATH + 1];
    const std::string folder = temporaryFolder();
    if (GetTempFileNameA(folder.c_str(), "tvx", 0, name) != 0) path_ = name;
#else
    std::string pattern = temporaryFolder() + "tovxststorage-XXXXXX";
    const mode_t previous = umask(077);
    const int descriptor = mkstemp(&pattern[0]);  // O_EXCL with a random name, mode 0600
    umask(previous);
    if (descriptor >= 0) {
        close(descriptor);
        path_ = pattern;
    }
#endif
}

// The file stays when the object ends: a storage may still be open on it, and the
// caller who received its path decides when it goes.
TOVXTemporaryFile::~TOVXTemporaryFile() = default;

void TOVXTemporaryFile::GetPath(TOVXFilePath& path) { path = TOVXFilePath(path_); }
