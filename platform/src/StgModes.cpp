#include "StgModes.h"

#include "StgText.h"

#include <cstring>

namespace tovxstg {

namespace {

const DWORD kAccessBits = 0x3;
const DWORD kShareBits = 0x70;
const DWORD kRefusedBits = STGM_CREATE | STGM_CONVERT | STGM_DELETEONRELEASE;
const DWORD kKnownBits = kAccessBits | kShareBits | kRefusedBits | STGM_TRANSACTED | STGM_SIMPLE | STGM_PRIORITY |
                         STGM_NOSCRATCH | STGM_NOSNAPSHOT | STGM_DIRECT_SWMR;
const size_t kMaxNameUnits = 31;

HRESULT checkCommonBits(DWORD mode) {
    if ((mode & ~kKnownBits) != 0 || (mode & kRefusedBits) != 0) return STG_E_INVALIDFLAG;
    if ((mode & kAccessBits) == kAccessBits || (mode & kShareBits) > STGM_SHARE_DENY_NONE) return STG_E_INVALIDFLAG;
    if ((mode & kAccessBits) != STGM_READ) return STG_E_ACCESSDENIED;
    return S_OK;
}

}  // namespace

HRESULT checkFileMode(DWORD mode, StgFile::Share& share) {
    const HRESULT status = checkCommonBits(mode);
    if (FAILED(status)) return status;
    switch (mode & kShareBits) {
    case STGM_SHARE_EXCLUSIVE:
    case STGM_SHARE_DENY_READ:  // every other open reads, so denying reading shuts out all
        share = StgFile::Share::Exclusive;
        break;
    case STGM_SHARE_DENY_WRITE:
        share = StgFile::Share::DenyWrite;
        break;
    default:
        share = StgFile::Share::DenyNone;
        break;
    }
    return S_OK;
}

HRESULT checkChildMode(DWORD mode) {
    const HRESULT status = checkCommonBits(mode);
    if (FAILED(status)) return status;
    return (mode & kShareBits) == STGM_SHARE_EXCLUSIVE ? S_OK : STG_E_INVALIDFLAG;
}

HRESULT childName(const OLECHAR* text, std::u16string& name) {
    if (text == nullptr) return STG_E_INVALIDPOINTER;
    bool cut = false;
    name = fromCallerText(text, kMaxNameUnits, &cut);
    return cut ? STG_E_INVALIDNAME : S_OK;
}

HRESULT fillStat(STATSTG& stat, const StgDirectoryEntry& entry, DWORD type, const std::u16string& name,
                 DWORD mode, DWORD flag) {
    if (flag != STATFLAG_DEFAULT && flag != STATFLAG_NONAME) return STG_E_INVALIDFLAG;
    std::memset(&stat, 0, sizeof stat);
    if (flag == STATFLAG_DEFAULT) {
        stat.pwcsName = callerCopy(name);
        if (stat.pwcsName == nullptr) return E_OUTOFMEMORY;
    }
    stat.type = type;
    stat.cbSize.QuadPart = type == STGTY_STREAM ? entry.size : 0;
    stat.mtime = entry.modified;
    stat.ctime = entry.created;
    stat.grfMode = mode;
    stat.clsid = entry.clsid;
    stat.grfStateBits = entry.stateBits;
    return S_OK;
}

}  // namespace tovxstg
