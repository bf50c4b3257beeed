#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "StstgCommands.h"
#include "StstgCommon.h"
#include "TOVStStorageConstants.h"

namespace ststg {

namespace {

const unsigned char kSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};

// Why a file that can be read was still refused: the signature tells a foreign file
// from a compound file whose header the library does not accept.
std::string refusalReason(const std::string& path) {
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) return std::strerror(errno);
    unsigned char head[sizeof kSignature] = {};
    const size_t got = std::fread(head, 1, sizeof head, file);
    std::fclose(file);
    if (got == sizeof head && std::memcmp(head, kSignature, sizeof head) == 0)
        return "compound file not accepted: damaged header or a layout this library does not read";
    return "not a compound file";
}

}  // namespace

void Console::fail(const std::string& file, const std::string& message) const {
    std::fprintf(err, "ststg: %s: %s\n", file.c_str(), message.c_str());
}

void Console::fail(const std::string& message) const { std::fprintf(err, "ststg: %s\n", message.c_str()); }

TOVXStoragePtr openCompoundFile(const std::string& path, const Console& console) {
    struct stat info;
    if (::stat(path.c_str(), &info) != 0) {
        console.fail(path, std::strerror(errno));
        return nullptr;
    }
    if (S_ISDIR(info.st_mode)) {
        console.fail(path, "is a directory");
        return nullptr;
    }
    TOVIStorage* storage = nullptr;
    if (TOVStgOpenStorage(TOVXFilePath(path), &storage) != 0 || storage == nullptr) {
        console.fail(path, refusalReason(path));
        return nullptr;
    }
    return TOVXStoragePtr(storage);
}

bool writeAll(FILE* file, const TOVXStreamBytes& bytes) {
    if (bytes.empty()) return true;
    return std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
}

int usageError(const Console& console, const std::string& command, const std::string& message) {
    const std::string help = command.empty() ? "ststg --help" : "ststg " + command + " --help";
    std::fprintf(console.err, "ststg: %s\nTry '%s' for more information.\n", message.c_str(), help.c_str());
    return kExitUsage;
}

}  // namespace ststg
