#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "StstgCommands.h"
#include "StstgCommon.h"
#include "TOVStStorageConstants.h"

namespace ststg {

namespace {

const unsigned char kSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};

// Why a file that can be read was still refused: the signature tells a foreign file
// from a compound file whose header the library does not accept.
std::string refusalReason(const std::string& path) {
    FILE* file = TOVXFilePath(path).OpenFile("rb");
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
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(std::filesystem::u8path(path), error);
    if (error) {
        console.fail(path, error.message());
        return nullptr;
    }
    if (std::filesystem::is_directory(status)) {
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

bool writeAll(FILE* file, const std::vector<unsigned char>& bytes) {
    if (bytes.empty()) return true;
    return std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
}

int usageError(const Console& console, const std::string& command, const std::string& message) {
    const std::string help = command.empty() ? "ststg --help" : "ststg " + command + " --help";
    std::fprintf(console.err, "ststg: %s\nTry '%s' for more information.\n", message.c_str(), help.c_str());
    return kExitUsage;
}

}  // namespace ststg
