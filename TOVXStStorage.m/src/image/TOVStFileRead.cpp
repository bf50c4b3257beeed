#include "TOVStFileRead.h"

#include <cstring>

void readFileValue(FILE* stream, void* destination, int size, bool littleEndian) {
    unsigned char buffer[8] = {};
    if (size <= 0 || size > 8) return;
    (void)std::fread(buffer, 1, static_cast<size_t>(size), stream);  // a short read leaves zeros
    unsigned char* out = static_cast<unsigned char*>(destination);
    for (int i = 0; i < size; ++i) out[i] = littleEndian ? buffer[i] : buffer[size - 1 - i];
}

void readFileByte(FILE* stream, unsigned char& value) { readFileValue(stream, &value, 1, true); }

void readFileUShort(FILE* stream, uint16_t& value, bool littleEndian) {
    unsigned char bytes[2];
    readFileValue(stream, bytes, 2, true);
    value = decode16(bytes, littleEndian);
}

void readFileULong(FILE* stream, uint32_t& value, bool littleEndian) {
    unsigned char bytes[4];
    readFileValue(stream, bytes, 4, true);
    value = decode32(bytes, littleEndian);
}

// Only what the file cannot give is cleared: the same bytes as clearing all first, without
// touching a large destination twice.
void readFileBytes(FILE* stream, int count, unsigned char* destination) {
    if (count <= 0 || destination == nullptr) return;
    const size_t got = std::fread(destination, 1, static_cast<size_t>(count), stream);
    if (got < static_cast<size_t>(count)) std::memset(destination + got, 0, static_cast<size_t>(count) - got);
}

void seekFile(FILE* stream, uint32_t position) {
    // Out of reach: park the stream at its end so that what follows reads as zeros.
    if (position > kLargestPosition)
        std::fseek(stream, 0, SEEK_END);
    else
        std::fseek(stream, static_cast<long>(position), SEEK_SET);
}

