#include "TOVXPlatform.h"

#include <cstdlib>

#ifndef _WIN32
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace tovxplatform {

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

std::string createTemporaryFile() {
#ifdef _WIN32
    char name[MAX_PATH + 1];
    const std::string folder = temporaryFolder();
    return GetTempFileNameA(folder.c_str(), "tvx", 0, name) != 0 ? std::string(name) : std::string();
#else
    std::string pattern = temporaryFolder() + "tovxststorage-XXXXXX";
    const mode_t previous = umask(077);
    const int descriptor = mkstemp(&pattern[0]);  // O_EXCL with a random name, mode 0600
    umask(previous);
    if (descriptor < 0) return std::string();
    close(descriptor);
    return pattern;
#endif
}

bool decodeCodePage(const unsigned char* bytes, size_t count, unsigned int codePage, std::u16string& out) {
    (void)bytes;
    (void)count;
    (void)codePage;
    (void)out;
    return false;  // no system conversion yet: callers fall back to the base's own tables
}

}  // namespace tovxplatform
