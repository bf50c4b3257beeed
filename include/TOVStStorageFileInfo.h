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
// leniently; every chain walk is bounded by the number of sectors the file can hold.
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
    // The number of whole or partial sectors behind the header, which bounds every chain.
    uint32_t fileSectorCount() const { return fileSectors; }
    uint32_t fileSize() const { return fileBytes; }

private:
    void setHeader(FILE* stream);
    void readDifSector(FILE* stream);
    void readFatSector(FILE* stream);
    void readMiniFatSector(FILE* stream);
    void readDirectorySector(FILE* stream);
    void readDirEntry(FILE* stream, TOVStStorageDirEntry& entry);
    void setMiniStreamData(FILE* stream);
    void addBytesToMiniBuffer(unsigned char* bytes, int count);

    void copyFrom(const TOVStStorageFileInfo& other);
    uint32_t readWord(const unsigned char* bytes) const;
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
};

#endif
