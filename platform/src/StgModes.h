#ifndef TOVX_STG_MODES_H
#define TOVX_STG_MODES_H

// The access modes that a read-only service accepts, and the records it fills about elements.

#include "StgCompoundFile.h"

namespace tovxstg {

// The mode of a file's open: read access (a write mode gives STG_E_ACCESSDENIED; creation,
// conversion, deletion on release and unknown bits STG_E_INVALIDFLAG) and any share mode.
HRESULT checkFileMode(DWORD mode, StgFile::Share& share);

// The mode of an element opened inside a storage, or of a property set: read access shared
// with nobody (STGM_SHARE_EXCLUSIVE), as the platform asks of every child.
HRESULT checkChildMode(DWORD mode);

// A name of a child as the caller gives it: null gives STG_E_INVALIDPOINTER, 32 units or more
// STG_E_INVALIDNAME.
HRESULT childName(const OLECHAR* text, std::u16string& name);

// Fills `stat` for an element, with its name unless STATFLAG_NONAME asks for none; an unknown
// flag gives STG_E_INVALIDFLAG, a name that cannot be allocated E_OUTOFMEMORY.
HRESULT fillStat(STATSTG& stat, const StgDirectoryEntry& entry, DWORD type, const std::u16string& name,
                 DWORD mode, DWORD flag);

}  // namespace tovxstg

#endif
