#include "StstgPipe.h"

#ifdef __linux__
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>

#include <cerrno>
#endif

namespace ststg {

#ifdef __linux__

namespace {

bool isPipe(FILE* out, int& descriptor) {
    struct stat status;
    descriptor = ::fileno(out);
    return descriptor >= 0 && ::fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode);
}

}  // namespace

void widenOutputPipe(FILE* out) {
    // An unprivileged process may grow a pipe to the system's limit, a megabyte by default.
    constexpr int kPipeBytes = 1 << 20;
    int descriptor = -1;
    if (isPipe(out, descriptor)) (void)::fcntl(descriptor, F_SETPIPE_SZ, kPipeBytes);
}

size_t lendToPipe(FILE* out, const unsigned char* bytes, size_t count) {
    int descriptor = -1;
    if (count == 0 || !isPipe(out, descriptor) || std::fflush(out) != 0) return 0;
    size_t lent = 0;
    while (lent < count) {
        iovec piece{const_cast<unsigned char*>(bytes + lent), count - lent};
        const ssize_t taken = ::vmsplice(descriptor, &piece, 1, 0);
        if (taken > 0) lent += static_cast<size_t>(taken);
        else if (taken < 0 && errno == EINTR) continue;
        else break;  // the rest is written the usual way, which reports what went wrong
    }
    return lent;
}

#else

void widenOutputPipe(FILE*) {}

size_t lendToPipe(FILE*, const unsigned char*, size_t) { return 0; }

#endif

}  // namespace ststg
