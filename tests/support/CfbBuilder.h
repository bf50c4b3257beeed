#ifndef TOVX_TEST_CFB_BUILDER_H
#define TOVX_TEST_CFB_BUILDER_H

// A compound file builder for tests. It works in two steps:
//
//   CfbBuilder  - a tree of storages and streams; layout() places everything in sectors
//                 and gives a CfbImage, build() gives the bytes of a well-formed file.
//   CfbImage    - every structure of the file spelled out (header fields, FAT, mini FAT,
//                 DIFAT, directory entries, the sectors that hold each table). A test
//                 changes whatever it wants to break, then calls serialize().
//
// Bytes of a serialized file can be changed further with putWord() and resized at will
// to cut the file at any byte. Files too large to hold twice in memory (benchmark
// workloads of a gigabyte) take generated streams and go to disk with writeFile().

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tovxtest {

constexpr uint32_t kFreeSect = 0xFFFFFFFFu;
constexpr uint32_t kEndOfChain = 0xFFFFFFFEu;
constexpr uint32_t kFatSect = 0xFFFFFFFDu;
constexpr uint32_t kDifSect = 0xFFFFFFFCu;
constexpr uint32_t kNoStream = 0xFFFFFFFFu;  // no sibling or child

struct CfbHeader {
    std::array<uint8_t, 8> signature{{0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1}};
    std::array<uint8_t, 16> clsid{};
    uint16_t minorVersion = 0x3E;
    uint16_t majorVersion = 3;
    uint16_t byteOrder = 0xFFFE;  // written like every other field, so FE FF, or FF FE when big-endian
    uint16_t sectorShift = 9;
    uint16_t miniSectorShift = 6;
    uint16_t reservedShort = 0;
    uint32_t reservedLong = 0;
    uint32_t directorySectorCount = 0;
    uint32_t fatSectorCount = 0;
    uint32_t firstDirectorySector = kEndOfChain;
    uint32_t transactionSignature = 0;
    uint32_t miniStreamCutoff = 4096;
    uint32_t firstMiniFatSector = kEndOfChain;
    uint32_t miniFatSectorCount = 0;
    uint32_t firstDifSector = kEndOfChain;
    uint32_t difSectorCount = 0;
    // FAT sector numbers of the header, from offset 76 to the end of the first sector:
    // 109 words with 512-byte sectors, 1005 with 4096-byte ones. Missing words are FREESECT.
    std::vector<uint32_t> fatList;
};

struct CfbEntry {
    std::u16string name;               // stored as UTF-16LE, zero-terminated
    std::optional<std::array<uint8_t, 64>> rawName;  // when set, stored instead of `name`
    std::optional<uint16_t> nameLength;  // default: (units + 1) * 2, or 0 for an empty slot
    uint8_t type = 0;
    uint8_t colour = 1;  // 0 red, 1 black
    uint32_t left = kNoStream;
    uint32_t right = kNoStream;
    uint32_t child = kNoStream;
    std::array<uint8_t, 16> clsid{};
    uint32_t userFlags = 0;
    uint64_t created = 0;
    uint64_t modified = 0;
    uint32_t start = 0;
    uint32_t size = 0;
    uint16_t propertyType = 0;  // the word at offset 124
};

struct CfbImage {
    CfbHeader header;
    bool bigEndian = false;  // every multi-byte field written most significant byte first
    uint16_t sectorShift = 9;  // the layout's sector size; header.sectorShift may be set to anything

    // `sectors[n]` holds the bytes of sector n (short ones are padded with zeros). The
    // tables below are written over the sectors that carry them.
    std::vector<std::vector<uint8_t>> sectors;

    std::vector<uint32_t> fat;      // entry n written to word n of the FAT sectors, in `fatSectorIds` order
    std::vector<uint32_t> miniFat;  // the same over `miniFatSectorIds`
    std::vector<uint32_t> difat;    // FAT sector numbers beyond the header's, spread over `difatSectorIds`
    std::vector<CfbEntry> entries;  // slot n written to slot n of the `directorySectorIds` sectors

    // Streams whose bytes are made as the file is written: patternBytes(size, seed) from sector
    // `start` on, over the sectors that follow it. They lie behind every other sector.
    struct GeneratedStream {
        uint32_t start;
        uint64_t size;
        uint8_t seed;
    };
    std::vector<GeneratedStream> generated;

    std::vector<uint32_t> fatSectorIds;
    std::vector<uint32_t> difatSectorIds;  // each links to the next; the last link is ENDOFCHAIN
    std::vector<uint32_t> miniFatSectorIds;
    std::vector<uint32_t> directorySectorIds;

    uint32_t sectorSize() const { return 1u << sectorShift; }
    uint32_t wordsPerSector() const { return sectorSize() / 4; }
    size_t sectorOffset(uint32_t sector) const { return (static_cast<size_t>(sector) + 1) * sectorSize(); }

    std::vector<uint8_t> serialize() const;
    // Writes what serialize() gives to `path`, holding in memory only the sectors in front of
    // the generated streams. False when the file cannot be written.
    bool writeFile(const std::string& path) const;
    // Writes one 32-bit word of sector `sector` in this image's byte order.
    void putWord(std::vector<uint8_t>& bytes, uint32_t sector, uint32_t wordIndex, uint32_t value) const;

private:
    std::vector<uint8_t> serializeFront(size_t sectorCount) const;
};

class CfbBuilder {
public:
    enum class Shape { Balanced, RightChain };  // how siblings hang together

    explicit CfbBuilder(uint16_t sectorShift = 9);

    static constexpr int kRoot = 0;
    int addStorage(int parent, const std::u16string& name);
    int addStream(int parent, const std::u16string& name, std::vector<uint8_t> contents);
    // A stream of `size` bytes of patternBytes(size, seed), made only when the file is written.
    // It always lies in regular sectors, whatever the cutoff.
    int addGeneratedStream(int parent, const std::u16string& name, uint64_t size, uint8_t seed);

    CfbBuilder& shape(Shape value) { shape_ = value; return *this; }
    CfbBuilder& miniStreamCutoff(uint32_t value) { cutoff_ = value; return *this; }
    // At least this many FAT sectors, the extra ones all FREESECT: gives a DIFAT without a huge file.
    CfbBuilder& minimumFatSectors(uint32_t value) { minFatSectors_ = value; return *this; }

    // Entry ids are directory indices: the root is 0, the others follow in the order added.
    // A stream's start is in image.entries[id].start; it lies in the mini stream when its
    // size is above 0 and below the cutoff.
    CfbImage layout() const;
    std::vector<uint8_t> build() const { return layout().serialize(); }

private:
    struct Node {
        std::u16string name;
        uint8_t type;
        int parent;
        std::vector<uint8_t> contents;
        uint64_t generatedSize = 0;  // above 0 for a generated stream
        uint8_t seed = 0;
    };

    uint32_t linkSiblings(std::vector<int>& sorted, size_t first, size_t last, std::vector<CfbEntry>& entries) const;

    uint16_t sectorShift_;
    uint32_t cutoff_ = 4096;
    uint32_t minFatSectors_ = 0;
    Shape shape_ = Shape::Balanced;
    std::vector<Node> nodes_;
};

// Little helpers for tests.
std::vector<uint8_t> patternBytes(size_t count, uint8_t seed);  // deterministic, non-repeating per seed

// The bytes of patternBytes(..., seed) in pieces, for streams too large to hold.
class PatternGenerator {
public:
    explicit PatternGenerator(uint8_t seed);
    void fill(uint8_t* bytes, size_t count);

private:
    uint32_t state_;
};
std::vector<uint8_t> u8(const std::string& text);

}  // namespace tovxtest

#endif
