#ifndef STSTG_INPUT_H
#define STSTG_INPUT_H

#include <memory>
#include <string>

#include "StstgArguments.h"
#include "StstgConsole.h"
#include "StstgRoad.h"

namespace ststg {

// The file of one command, opened on the road the command line chose. FILE "-" is
// standard input, copied to a temporary file (removed again when the object ends) and
// then opened as any file.
class OpenedInput {
public:
    OpenedInput() = default;
    ~OpenedInput();
    OpenedInput(const OpenedInput&) = delete;
    OpenedInput& operator=(const OpenedInput&) = delete;

    // Opens `operand`. With the default road the platform's service reads the file; where
    // it refuses a file that the library's own reader takes, one warning says so and the
    // library's lenient reading follows. False, after saying why, when nothing reads it.
    bool open(const std::string& operand, RoadChoice choice, const Console& console);

    Road& road() { return *road_; }
    const std::string& shown() const { return shown_; }  // the file as messages name it
    const std::string& path() const { return path_; }    // the file that is read

    // Ends the command: tells the damage found in the file, makes sure the output was
    // written, and gives the exit code: `code`, or 1 when the output failed or, under
    // --strict, when the file is damaged.
    int finish(int code, bool strict, const Console& console);

private:
    bool copyStandardInput(const Console& console);

    std::string shown_;
    std::string path_;
    std::string temporary_;  // the copy of standard input, when there is one
    std::unique_ptr<Road> road_;
};

// Why a file that exists was refused: "not a compound file" when its signature is not
// that of a compound file, else `refusedText`; the system's message when it cannot be read.
std::string refusalReason(const std::string& path, const std::string& refusedText);

}  // namespace ststg

#endif
