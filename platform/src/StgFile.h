#ifndef TOVX_STG_FILE_H
#define TOVX_STG_FILE_H

// One open of a file on disk, read with pread, with the share mode of the open held as locks
// for as long as the object lives.

#include "TOVXStorageApi.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace tovxstg {

class StgFile {
public:
    enum class Share {
        Probe,      // a look at the file that holds no lock but yields to an exclusive open
        DenyNone,   // other readers and writers welcome
        DenyWrite,  // other readers welcome
        Exclusive,  // nobody else, also for deny-read: every other open of this service reads
    };

    // Opens `path` (UTF-8) for reading with the given share mode. Gives S_OK, STG_E_FILENOTFOUND,
    // STG_E_ACCESSDENIED (also for a folder), STG_E_SHAREVIOLATION, STG_E_LOCKVIOLATION or
    // STG_E_TOOMANYOPENFILES.
    static HRESULT open(const std::string& path, Share share, std::unique_ptr<StgFile>& file);

    ~StgFile();
    StgFile(const StgFile&) = delete;
    StgFile& operator=(const StgFile&) = delete;

    uint64_t size() const { return size_; }
    // Reads `count` bytes from `offset`; what lies past the end of the file reads as zeros.
    // False on a read error.
    bool readAt(uint64_t offset, void* buffer, size_t count) const;

private:
    StgFile(int descriptor, uint64_t size) : descriptor_(descriptor), size_(size) {}
    HRESULT takeShareLocks(Share share) const;

    int descriptor_;
    uint64_t size_;
};

}  // namespace tovxstg

#endif
