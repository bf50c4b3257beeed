#ifndef STSTG_CONSOLE_H
#define STSTG_CONSOLE_H

#include <cstdio>
#include <string>

namespace ststg {

// The streams of one run. Data goes to `out`, every message to `err`.
struct Console {
    FILE* out;
    FILE* err;
    FILE* in;
    void fail(const std::string& file, const std::string& message) const;  // "ststg: FILE: MESSAGE"
    void fail(const std::string& message) const;                           // "ststg: MESSAGE"
    void warn(const std::string& file, const std::string& message) const;  // "ststg: FILE: warning: MESSAGE"
    // Flushes `out`; false, after saying so, when some output could not be written.
    bool outputWritten() const;
};

// A usage error: the message and a pointer to the help of `command` (the tool's when
// empty). Gives the exit code 2.
int usageError(const Console& console, const std::string& command, const std::string& message);

}  // namespace ststg

#endif
