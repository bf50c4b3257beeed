#ifndef STSTG_PIPE_H
#define STSTG_PIPE_H

#include <cstddef>
#include <cstdio>

namespace ststg {

// Output that goes to a pipe moves in megabyte steps: with the kernel's default 64 KiB pipe
// the writer and the reader take turns sixteen times as often (a 1 GiB cat took four times as
// long). Where the pipe cannot grow, it stays as it is.
void widenOutputPipe(FILE* out);

// Hands the pages of `bytes` to the pipe that `out` writes into, without copying them, and
// gives how many of the `count` bytes went; 0 where `out` is no pipe or the system has no
// such call (the caller writes what is left). The reader copies from those very pages, so
// the caller must leave them untouched, and their memory unreleased, until the process ends.
size_t lendToPipe(FILE* out, const unsigned char* bytes, size_t count);

}  // namespace ststg

#endif
