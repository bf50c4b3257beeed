#ifndef TOVST_STORAGE_DIR_ENTRY_H
#define TOVST_STORAGE_DIR_ENTRY_H

#include <cstdint>

#include "TOVStStorageConstants.h"
#include "TOVXFileTime.h"
#include "TOVXString.h"

// One 128-byte directory entry, by value.
class TOVStStorageDirEntry {
public:
    TOVStStorageDirEntry();
    TOVStStorageDirEntry(const TOVStStorageDirEntry& other);
    const TOVStStorageDirEntry& operator=(const TOVStStorageDirEntry& other);
    ~TOVStStorageDirEntry() = default;

    unsigned int getChild() const { return child; }
    unsigned int getLeftSib() const { return leftSib; }
    unsigned int getRightSib() const { return rightSib; }
    unsigned int getStartSect() const { return startSect; }
    uint32_t getSize() const { return size; }
    tovtagSTGTY getType() const { return static_cast<tovtagSTGTY>(type); }
    TOVXString getName() const { return name; }
    uint16_t getNameLength() const { return nameLength; }
    uint8_t getBFlag() const { return bFlag; }
    const unsigned char* getRawName() const { return rawName; }
    const unsigned char* getClsID() const { return clsID; }
    uint32_t getUserFlag() const { return userFlag; }
    uint16_t getPropertyType() const { return propertyType; }

    void setName(const unsigned char* bytes);
    void setNameLength(unsigned short value) { nameLength = value; }
    void setType(unsigned char value) { type = value; }
    void setBFlag(unsigned char value) { bFlag = value; }
    void setLeftSib(unsigned int value) { leftSib = value; }
    void setRightSib(unsigned int value) { rightSib = value; }
    void setChild(unsigned int value) { child = value; }
    void setStartSect(unsigned int value) { startSect = value; }
    void setSize(uint32_t value) { size = value; }
    void setUserFlag(uint32_t value) { userFlag = value; }
    void setPropertyType(unsigned short value) { propertyType = value; }
    void setClsID(const unsigned char* bytes);
    void setTime(FILETIME*) {}  // the entry keeps no time: both stored times stay zero

    bool isRoot() { return type == STGTY_ROOT; }
    bool isStorage() { return type == STGTY_STORAGE; }  // the root does not count as a storage
    bool isStream() { return type == STGTY_STREAM; }
    bool isNameValid();
    bool isValid();
    // Same name, or the same length, type, colour, links and size: either is enough.
    bool operator==(const TOVStStorageDirEntry& other);

private:
    unsigned char rawName[kDirNameBytes];
    TOVXString name;
    uint16_t nameLength;
    uint8_t type;
    uint8_t bFlag;
    uint32_t leftSib;
    uint32_t rightSib;
    uint32_t child;
    unsigned char clsID[16];
    uint32_t userFlag;
    FILETIME time[2];
    uint32_t startSect;
    uint32_t size;
    uint16_t propertyType;
};

#endif
