#ifndef TOVI_STREAM_H
#define TOVI_STREAM_H

#include <cstdint>
#include <cstdio>

#include "TOVStStorageDirEntry.h"
#include "TOVXDynamicArray.h"

// The bytes of one stream, whole in memory, with a read position. Appending always
// goes to the end and leaves the position alone. Every operation returns 0; out
// counts tell what moved.
class TOVIStream {
public:
    explicit TOVIStream(uint32_t size);
    TOVIStream(const TOVIStream& other);
    TOVIStream& operator=(const TOVIStream& other);
    ~TOVIStream() = default;

    int Read(void* buffer, uint32_t count, uint32_t* outCount);
    int Write(const void* buffer, uint32_t count, uint32_t* outCount);
    int Seek(uint32_t first, uint32_t second);  // position = first + second, wrapping at 32 bits
    int SeekCur(uint32_t offset);
    int Stat(TOVStStorageDirEntry* entry);
    int Dump(FILE* file);
    TOVStStorageDirEntry getDirEntry() { return dirEntry; }
    void setDirEntry(const TOVStStorageDirEntry& entry) { dirEntry = entry; }

    uint32_t length() const { return static_cast<uint32_t>(bytes.Count()); }
    uint32_t tell() const { return position; }
    const unsigned char* data() const { return bytes.First(); }

private:
    friend class TOVIStorage;
    // Appends `count` bytes that the caller then fills in place, as Write would have copied
    // them; null when no memory was left (nothing is appended then).
    unsigned char* appendInPlace(uint32_t count);

    TOVXDynamicArray<unsigned char> bytes;
    uint32_t position;
    TOVStStorageDirEntry dirEntry;
};

#endif
