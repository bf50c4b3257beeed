#ifndef TOVST_STORAGE_CONSTANTS_H
#define TOVST_STORAGE_CONSTANTS_H

#include <cstdint>

// Special sector values of the allocation tables.
constexpr uint32_t FREESECT = 0xFFFFFFFFu;    // unallocated sector
constexpr uint32_t ENDOFCHAIN = 0xFFFFFFFEu;  // last sector of a chain
constexpr uint32_t FATSECT = 0xFFFFFFFDu;     // sector holds part of the FAT
constexpr uint32_t DIFSECT = 0xFFFFFFFCu;     // sector holds part of the DIFAT

// True for the four values above: each ends a chain wherever a chain is followed.
constexpr bool isSpecialSector(uint32_t sector) { return sector >= DIFSECT; }

// Header layout.
constexpr unsigned kHeaderFatOffset = 76;       // the header's own list of FAT sectors starts here
constexpr unsigned kDirEntrySize = 128;         // bytes per directory entry
constexpr unsigned kDirNameBytes = 64;          // bytes of the stored name field
constexpr uint16_t kLittleEndianMark = 0xFFFE;  // byte-order field read as little-endian (stored FE FF)
constexpr unsigned kMaxDirectorySectorCount = 5;

// Entry types.
enum tovtagSTGTY : uint8_t {
    STGTY_INVALID = 0,
    STGTY_STORAGE = 1,
    STGTY_STREAM = 2,
    STGTY_LOCKBYTES = 3,
    STGTY_PROPERTY = 4,
    STGTY_ROOT = 5,
};

#endif
