#ifndef TOVX_FAILING_ALLOCATION_H
#define TOVX_FAILING_ALLOCATION_H

// Memory that runs out on purpose. While armed, every allocation of the program (operator new
// and TOVXMemoryManager::Allocate) takes one from an allowance; when it is used up, operator
// new throws std::bad_alloc and Allocate answers null. Each library call of a reading runs armed
// on its own, so the test's own work between calls never fails.

#include <cstdint>
#include <cstdlib>
#include <string>

namespace failing {

// What one reading did: the calls that succeeded, and the exceptions that left the library.
struct Outcome {
    uint64_t succeeded = 0;
    uint64_t escaped = 0;
};

// Runs `call` armed; an exception that leaves it is counted, never passed on.
template <typename Result, typename Call>
Result armed(Outcome& outcome, Result failure, Call call);

void arm();
void disarm();
void noteEscape(Outcome& outcome);

// With TOVX_DEBUG_ESCAPE set, an escaping exception stops the program where it was thrown, for a debugger.
template <typename Result, typename Call>
Result armed(Outcome& outcome, Result failure, Call call) {
    arm();
    try {
        const Result result = std::getenv("TOVX_DEBUG_ESCAPE") ? [&]() noexcept { return call(); }() : call();
        disarm();
        return result;
    } catch (...) {
        disarm();
        noteEscape(outcome);
        return failure;
    }
}

// The whole file read through one stack, each library call armed: open, every storage listed
// and opened, every stream read, every property set and every property read.
Outcome readNative(const std::string& path);
Outcome readHost(const std::string& path);

}  // namespace failing

#endif
