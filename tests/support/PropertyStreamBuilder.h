#ifndef TOVX_TEST_PROPERTY_STREAM_BUILDER_H
#define TOVX_TEST_PROPERTY_STREAM_BUILDER_H

// Builds property-set streams byte by byte for tests: a header, then each section as a
// table of (id, offset) entries followed by the values in the order they were added.
// Header layout: byte order at 0, version at 2, section count at 24, the first section's
// format id at 28 and offset at 44, the second's at 48 and 64. Damage is patched in with `patched`.

#include <cstddef>
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
// `bytes` with `with` written over it from offset `at`.
Bytes patched(Bytes bytes, size_t at, const Bytes& with);

// A typed value: the type word, then `content`.
Bytes typed(uint32_t typeCode, const Bytes& content);
// Narrow string: byte count (terminator included) and the bytes, padded to 4 when `pad`.
// Type code 8 under a narrow code page is stored the same way.
Bytes narrowString(const std::string& bytes, bool pad = true);
// Wide string: unit count (terminator included), the units, padded to 4.
Bytes wideString(const std::u16string& text);
// Type code 8 under code page 1200 as producers store it: a byte count, then the units.
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
    };
    Section& current();

    std::vector<Section> sections_;
};

}  // namespace tovxtest

#endif
