#include "CfbBuilder.h"

#include <algorithm>
#include <cstring>

namespace tovxtest {

namespace {

uint32_t sectorsFor(uint64_t bytes, uint32_t sectorSize) {
    return static_cast<uint32_t>((bytes + sectorSize - 1) / sectorSize);
}

// Siblings are ordered by name length first, then unit by unit with ASCII letters upper-cased.
bool comesBefore(const std::u16string& a, const std::u16string& b) {
    if (a.size() != b.size()) return a.size() < b.size();
    for (size_t i = 0; i < a.size(); ++i) {
        const auto upper = [](char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c; };
        if (upper(a[i]) != upper(b[i])) return upper(a[i]) < upper(b[i]);
    }
    return false;
}

// Chains `count` sectors starting at `first` in `table`: first -> first+1 -> ... -> ENDOFCHAIN.
void chain(std::vector<uint32_t>& table, uint32_t first, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) table[first + i] = i + 1 < count ? first + i + 1 : kEndOfChain;
}

class Writer {
public:
    Writer(std::vector<uint8_t>& bytes, bool bigEndian) : bytes_(bytes), bigEndian_(bigEndian) {}

    void put(size_t offset, uint64_t value, int width) {
        if (offset + width > bytes_.size()) return;
        for (int i = 0; i < width; ++i) {
            const int shift = 8 * (bigEndian_ ? width - 1 - i : i);
            bytes_[offset + i] = static_cast<uint8_t>(value >> shift);
        }
    }
    void put16(size_t offset, uint16_t value) { put(offset, value, 2); }
    void put32(size_t offset, uint32_t value) { put(offset, value, 4); }
    void raw(size_t offset, const uint8_t* data, size_t count) {
        if (count > 0 && offset + count <= bytes_.size()) std::memcpy(&bytes_[offset], data, count);
    }

private:
    std::vector<uint8_t>& bytes_;
    bool bigEndian_;
};

void writeHeader(Writer& out, const CfbHeader& h, uint32_t sectorSize) {
    out.raw(0, h.signature.data(), 8);
    out.raw(8, h.clsid.data(), 16);
    out.put16(24, h.minorVersion);
    out.put16(26, h.majorVersion);
    out.put16(28, h.byteOrder);
    out.put16(30, h.sectorShift);
    out.put16(32, h.miniSectorShift);
    out.put16(34, h.reservedShort);
    const uint32_t longs[] = {h.reservedLong,         h.directorySectorCount, h.fatSectorCount,
                              h.firstDirectorySector, h.transactionSignature, h.miniStreamCutoff,
                              h.firstMiniFatSector,   h.miniFatSectorCount,   h.firstDifSector,
                              h.difSectorCount};
    for (size_t i = 0; i < 10; ++i) out.put32(36 + 4 * i, longs[i]);
    for (uint32_t i = 0; 76 + 4 * i + 4 <= sectorSize; ++i)
        out.put32(76 + 4 * i, i < h.fatList.size() ? h.fatList[i] : kFreeSect);
}

void writeEntry(Writer& out, size_t at, const CfbEntry& e) {
    std::array<uint8_t, 64> name{};
    if (e.rawName) {
        name = *e.rawName;
    } else {
        // Names are raw bytes, little-endian UTF-16 whatever the byte order of the other fields.
        for (size_t i = 0; i < e.name.size() && i < 31; ++i) {
            name[2 * i] = static_cast<uint8_t>(e.name[i]);
            name[2 * i + 1] = static_cast<uint8_t>(e.name[i] >> 8);
        }
    }
    const bool emptySlot = e.type == 0 && e.name.empty();
    const uint16_t nameLength =
        e.nameLength ? *e.nameLength : static_cast<uint16_t>(emptySlot ? 0 : (std::min<size_t>(e.name.size(), 31) + 1) * 2);
    out.raw(at, name.data(), 64);
    out.put16(at + 64, nameLength);
    out.put(at + 66, e.type, 1);
    out.put(at + 67, e.colour, 1);
    out.put32(at + 68, e.left);
    out.put32(at + 72, e.right);
    out.put32(at + 76, e.child);
    out.raw(at + 80, e.clsid.data(), 16);
    out.put32(at + 96, e.userFlags);
    out.put32(at + 100, static_cast<uint32_t>(e.created));
    out.put32(at + 104, static_cast<uint32_t>(e.created >> 32));
    out.put32(at + 108, static_cast<uint32_t>(e.modified));
    out.put32(at + 112, static_cast<uint32_t>(e.modified >> 32));
    out.put32(at + 116, e.start);
    out.put32(at + 120, e.size);
    out.put16(at + 124, e.propertyType);
}

// Writes `table` word by word over the sectors `ids`, FREESECT past its end.
void writeTable(Writer& out, const CfbImage& image, const std::vector<uint32_t>& ids, const std::vector<uint32_t>& table) {
    const uint32_t words = image.wordsPerSector();
    for (size_t k = 0; k < ids.size(); ++k)
        for (uint32_t w = 0; w < words; ++w) {
            const size_t index = k * words + w;
            out.put32(image.sectorOffset(ids[k]) + 4 * w, index < table.size() ? table[index] : kFreeSect);
        }
}

}  // namespace

