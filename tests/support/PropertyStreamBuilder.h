#ifndef TOVX_TEST_PROPERTY_STREAM_BUILDER_H
#define TOVX_TEST_PROPERTY_STREAM_BUILDER_H

// Builds property-set streams byte by byte for tests: a header, one or two sections, each
// a table of (id, offset) entries followed by the values in the order they were added.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tovxtest {

using Bytes = std::vector<uint8_t>;

Bytes le16(uint16_t value);
Bytes le32(uint32_t value);
Bytes le64(uint64_t value);
Bytes concat(std::initializer_list<Bytes> parts);

// A typed value: the type word, then `content`.
Bytes typed(uint32_t typeCode, const Bytes& content);
// Narrow string: byte count (terminator included) and the bytes, padded to 4 when `pad`.
Bytes narrowString(const std::string& bytes, bool pad = true);
// Wide string: unit count (terminator included), the units, padded to 4.
Bytes wideString(const std::u16string& text);
// Type code 8 as producers store it: a byte count, then the characters.
Bytes bstrNarrow(const std::string& bytes);
Bytes bstrWide(const std::u16string& text);

// Dictionary values (no type word): a count, then id and name for each entry.
Bytes wideDictionary(const std::vector<std::pair<uint32_t, std::u16string>>& entries);
Bytes narrowDictionary(const std::vector<std::pair<uint32_t, std::string>>& entries);

// The 16 bytes of a format id as stored: 00 11 22 ... FF reads as {33221100-5544-7766-8899-AABBCCDDEEFF}.
Bytes formatId(uint8_t first);

class PropertyStreamBuilder {
public:
    // Starts a section with a format id; the first call is implicit with formatId(0x10).
    PropertyStreamBuilder& section(const Bytes& fmtid);
    // A table entry whose value bytes (type word included, if any) follow the table.
    PropertyStreamBuilder& value(uint32_t id, const Bytes& bytes);
    // A table entry with an explicit offset and no bytes of its own.
    PropertyStreamBuilder& entryAt(uint32_t id, uint32_t offset);

    PropertyStreamBuilder& byteOrder(uint16_t mark) { byteOrder_ = mark; return *this; }
    PropertyStreamBuilder& version(uint16_t value) { version_ = value; return *this; }
    // Writes this section count instead of the number of sections built.
    PropertyStreamBuilder& claimSections(uint32_t count) { claimedSections_ = count; hasClaimedSections_ = true; return *this; }
    // Writes this property count for the current section instead of its real one.
    PropertyStreamBuilder& claimProperties(uint32_t count);
    // Writes this offset in the list for the first section.
    PropertyStreamBuilder& firstOffset(uint32_t offset) { firstOffset_ = offset; hasFirstOffset_ = true; return *this; }
    // Writes this offset in the list for the second section.
    PropertyStreamBuilder& secondOffset(uint32_t offset) { secondOffset_ = offset; hasSecondOffset_ = true; return *this; }

    Bytes build() const;

private:
    struct Entry {
        uint32_t id;
        Bytes bytes;
        bool explicitOffset;
        uint32_t offset;
    };
    struct Section {
        Bytes fmtid;
        std::vector<Entry> entries;
        bool hasClaimedCount = false;
        uint32_t claimedCount = 0;
    };
    Section& current();
    Bytes buildSection(const Section& section) const;

    std::vector<Section> sections_;
    uint16_t byteOrder_ = 0xFFFE;
    uint16_t version_ = 0;
    bool hasClaimedSections_ = false;
    uint32_t claimedSections_ = 0;
    bool hasFirstOffset_ = false;
    uint32_t firstOffset_ = 0;
    bool hasSecondOffset_ = false;
    uint32_t secondOffset_ = 0;
};

}  // namespace tovxtest

#endif
