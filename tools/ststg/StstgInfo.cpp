#include <cstring>
#include <filesystem>
#include <system_error>

#include "StstgCommandList.h"
#include "StstgInput.h"
#include "StstgText.h"
#include "TOVXFilePath.h"

namespace ststg {

namespace {

// The header fields as the file holds them, read here so that they show on either road
// and for files that a reader refuses to go further into.
struct HeaderFacts {
    uint16_t minorVersion = 0;
    uint16_t majorVersion = 0;
    bool littleEndian = false;
    uint16_t sectorShift = 0;
    uint16_t miniSectorShift = 0;
    uint32_t directorySectors = 0;
    uint32_t fatSectors = 0;
    uint32_t miniStreamCutoff = 0;
    uint32_t miniFatSectors = 0;
    uint32_t difatSectors = 0;
    uint64_t fileBytes = 0;

    uint64_t sectorSize() const { return sectorShift < 32 ? uint64_t(1) << sectorShift : 0; }
    uint64_t miniSectorSize() const { return miniSectorShift < 32 ? uint64_t(1) << miniSectorShift : 0; }
    // Sectors behind the header, the last one counted when the file holds part of it.
    uint64_t fileSectors() const {
        const uint64_t size = sectorSize();
        return size == 0 || fileBytes <= size ? 0 : (fileBytes - size + size - 1) / size;
    }
};

uint32_t littleEndianAt(const unsigned char* bytes, size_t at, size_t width) {
    uint32_t value = 0;
    for (size_t i = 0; i < width; ++i) value |= static_cast<uint32_t>(bytes[at + i]) << (8 * i);
    return value;
}

HeaderFacts readHeader(const std::string& path) {
    HeaderFacts facts;
    unsigned char head[76] = {};
    if (FILE* file = TOVXFilePath(path).OpenFile("rb")) {
        const size_t got = std::fread(head, 1, sizeof head, file);
        std::fclose(file);
        (void)got;  // what the file lacks reads as zeros, as the readers take it
    }
    facts.minorVersion = static_cast<uint16_t>(littleEndianAt(head, 24, 2));
    facts.majorVersion = static_cast<uint16_t>(littleEndianAt(head, 26, 2));
    facts.littleEndian = head[28] == 0xFE && head[29] == 0xFF;
    facts.sectorShift = static_cast<uint16_t>(littleEndianAt(head, 30, 2));
    facts.miniSectorShift = static_cast<uint16_t>(littleEndianAt(head, 32, 2));
    facts.directorySectors = littleEndianAt(head, 40, 4);
    facts.fatSectors = littleEndianAt(head, 44, 4);
    facts.miniStreamCutoff = littleEndianAt(head, 56, 4);
    facts.miniFatSectors = littleEndianAt(head, 64, 4);
    facts.difatSectors = littleEndianAt(head, 72, 4);
    std::error_code error;
    const uintmax_t size = std::filesystem::file_size(std::filesystem::u8path(path), error);
    facts.fileBytes = error ? 0 : size;
    return facts;
}

// What the road's walk finds below the root.
struct TreeCounts {
    uint64_t storages = 0;
    uint64_t streams = 0;
    uint64_t others = 0;
    uint64_t streamBytes = 0;
    const unsigned char* rootClsid = nullptr;
    unsigned char rootClsidBytes[16] = {};
};

TreeCounts countTree(Road& road, std::string& failure) {
    TreeCounts counts;
    failure = road.walk({}, [&](const Entry& entry) {
        if (entry.kind == EntryKind::Start && entry.clsid != nullptr) {
            std::memcpy(counts.rootClsidBytes, entry.clsid, sizeof counts.rootClsidBytes);
            counts.rootClsid = counts.rootClsidBytes;
        }
        if (entry.kind == EntryKind::Storage) ++counts.storages;
        if (entry.kind == EntryKind::Other) ++counts.others;
        if (entry.kind != EntryKind::Stream) return;
        ++counts.streams;
        if (entry.hasSize) counts.streamBytes += entry.size;
    });
    return counts;
}

std::vector<std::string> damageLines(Road& road) {
    road.assessDamageOnce();
    const DamageReport& damage = road.damage();
    if (!damage.kinds().empty()) return damage.kinds();
    if (damage.any()) return {"some elements cannot be read (see the messages above)"};
    return {};
}

void printText(const std::string& file, Road& road, const HeaderFacts& header, const TreeCounts& counts,
               const std::vector<std::string>& damage, FILE* out) {
    std::fprintf(out, "file: %s\n", file.c_str());
    std::fprintf(out, "read by: %s\n", std::strcmp(road.name(), "host") == 0 ? "the platform's service (host)" : "the library's own reader (native)");
    std::fprintf(out, "version: %u (minor 0x%04X)\n", header.majorVersion, header.minorVersion);
    std::fprintf(out, "byte order: %s\n", header.littleEndian ? "little-endian" : "not the usual FE FF");
    std::fprintf(out, "sector size: %llu bytes; mini sectors: %llu bytes; mini stream cutoff: %u bytes\n",
                 static_cast<unsigned long long>(header.sectorSize()), static_cast<unsigned long long>(header.miniSectorSize()),
                 header.miniStreamCutoff);
    std::fprintf(out, "file size: %llu bytes, %llu sectors behind the header\n", static_cast<unsigned long long>(header.fileBytes),
                 static_cast<unsigned long long>(header.fileSectors()));
    std::fprintf(out, "header counts: %u FAT, %u DIFAT, %u directory, %u mini FAT sectors\n", header.fatSectors,
                 header.difatSectors, header.directorySectors, header.miniFatSectors);
    std::fprintf(out, "root class id: %s\n", counts.rootClsid != nullptr ? clsidText(counts.rootClsid).c_str() : "-");
    std::fprintf(out, "entries: %llu storages, %llu streams (%llu bytes)%s\n", static_cast<unsigned long long>(counts.storages),
                 static_cast<unsigned long long>(counts.streams), static_cast<unsigned long long>(counts.streamBytes),
                 counts.others > 0 ? (", " + std::to_string(counts.others) + " of other kinds").c_str() : "");
    if (damage.empty()) std::fputs("damage: none found\n", out);
    for (const std::string& line : damage) std::fprintf(out, "damage: %s\n", line.c_str());
}

void printJson(const std::string& file, Road& road, const HeaderFacts& header, const TreeCounts& counts,
               const std::vector<std::string>& damage, FILE* out) {
    std::fprintf(out, "{\"file\": %s, \"road\": \"%s\", \"major_version\": %u, \"minor_version\": %u, \"little_endian\": %s,\n",
                 jsonString(file).c_str(), road.name(), header.majorVersion, header.minorVersion, header.littleEndian ? "true" : "false");
    std::fprintf(out, " \"sector_size\": %llu, \"mini_sector_size\": %llu, \"mini_stream_cutoff\": %u, \"file_size\": %llu,\n",
                 static_cast<unsigned long long>(header.sectorSize()), static_cast<unsigned long long>(header.miniSectorSize()),
                 header.miniStreamCutoff, static_cast<unsigned long long>(header.fileBytes));
    std::fprintf(out, " \"sectors\": {\"file\": %llu, \"fat\": %u, \"difat\": %u, \"directory\": %u, \"mini_fat\": %u},\n",
                 static_cast<unsigned long long>(header.fileSectors()), header.fatSectors, header.difatSectors,
                 header.directorySectors, header.miniFatSectors);
    if (counts.rootClsid != nullptr) std::fprintf(out, " \"clsid\": \"%s\",\n", clsidText(counts.rootClsid).c_str());
    std::fprintf(out, " \"storages\": %llu, \"streams\": %llu, \"other_entries\": %llu, \"stream_bytes\": %llu,\n \"damage\": [",
                 static_cast<unsigned long long>(counts.storages), static_cast<unsigned long long>(counts.streams),
                 static_cast<unsigned long long>(counts.others), static_cast<unsigned long long>(counts.streamBytes));
    for (size_t i = 0; i < damage.size(); ++i) std::fprintf(out, "%s%s", i > 0 ? ", " : "", jsonString(damage[i]).c_str());
    std::fputs("]}\n", out);
}

}  // namespace

int infoCommand(const Invocation& invocation, const Console& console) {
    OpenedInput input;
    if (!input.open(invocation.operands[0], invocation.road, console)) return kExitFailure;
    Road& road = input.road();
    const HeaderFacts header = readHeader(input.path());
    std::string failure;
    const TreeCounts counts = countTree(road, failure);
    const std::vector<std::string> damage = damageLines(road);
    if (invocation.json) printJson(input.shown(), road, header, counts, damage, console.out);
    else printText(input.shown(), road, header, counts, damage, console.out);
    if (!failure.empty()) console.fail(input.shown(), failure);
    return input.finish(failure.empty() ? kExitOk : kExitFailure, invocation.strict, console);
}

}  // namespace ststg
