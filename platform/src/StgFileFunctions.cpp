// The platform's file functions on POSIX files. Paths come as UTF-16 and go to the system as
// UTF-8. A file is read-only when it has no write permission for anyone.

#include "StgText.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const size_t kMaxPathUnits = 32767;
const mode_t kWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;

std::string systemPath(const WCHAR* path) {
    return path == nullptr ? std::string() : tovxstg::utf16ToUtf8(tovxstg::fromCallerText(path, kMaxPathUnits));
}

bool writeAll(int descriptor, const char* bytes, size_t count) {
    while (count > 0) {
        const ssize_t put = ::write(descriptor, bytes, count);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        bytes += put;
        count -= static_cast<size_t>(put);
    }
    return true;
}

bool copyContents(int from, int to) {
    char buffer[65536];
    for (;;) {
        const ssize_t got = ::read(from, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        if (got == 0) return true;
        if (!writeAll(to, buffer, static_cast<size_t>(got))) return false;
    }
}

}  // namespace

BOOL WINAPI CopyFileW(const WCHAR* lpExistingFileName, const WCHAR* lpNewFileName, BOOL bFailIfExists) try {
    const std::string source = systemPath(lpExistingFileName);
    const std::string target = systemPath(lpNewFileName);
    if (source.empty() || target.empty()) return FALSE;
    const int from = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
    if (from < 0) return FALSE;
    struct stat sourceStatus;
    struct stat targetStatus;
    const bool targetExists = ::stat(target.c_str(), &targetStatus) == 0;
    // Copying a file onto itself would empty it.
    if (fstat(from, &sourceStatus) != 0 || !S_ISREG(sourceStatus.st_mode) ||
        (targetExists && sourceStatus.st_dev == targetStatus.st_dev && sourceStatus.st_ino == targetStatus.st_ino)) {
        ::close(from);
        return FALSE;
    }
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (bFailIfExists ? O_EXCL : O_TRUNC);
    const int to = ::open(target.c_str(), flags, sourceStatus.st_mode & 0777);
    if (to < 0) {
        ::close(from);
        return FALSE;
    }
    bool copied = copyContents(from, to);
    // The copy takes the read-only attribute along, as the platform's copy does; an existing
    // target keeps its other permissions.
    if (copied && (sourceStatus.st_mode & kWriteBits) == 0) {
        struct stat written;
        copied = fstat(to, &written) == 0 && fchmod(to, written.st_mode & 07777 & ~kWriteBits) == 0;
    }
    copied = ::close(to) == 0 && copied;
    ::close(from);
    return copied ? TRUE : FALSE;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return FALSE;
}

DWORD WINAPI GetFileAttributesW(const WCHAR* lpFileName) try {
    const std::string path = systemPath(lpFileName);
    struct stat status;
    if (path.empty() || ::stat(path.c_str(), &status) != 0) return INVALID_FILE_ATTRIBUTES;
    DWORD attributes = 0;
    if (S_ISDIR(status.st_mode)) attributes |= FILE_ATTRIBUTE_DIRECTORY;
    if ((status.st_mode & kWriteBits) == 0) attributes |= FILE_ATTRIBUTE_READONLY;
    return attributes == 0 ? FILE_ATTRIBUTE_NORMAL : attributes;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return INVALID_FILE_ATTRIBUTES;
}

BOOL WINAPI SetFileAttributesW(const WCHAR* lpFileName, DWORD dwFileAttributes) try {
    const std::string path = systemPath(lpFileName);
    struct stat status;
    if (path.empty() || ::stat(path.c_str(), &status) != 0) return FALSE;
    mode_t mode = status.st_mode & 07777;
    if (dwFileAttributes & FILE_ATTRIBUTE_READONLY) {
        mode &= ~kWriteBits;
    } else if ((mode & kWriteBits) == 0) {
        mode |= S_IWUSR;  // writable again, for its owner
    }
    return ::chmod(path.c_str(), mode) == 0 ? TRUE : FALSE;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return FALSE;
}
