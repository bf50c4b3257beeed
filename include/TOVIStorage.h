#ifndef TOVI_STORAGE_H
#define TOVI_STORAGE_H

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "TOVIPropertySetStorage.h"
#include "TOVIPropertySetStorageHandle.h"
#include "TOVIStream.h"
#include "TOVStStorageDirEntry.h"
#include "TOVStStorageFileInfo.h"
#include "TOVXDynamicArray.h"
#include "TOVXFilePath.h"
#include "TOVXString.h"

// One storage of a compound file: the root of an opened file, or a sub-storage
// reached by name. Each storage owns an image of its own.
class TOVIStorage {
public:
    explicit TOVIStorage(const TOVXFilePath& path);
    TOVIStorage();
    // Copies are deep: the copy gets an image of its own, so each destructor frees only its own.
    TOVIStorage(const TOVIStorage& other);
    TOVIStorage& operator=(const TOVIStorage& other);
    ~TOVIStorage();

    TOVStStorageDirEntry getDirectoryEntry() { return directoryEntry; }
    void setDirectoryEntry(const TOVStStorageDirEntry& entry) { directoryEntry = entry; }
    TOVStStorageFileInfo* getStStorageFileInfo() { return stStorageFileInfo; }
    void setStStorageFileInfo(TOVStStorageFileInfo* info);

    int enumElements(TOVXDynamicArray<TOVStStorageDirEntry>& out);
    // The storage's property sets. On a root whose container is empty this first reads every
    // child stream whose name begins with the unit 5 and keeps those that parse. The pointer
    // carries no reference of the caller's; it lives as long as some storage holds the container.
    TOVIPropertySetStorage* getPropertySetStorage();
    void setPropertySetStorage(TOVIPropertySetStorage* storage);
    int openStorage(const TOVXString& name, TOVIStorage** ppStorage);
    int openStream(const TOVXString& name, TOVIStream** ppStream);

private:
    void getColleagueIndexArray(uint32_t index, TOVXDynamicArray<uint32_t>& indices);
    bool searchStorage(const TOVXString& name, TOVStStorageDirEntry& entry, bool thisLevelOnly);
    bool searchStream(const TOVXString& name, TOVStStorageDirEntry& entry, bool thisLevelOnly);
    int getStreamFromFat(const TOVStStorageDirEntry& entry, TOVIStream** ppStream);
    int getStreamFromMiniFat(const TOVStStorageDirEntry& entry, TOVIStream** ppStream);
    uint64_t addPropertySet(const TOVXString& name, TOVIPropertySetStorage& container);

    // Lookups over the cached child list: for each name the first storage and the first
    // stream by directory index, and the property-set streams in order. Built once from
    // `elements`, which never changes after it is filled.
    struct ChildIndex {
        std::unordered_map<std::u16string, int> storages;
        std::unordered_map<std::u16string, int> streams;
        std::vector<int> propertySetStreams;
    };
    const ChildIndex* childIndex();
    bool findChild(const TOVXString& name, bool storage, TOVStStorageDirEntry& entry);

    TOVStStorageFileInfo* stStorageFileInfo;
    TOVStStorageDirEntry directoryEntry;
    TOVXDynamicArray<TOVStStorageDirEntry> elements;
    TOVIPropertySetStorageHandle propertySetStorage;  // shared with sub-storages opened from here
    std::unique_ptr<ChildIndex> children;              // null until a search needs it
};

// Opens the compound file at `path`: 0 with *ppStorage set to the root storage, which
// the caller destroys with tovxDelete; -1 with *ppStorage null.
int TOVStgOpenStorage(const TOVXFilePath& path, TOVIStorage** ppStorage);

#endif
