#include "StstgInput.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "StstgCommands.h"
#include "TOVXFilePath.h"
#include "TOVXPlatform.h"

namespace ststg {

namespace {

const unsigned char kSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};

// A path that can be read as a file, or a message saying why not.
bool readableFile(const std::string& path, const std::string& shown, const Console& console) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(std::filesystem::u8path(path), error);
    if (error) {
        console.fail(shown, error.message());
        return false;
    }
    if (std::filesystem::is_directory(status)) {
        console.fail(shown, "is a directory");
        return false;
    }
    return true;
}

}  // namespace

std::string refusalReason(const std::string& path, const std::string& refusedText) {
    FILE* file = TOVXFilePath(path).OpenFile("rb");
    if (file == nullptr) return std::strerror(errno);
    unsigned char head[sizeof kSignature] = {};
    const size_t got = std::fread(head, 1, sizeof head, file);
    std::fclose(file);
    if (got == sizeof head && std::memcmp(head, kSignature, sizeof head) == 0) return refusedText;
    return "not a compound file";
}

OpenedInput::~OpenedInput() {
    road_.reset();  // the reader lets go of the file before its copy goes
    std::error_code ignored;
    if (!temporary_.empty()) std::filesystem::remove(std::filesystem::u8path(temporary_), ignored);
}

bool OpenedInput::open(const std::string& operand, RoadChoice choice, const Console& console) {
    shown_ = operand;
    path_ = operand;
    if (operand == "-" && !copyStandardInput(console)) return false;
    if (!readableFile(path_, shown_, console)) return false;
    if (choice == RoadChoice::Native) road_ = openNativeRoad(path_, shown_, console, false);
    if (choice == RoadChoice::Host) road_ = openHostRoad(path_, shown_, console, false);
    if (choice != RoadChoice::Default) return road_ != nullptr;

    road_ = openHostRoad(path_, shown_, console, true);
    if (road_ != nullptr) return true;
    road_ = openNativeRoad(path_, shown_, console, true);
    if (road_ != nullptr) {
        console.warn(shown_, "the platform's service refuses this file as damaged; "
                             "what follows is the library's own, lenient reading");
        road_->damage().addProblem();
        return true;
    }
    console.fail(shown_, refusalReason(path_, "compound file not accepted: damaged header or a layout "
                                              "that neither the platform's service nor this library reads"));
    return false;
}

// Standard input may be a pipe, which cannot be read twice or seeked: it goes to a private
// temporary file first.
bool OpenedInput::copyStandardInput(const Console& console) {
    shown_ = "-";
    if (::isatty(::fileno(console.in)) == 1) {
        console.fail("-", "standard input is a terminal; pipe a compound file in, or name one");
        return false;
    }
    // The system's temporary folder, a name nobody else has, owner-only where the system has modes.
    temporary_ = tovxplatform::createTemporaryFile();
    FILE* copy = temporary_.empty() ? nullptr : TOVXFilePath(temporary_).OpenFile("wb");
    if (copy == nullptr) {
        console.fail("-", std::string("cannot make a temporary file: ") + std::strerror(errno));
        return false;
    }
    path_ = temporary_;
    char buffer[1 << 16];
    bool written = true;
    for (size_t got; written && (got = std::fread(buffer, 1, sizeof buffer, console.in)) > 0;)
        written = std::fwrite(buffer, 1, got, copy) == got;
    const bool readFailed = std::ferror(console.in) != 0;
    if (std::fclose(copy) != 0) written = false;
    if (readFailed || !written) {
        console.fail("-", readFailed ? "cannot read standard input" : std::string("cannot copy standard input: ") + std::strerror(errno));
        return false;
    }
    return true;
}

int OpenedInput::finish(int code, bool strict, const Console& console) {
    const bool written = console.outputWritten();
    if (road_ != nullptr) {
        road_->letGoOfFile();
        road_->assessDamageOnce();
        road_->damage().tell(console, shown_);
    }
    if (!written) return kExitFailure;
    if (code == kExitOk && strict && road_ != nullptr && road_->damage().any()) return kExitFailure;
    return code;
}

}  // namespace ststg
