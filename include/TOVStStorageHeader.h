#ifndef TOVST_STORAGE_HEADER_H
#define TOVST_STORAGE_HEADER_H

#include <cstdint>

// The header record of a compound file, as read from its first 512 bytes (and, with
// 4096-byte sectors, the FAT list up to the end of the first sector).
struct TOVStStorageHeader {
    uint32_t* headerFatSectors = nullptr;  // FAT sector list of the header; lives during the load only
    unsigned char signature[8] = {};
    unsigned char clsID[16] = {};
    uint16_t minorVersion = 0;
    uint16_t majorVersion = 0;
    uint16_t byteOrder = 0;
    uint16_t sectorShift = 0;
    uint16_t miniSectorShift = 0;
    uint16_t reservedShort = 0;
    uint32_t reservedLong = 0;
    uint32_t directorySectorCount = 0;
    uint32_t fatSectorCount = 0;
    uint32_t firstDirectorySector = 0;
    uint32_t transactionSignature = 0;
    uint32_t miniStreamCutoff = 0;
    uint32_t firstMiniFatSector = 0;
    uint32_t miniFatSectorCount = 0;
    uint32_t firstDifSector = 0;
    uint32_t difSectorCount = 0;
    uint32_t headerFatBytes = 0;  // sector size less 76; 0 when the sector shift is neither 9 nor 12

    TOVStStorageHeader() = default;
    TOVStStorageHeader(const TOVStStorageHeader&) = default;
    TOVStStorageHeader& operator=(const TOVStStorageHeader&) = default;
    // Never releases the table: the image that read it does.
    ~TOVStStorageHeader() { headerFatSectors = nullptr; }
};

#endif
