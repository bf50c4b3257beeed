#include "StgFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tovxstg {

namespace {

// Share modes between the opens of one file, in this process or any other, are kept with
// open-file-description locks, which belong to each open() and so also part two opens in one
// process. A write lock would need a descriptor open for writing, which a read-only service
// does not ask for (the file may well be read-only to us), so every lock taken is a read lock,
// and a conflict is found by asking F_OFD_GETLK whether a write lock could be had: any other
// open's read lock on the byte says no. Every open holds the presence byte; an exclusive open
// also holds the exclusive byte. An open fails with STG_E_SHAREVIOLATION when another open holds
// the exclusive byte, and an exclusive open with STG_E_LOCKVIOLATION when another holds the
// presence byte. Locks are taken before the checks, so two racing opens may both fail but never
// both succeed. Deny-write and deny-none differ only towards writers, and this service has none.
// The bytes lie far beyond any data, where no reader of the file looks.
const off_t kPresenceByte = 0x7FFFFFFF00000000LL;
const off_t kExclusiveByte = kPresenceByte + 1;

bool lockByte(int descriptor, off_t position) {
    struct flock lock;
    std::memset(&lock, 0, sizeof lock);
    lock.l_type = F_RDLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = position;
    lock.l_len = 1;
    // A file system without these locks has no share modes to keep.
    return fcntl(descriptor, F_OFD_SETLK, &lock) == 0 || (errno != EAGAIN && errno != EACCES);
}

// True when an open other than this one holds a lock on the byte.
bool heldByOther(int descriptor, off_t position) {
    struct flock lock;
    std::memset(&lock, 0, sizeof lock);
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = position;
    lock.l_len = 1;
    if (fcntl(descriptor, F_OFD_GETLK, &lock) != 0) return false;
    return lock.l_type != F_UNLCK;
}

HRESULT statusOfOpenError(int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP:
        return STG_E_FILENOTFOUND;
    case EMFILE:
    case ENFILE:
        return STG_E_TOOMANYOPENFILES;
    default:
        return STG_E_ACCESSDENIED;
    }
}

}  // namespace

HRESULT StgFile::open(const std::string& path, Share share, std::unique_ptr<StgFile>& file) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return statusOfOpenError(errno);
    struct stat status;
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor);
        return STG_E_ACCESSDENIED;
    }
    std::unique_ptr<StgFile> opened(new StgFile(descriptor, static_cast<uint64_t>(status.st_size)));
    const HRESULT locked = opened->takeShareLocks(share);
    if (FAILED(locked)) return locked;
    file = std::move(opened);
    return S_OK;
}

HRESULT StgFile::takeShareLocks(Share share) const {
    if (share == Share::Probe) return heldByOther(descriptor_, kExclusiveByte) ? STG_E_SHAREVIOLATION : S_OK;
    const bool exclusive = share == Share::Exclusive;
    if (!lockByte(descriptor_, kPresenceByte) || (exclusive && !lockByte(descriptor_, kExclusiveByte))) {
        return STG_E_SHAREVIOLATION;
    }
    if (heldByOther(descriptor_, kExclusiveByte)) return STG_E_SHAREVIOLATION;
    if (exclusive && heldByOther(descriptor_, kPresenceByte)) return STG_E_LOCKVIOLATION;
    return S_OK;
}

StgFile::~StgFile() { ::close(descriptor_); }  // the locks go with the open

bool StgFile::readAt(uint64_t offset, void* buffer, size_t count) const {
    auto* bytes = static_cast<unsigned char*>(buffer);
    size_t done = 0;
    while (done < count && offset + done < size_) {
        const ssize_t got = ::pread(descriptor_, bytes + done, count - done, static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        if (got == 0) break;  // the file shrank under us: the rest reads as zeros
        done += static_cast<size_t>(got);
    }
    std::memset(bytes + done, 0, count - done);
    return true;
}

}  // namespace tovxstg
