#ifndef TOVST_FILE_READ_H
#define TOVST_FILE_READ_H

#include <cstdint>
#include <cstdio>

// File read primitives of the image load and the stream reads. Short reads are not
// reported: missing bytes read as zeros.

// Positions are signed 32-bit offsets: a position at or above 2 GiB cannot be reached and reads as zeros.
constexpr uint32_t kLargestPosition = 0x7FFFFFFFu;

// Multi-byte fields: with `littleEndian` false the first stored byte is the most significant.
inline uint16_t decode16(const unsigned char* bytes, bool littleEndian) {
    return littleEndian ? static_cast<uint16_t>(bytes[0] | bytes[1] << 8) : static_cast<uint16_t>(bytes[1] | bytes[0] << 8);
}

inline uint32_t decode32(const unsigned char* bytes, bool littleEndian) {
    return littleEndian ? (uint32_t(bytes[0]) | uint32_t(bytes[1]) << 8 | uint32_t(bytes[2]) << 16 | uint32_t(bytes[3]) << 24)
                        : (uint32_t(bytes[3]) | uint32_t(bytes[2]) << 8 | uint32_t(bytes[1]) << 16 | uint32_t(bytes[0]) << 24);
}

void readFileValue(FILE* stream, void* destination, int size, bool littleEndian);
void readFileByte(FILE* stream, unsigned char& value);
void readFileUShort(FILE* stream, uint16_t& value, bool littleEndian);
void readFileULong(FILE* stream, uint32_t& value, bool littleEndian);
void readFileBytes(FILE* stream, int count, unsigned char* destination);
void seekFile(FILE* stream, uint32_t position);

#endif
