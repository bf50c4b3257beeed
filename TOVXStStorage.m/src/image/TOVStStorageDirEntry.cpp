#include "TOVStStorageDirEntry.h"

#include <cstring>

TOVStStorageDirEntry::TOVStStorageDirEntry()
    : nameLength(0), type(0), bFlag(0), leftSib(0), rightSib(0), child(0), userFlag(0), time{}, startSect(0),
      size(0), propertyType(0) {
    std::memset(rawName, 0, sizeof rawName);
    std::memset(clsID, 0, sizeof clsID);
}

TOVStStorageDirEntry::TOVStStorageDirEntry(const TOVStStorageDirEntry& other) : TOVStStorageDirEntry() { *this = other; }

const TOVStStorageDirEntry& TOVStStorageDirEntry::operator=(const TOVStStorageDirEntry& other) {
    if (&other == this) return *this;
    std::memcpy(rawName, other.rawName, sizeof rawName);
    name = other.name;
    nameLength = other.nameLength;
    type = other.type;
    bFlag = other.bFlag;
    leftSib = other.leftSib;
    rightSib = other.rightSib;
    child = other.child;
    std::memcpy(clsID, other.clsID, sizeof clsID);
    userFlag = other.userFlag;
    time[0] = other.time[0];
    time[1] = other.time[1];
    startSect = other.startSect;
    size = other.size;
    propertyType = other.propertyType;
    return *this;
}

void TOVStStorageDirEntry::setName(const unsigned char* bytes) {
    std::memcpy(rawName, bytes, sizeof rawName);
    // Only the low byte of each stored 16-bit unit is kept: a character above 0xFF
    // comes out as its low byte. The name ends at the first zero unit, or after 32.
    unsigned short units[kDirNameBytes / 2 + 1];
    int count = 0;
    while (count < static_cast<int>(kDirNameBytes / 2) && rawName[2 * count] != 0) {
        units[count] = rawName[2 * count];
        ++count;
    }
    units[count] = 0;
    name = TOVXString(units);
}

void TOVStStorageDirEntry::setClsID(const unsigned char* bytes) { std::memcpy(clsID, bytes, sizeof clsID); }

bool TOVStStorageDirEntry::isNameValid() {
    // nameLength counts bytes, terminator included, so 64 is the largest that passes.
    if (nameLength == 0 || nameLength > kDirNameBytes) return false;
    for (unsigned i = 0; i < nameLength; ++i)
        if (rawName[i] != 0) return true;
    return false;
}

bool TOVStStorageDirEntry::isValid() {
    if (type == STGTY_INVALID || type > STGTY_ROOT) return false;
    if (!isNameValid()) return false;
    return bFlag == 0 || bFlag == 1;
}

bool TOVStStorageDirEntry::operator==(const TOVStStorageDirEntry& other) {
    if (name.compareTo(other.name) == 0) return true;
    return nameLength == other.nameLength && type == other.type && bFlag == other.bFlag && leftSib == other.leftSib &&
           rightSib == other.rightSib && child == other.child && size == other.size;
}
