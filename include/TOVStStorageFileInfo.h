#ifndef TOVST_STORAGE_FILE_INFO_H
#define TOVST_STORAGE_FILE_INFO_H

#include <cstdint>
#include <cstdio>

#include "TOVStStorageDirEntry.h"
#include "TOVStStorageHeader.h"
#include "TOVXDynamicArray.h"
#include "TOVXFilePath.h"

// The parsed image of one compound file: header, sector tables, directory and mini
// stream, all read when the object is built from a path. Damaged files are read
// leniently: what lies past the file reads as zeros, and the bounds of every walk
// come from the file's size (TOVStStorageFileInfo.cpp states them).
class TOVStStorageFileInfo {
public:
    TOVStStorageFileInfo();
    explicit TOVStStorageFileInfo(const TOVXFilePath& path);
    TOVStStorageFileInfo(const TOVStStorageFileInfo& other);
    ~TOVStStorageFileInfo();
    TOVStStorageFileInfo operator=(const TOVStStorageFileInfo& other);

    bool checkHeader();
    bool checkValidity() { return valid; }
    TOVStStorageHeader getHeader() { return header; }
    TOVXFilePath GetFilePath() const { return filePath; }

    TOVXDynamicArray<unsigned int> getFatSector() { return fatSectors; }
    TOVXDynamicArray<unsigned int> getMiniFatSector() { return miniFatSectors; }
    TOVXDynamicArray<TOVStStorageDirEntry> getDirArray() { return dirEntries; }
    TOVStStorageDirEntry getRootDirEntry();
    TOVXDynamicArray<unsigned char> getMiniStream() { return miniStream; }
    uint32_t getMiniStreamLength() const;
    uint32_t getMiniStreamStartSect() const;

    uint32_t getEquivalentFatBytePos(unsigned int sector) const;
    uint32_t getEquivalentMiniFatBytePos(unsigned int miniSector) const;

    // Read-only views for walks inside the library and for tests.
    const TOVXDynamicArray<unsigned int>& fatTable() const { return fatSectors; }
    const TOVXDynamicArray<unsigned int>& miniFatTable() const { return miniFatSectors; }
    const TOVXDynamicArray<unsigned int>& difTable() const { return difSectors; }
    const TOVXDynamicArray<TOVStStorageDirEntry>& dirTable() const { return dirEntries; }
    const TOVXDynamicArray<unsigned char>& miniStreamBytes() const { return miniStream; }
    bool isLittleEndian() const { return littleEndian; }
    uint32_t sectorSize() const;
    // The most sectors a FAT chain visits: the whole or partial sectors behind the header, at least 1.
    uint32_t fileSectorCount() const { return fileSectors; }
    // The most mini sectors a mini chain visits: the file's size in mini sectors, at least 1.
    uint32_t fileMiniSectorCount() const { return fileMiniSectors; }
    uint32_t fileSize() const { return fileBytes; }

    // Reads `count` bytes from the start of `sector` on, over the sectors behind it when `count`
    // is larger than one; what lies past the end of `stream` or the 2 GiB position limit reads as
    // zeros. The one way sector bytes come from a file, in the load and in stream reads.
    void readSector(FILE* stream, uint32_t sector, uint32_t count, unsigned char* destination) const;

private:
    bool load(const TOVXFilePath& path, FILE*& stream);
    void setHeader(FILE* stream);
    void readDifSector(FILE* stream);
    void readFatSector(FILE* stream);
    void readMiniFatSector(FILE* stream);
    void readDirectorySector(FILE* stream);
    void readDirEntry(FILE* stream, TOVStStorageDirEntry& entry);
    void setMiniStreamData(FILE* stream);
    void addBytesToMiniBuffer(unsigned char* bytes, int count);

    void copyFrom(const TOVStStorageFileInfo& other);
    void parseDirEntry(const unsigned char* slot, TOVStStorageDirEntry& entry) const;
    uint32_t readWord(const unsigned char* bytes) const;
    const unsigned char* tableSector(FILE* stream, uint32_t sector);
    void appendTableSector(FILE* stream, uint32_t sector, TOVXDynamicArray<unsigned int>& table);

    TOVXFilePath filePath;
    TOVStStorageHeader header;
    TOVXDynamicArray<unsigned int> fatSectors;
    TOVXDynamicArray<unsigned int> miniFatSectors;
    TOVXDynamicArray<unsigned int> difSectors;
    TOVXDynamicArray<TOVStStorageDirEntry> dirEntries;
    TOVXDynamicArray<unsigned char> miniStream;
    bool valid = false;
    bool littleEndian = true;
    uint32_t fileBytes = 0;
    uint32_t fileSectors = 0;
    uint32_t fileMiniSectors = 0;
    struct LoadCache;                // the table sectors read so far; lives while the load runs
    LoadCache* loadCache = nullptr;
};

#endif
