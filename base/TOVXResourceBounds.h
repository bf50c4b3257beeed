#ifndef TOVX_RESOURCE_BOUNDS_H
#define TOVX_RESOURCE_BOUNDS_H

#include <cstdint>

// What reading a file may cost, whatever the file declares. Files arrive from anywhere, so
// every stack (the native one, the platform stand-in under the host stack, and ststg over
// both) holds to one promise: opening a file of N bytes, walking its whole tree, opening
// every stream, parsing every property set and printing it takes time O(N log N) at worst,
// and allocates at most a small constant times N plus a fixed amount. Four rules give it:
//  - Nothing is allocated for a size, count or offset that the file cannot back: tables,
//    streams and lists grow with what the file holds, never with what it claims. The one
//    fixed amount is the native FAT, which a DIFAT may make about 17 MB for any file
//    (TOVStStorageFileInfo.cpp derives it from the 2 GiB position limit).
//  - Every walk is bounded by what the file can hold: a chain of sectors visits at most the
//    file's sector count (a chain that loops is cut, or, for a small stream, walked again
//    within the same count until its size is used up); a walk over the directory lists at
//    most as many entries as the directory has slots, and holds each name once.
//  - A stream's bytes are held once, by whoever opened it, and no stream gives more than its
//    chain reaches. Streams whose chains share sectors each give those bytes: a caller that
//    reads them all asked for them. What the library reads on its own account, the property
//    sets of a storage, holds no more bytes in all than the file.
//  - Work that a crafted stream could make repeat (text copied out of a property stream, its
//    dictionaries, values that share their bytes) has a budget of a small multiple of the
//    stream's size.
// None of these bounds bites on a file that a writer of the format produced: there every
// sector, entry, value and string belongs to one owner and is read once. The numbers are
// stated here; each stack takes them from this header.
namespace tovxbounds {

// Bytes of the file that one directory entry takes.
constexpr uint64_t kDirectoryEntryBytes = 128;

// The most directory entries that a file of `fileBytes` bytes can hold, at least 1. A walk
// that lists more entries than this is listing some of them again.
constexpr uint64_t directoryEntriesIn(uint64_t fileBytes) { return fileBytes / kDirectoryEntryBytes + 1; }

// Text that strings and names of one property-set stream of S bytes may copy out:
// kTextPerStreamByte * S + kTextFixed bytes. Past it, further strings read empty.
constexpr uint64_t kTextPerStreamByte = 16;
constexpr uint64_t kTextFixed = 65536;
constexpr uint64_t textBudget(uint64_t streamBytes) { return kTextPerStreamByte * streamBytes + kTextFixed; }

// Dictionary entries that one property-set stream of S bytes may have read: each entry takes
// at least eight bytes of the stream, and dictionaries at different places may overlap.
constexpr uint64_t kDictionaryReadsPerEntry = 4;
constexpr uint64_t kDictionaryEntriesFixed = 4096;
constexpr uint64_t dictionaryBudget(uint64_t streamBytes) {
    return kDictionaryReadsPerEntry * (streamBytes / 8) + kDictionaryEntriesFixed;
}

// Bytes of property-set streams that the discovery of a file's sets reads, in all: the streams
// of a file that a writer produced hold no more than the file, while streams whose chains share
// sectors, or namesakes that a lookup by name leads to the first of, could hold its square.
constexpr uint64_t propertySetBytesIn(uint64_t fileBytes) { return fileBytes; }

// Bytes of a property-set stream that the values of its properties may span when they are
// decoded, summed over the values: values that share or overlap their bytes are decoded once
// each, so a crafted table could otherwise make the work the square of the stream's size.
constexpr uint64_t valueBudget(uint64_t streamBytes) { return textBudget(streamBytes); }

}  // namespace tovxbounds

// Memory running out. The library's own tables and scratch come from TOVXMemoryManager,
// which answers null, or from the standard library, which throws std::bad_alloc. No
// exception leaves the library: every public entry point runs its work through
// tovxWithoutThrowing, which turns a failed allocation into the entry point's lenient
// failure. The work must leave the objects it touches as they were or in a state that
// is complete in itself, which the entry points do by building results apart and
// assigning them at the end.
template <typename Result, typename Work>
Result tovxWithoutThrowing(Result failure, Work&& work) noexcept {
    try {
        return work();
    } catch (...) {  // the standard library throws nothing here but for memory running out
        return failure;
    }
}

// The same for work without a result.
template <typename Work>
void tovxWithoutThrowing(Work&& work) noexcept {
    try {
        work();
    } catch (...) {
    }
}

#endif