std::vector<uint8_t> CfbImage::serialize() const {
    const uint32_t size = sectorSize();
    std::vector<uint8_t> bytes((sectors.size() + 1) * size, 0);
    Writer out(bytes, bigEndian);
    writeHeader(out, header, size);
    for (size_t n = 0; n < sectors.size(); ++n)
        out.raw(sectorOffset(static_cast<uint32_t>(n)), sectors[n].data(), std::min<size_t>(sectors[n].size(), size));

    writeTable(out, *this, fatSectorIds, fat);
    writeTable(out, *this, miniFatSectorIds, miniFat);

    const uint32_t perDifat = wordsPerSector() - 1;  // the last word links to the next DIFAT sector
    for (size_t k = 0; k < difatSectorIds.size(); ++k) {
        for (uint32_t w = 0; w < perDifat; ++w) {
            const size_t index = k * perDifat + w;
            out.put32(sectorOffset(difatSectorIds[k]) + 4 * w, index < difat.size() ? difat[index] : kFreeSect);
        }
        const uint32_t link = k + 1 < difatSectorIds.size() ? difatSectorIds[k + 1] : kEndOfChain;
        out.put32(sectorOffset(difatSectorIds[k]) + 4 * perDifat, link);
    }

    const uint32_t slots = size / 128;
    CfbEntry emptySlot;
    emptySlot.colour = 0;
    for (size_t k = 0; k < directorySectorIds.size(); ++k)
        for (uint32_t s = 0; s < slots; ++s) {
            const size_t index = k * slots + s;
            writeEntry(out, sectorOffset(directorySectorIds[k]) + 128 * s, index < entries.size() ? entries[index] : emptySlot);
        }
    return bytes;
}

void CfbImage::putWord(std::vector<uint8_t>& bytes, uint32_t sector, uint32_t wordIndex, uint32_t value) const {
    Writer(bytes, bigEndian).put32(sectorOffset(sector) + 4 * wordIndex, value);
}

CfbBuilder::CfbBuilder(uint16_t sectorShift) : sectorShift_(sectorShift) {
    nodes_.push_back(Node{u"Root Entry", 5, -1, {}});
}

int CfbBuilder::addStorage(int parent, const std::u16string& name) {
    nodes_.push_back(Node{name, 1, parent, {}});
    return static_cast<int>(nodes_.size()) - 1;
}

int CfbBuilder::addStream(int parent, const std::u16string& name, std::vector<uint8_t> contents) {
    nodes_.push_back(Node{name, 2, parent, std::move(contents)});
    return static_cast<int>(nodes_.size()) - 1;
}

