#include "TOVIStream.h"

#include <cstring>

#include "TOVStFileRead.h"

// No byte of a stream lies at or past the 2 GiB position limit: larger sizes are not reserved,
// and reserving is a hint anyway (appending still works).
TOVIStream::TOVIStream(uint32_t size) : position(0) {
    if (size <= kLargestPosition) bytes.Reserve(static_cast<int>(size));
}

TOVIStream::TOVIStream(const TOVIStream& other) : bytes(other.bytes), position(other.position), dirEntry(other.dirEntry) {}

TOVIStream& TOVIStream::operator=(const TOVIStream& other) {
    if (&other != this) bytes = other.bytes;
    position = other.position;
    dirEntry = other.dirEntry;
    return *this;
}

int TOVIStream::Read(void* buffer, uint32_t count, uint32_t* outCount) {
    const uint32_t available = position < length() ? length() - position : 0;
    const uint32_t delivered = count < available ? count : available;
    if (delivered > 0) std::memcpy(buffer, bytes.First() + position, delivered);
    position += delivered;
    if (outCount != nullptr) *outCount = delivered;
    return 0;
}

int TOVIStream::Write(const void* buffer, uint32_t count, uint32_t* outCount) {
    const uint32_t before = length();
    // Appends at the end whatever the position; the position does not move.
    if (count > 0 && buffer != nullptr && count <= kLargestPosition)
        bytes.AddRun(static_cast<const unsigned char*>(buffer), static_cast<int>(count));
    if (outCount != nullptr) *outCount = length() - before;
    return 0;
}

int TOVIStream::Seek(uint32_t first, uint32_t second) {
    position = first + second;
    return 0;
}

int TOVIStream::SeekCur(uint32_t offset) {
    position += offset;  // wraps at 32 bits: 0xFFFFFFFF steps one byte back
    return 0;
}

int TOVIStream::Stat(TOVStStorageDirEntry* entry) {
    if (entry != nullptr) *entry = dirEntry;
    return 0;
}

int TOVIStream::Dump(FILE* file) {
    if (file == nullptr) return 0;
    if (length() > 0) (void)std::fwrite(bytes.First(), 1, length(), file);
    return 0;
}