uint32_t CfbBuilder::linkSiblings(std::vector<int>& sorted, size_t first, size_t last, std::vector<CfbEntry>& entries) const {
    if (first >= last) return kNoStream;
    if (shape_ == Shape::RightChain) {  // a loop, not a recursion: chains may be 100,000 long
        for (size_t i = first; i + 1 < last; ++i) entries[sorted[i]].right = static_cast<uint32_t>(sorted[i + 1]);
        return static_cast<uint32_t>(sorted[first]);
    }
    const size_t middle = first + (last - first) / 2;
    entries[sorted[middle]].left = linkSiblings(sorted, first, middle, entries);
    entries[sorted[middle]].right = linkSiblings(sorted, middle + 1, last, entries);
    return static_cast<uint32_t>(sorted[middle]);
}

CfbImage CfbBuilder::layout() const {
    CfbImage image;
    CfbHeader& h = image.header;
    h.sectorShift = image.sectorShift = sectorShift_;
    h.majorVersion = sectorShift_ == 12 ? 4 : 3;
    h.miniStreamCutoff = cutoff_;
    const uint32_t size = image.sectorSize();
    const uint32_t words = image.wordsPerSector();
    const uint32_t miniSize = 1u << h.miniSectorShift;

    // Directory entries and sibling trees.
    image.entries.resize(nodes_.size());
    for (size_t id = 0; id < nodes_.size(); ++id) {
        image.entries[id].name = nodes_[id].name;
        image.entries[id].type = nodes_[id].type;
    }
    std::vector<std::vector<int>> childrenOf(nodes_.size());
    for (size_t c = 0; c < nodes_.size(); ++c)
        if (nodes_[c].parent >= 0) childrenOf[static_cast<size_t>(nodes_[c].parent)].push_back(static_cast<int>(c));
    for (size_t id = 0; id < nodes_.size(); ++id) {
        if (nodes_[id].type == 2) continue;
        std::vector<int>& children = childrenOf[id];
        std::stable_sort(children.begin(), children.end(),
                         [&](int a, int b) { return comesBefore(nodes_[a].name, nodes_[b].name); });
        image.entries[id].child = linkSiblings(children, 0, children.size(), image.entries);
    }

    // Small streams go to the mini stream, one mini sector chain each.
    std::vector<uint8_t> mini;
    std::vector<uint32_t> bigStreams;
    for (size_t id = 0; id < nodes_.size(); ++id) {
        const Node& node = nodes_[id];
        CfbEntry& entry = image.entries[id];
        if (node.type != 2) continue;
        entry.size = static_cast<uint32_t>(node.contents.size());
        entry.start = kEndOfChain;
        if (node.contents.empty()) continue;
        if (node.contents.size() >= cutoff_) {
            bigStreams.push_back(static_cast<uint32_t>(id));
            continue;
        }
        const uint32_t first = static_cast<uint32_t>(mini.size() / miniSize);
        const uint32_t count = sectorsFor(node.contents.size(), miniSize);
        entry.start = first;
        image.miniFat.resize(first + count);
        chain(image.miniFat, first, count);
        mini.insert(mini.end(), node.contents.begin(), node.contents.end());
        mini.resize(static_cast<size_t>(first + count) * miniSize, 0);
    }

    // Sector counts, then FAT and DIFAT sectors enough to cover them all.
    const uint32_t dirSectors = std::max<uint32_t>(1, sectorsFor(nodes_.size() * 128, size));
    const uint32_t miniFatSectors = sectorsFor(image.miniFat.size() * 4, size);
    const uint32_t miniStreamSectors = sectorsFor(mini.size(), size);
    uint32_t dataSectors = dirSectors + miniFatSectors + miniStreamSectors;
    for (uint32_t id : bigStreams) dataSectors += sectorsFor(nodes_[id].contents.size(), size);
    const uint32_t headerListSize = (size - 76) / 4;
    uint32_t fatSectors = 1, difatSectors = 0;
    for (;;) {
        const uint32_t needFat = std::max(minFatSectors_, sectorsFor(uint64_t(dataSectors + fatSectors + difatSectors) * 4, size));
        const uint32_t needDifat = needFat > headerListSize ? sectorsFor(needFat - headerListSize, words - 1) : 0;
        if (needFat == fatSectors && needDifat == difatSectors) break;
        fatSectors = needFat;
        difatSectors = needDifat;
    }

    // Place everything in order: FAT, DIFAT, directory, mini FAT, mini stream, big streams.
    const uint32_t total = fatSectors + difatSectors + dataSectors;
    image.sectors.assign(total, {});
    image.fat.assign(total, kFreeSect);
    uint32_t next = 0;
    const auto take = [&](uint32_t count, std::vector<uint32_t>* ids) {
        const uint32_t first = next;
        for (uint32_t i = 0; i < count; ++i)
            if (ids) ids->push_back(next + i);
        next += count;
        return first;
    };
    take(fatSectors, &image.fatSectorIds);
    for (uint32_t s : image.fatSectorIds) image.fat[s] = kFatSect;
    take(difatSectors, &image.difatSectorIds);
    for (uint32_t s : image.difatSectorIds) image.fat[s] = kDifSect;
    h.firstDirectorySector = take(dirSectors, &image.directorySectorIds);
    chain(image.fat, h.firstDirectorySector, dirSectors);
    if (miniFatSectors > 0) {
        h.firstMiniFatSector = take(miniFatSectors, &image.miniFatSectorIds);
        chain(image.fat, h.firstMiniFatSector, miniFatSectors);
    }
    CfbEntry& root = image.entries[0];
    root.start = kEndOfChain;
    root.size = static_cast<uint32_t>(mini.size());
    if (miniStreamSectors > 0) {
        root.start = take(miniStreamSectors, nullptr);
        chain(image.fat, root.start, miniStreamSectors);
        for (uint32_t i = 0; i < miniStreamSectors; ++i) {
            const auto from = mini.begin() + static_cast<size_t>(i) * size;
            image.sectors[root.start + i].assign(from, from + std::min<size_t>(size, mini.end() - from));
        }
    }
    for (uint32_t id : bigStreams) {
        const std::vector<uint8_t>& contents = nodes_[id].contents;
        const uint32_t count = sectorsFor(contents.size(), size);
        image.entries[id].start = take(count, nullptr);
        chain(image.fat, image.entries[id].start, count);
        for (uint32_t i = 0; i < count; ++i) {
            const auto from = contents.begin() + static_cast<size_t>(i) * size;
            image.sectors[image.entries[id].start + i].assign(from, from + std::min<size_t>(size, contents.end() - from));
        }
    }

    // Header fields that follow from the layout.
    h.directorySectorCount = sectorShift_ == 12 ? dirSectors : 0;
    h.fatSectorCount = fatSectors;
    h.miniFatSectorCount = miniFatSectors;
    h.difSectorCount = difatSectors;
    h.firstDifSector = difatSectors > 0 ? image.difatSectorIds[0] : kEndOfChain;
    for (uint32_t i = 0; i < fatSectors; ++i)
        (i < headerListSize ? h.fatList : image.difat).push_back(image.fatSectorIds[i]);
    return image;
}

std::vector<uint8_t> patternBytes(size_t count, uint8_t seed) {
    std::vector<uint8_t> bytes(count);
    uint32_t state = 0x9E3779B9u ^ seed;
    for (size_t i = 0; i < count; ++i) {
        state = state * 1664525u + 1013904223u;
        bytes[i] = static_cast<uint8_t>(state >> 24);
    }
    return bytes;
}

std::vector<uint8_t> u8(const std::string& text) { return std::vector<uint8_t>(text.begin(), text.end()); }

}  // namespace tovxtest
