#include "PropertyStreamBuilder.h"

namespace tovxtest {

Bytes le16(uint16_t value) { return {uint8_t(value), uint8_t(value >> 8)}; }

Bytes le32(uint32_t value) { return {uint8_t(value), uint8_t(value >> 8), uint8_t(value >> 16), uint8_t(value >> 24)}; }

Bytes le64(uint64_t value) { return concat({le32(uint32_t(value)), le32(uint32_t(value >> 32))}); }

static void append(Bytes& to, const Bytes& part) { to.insert(to.end(), part.begin(), part.end()); }

Bytes concat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& part : parts) append(out, part);
    return out;
}

Bytes patched(Bytes bytes, size_t at, const Bytes& with) {
    for (size_t i = 0; i < with.size() && at + i < bytes.size(); ++i) bytes[at + i] = with[i];
    return bytes;
}

Bytes typed(uint32_t typeCode, const Bytes& content) { return concat({le32(typeCode), content}); }

static Bytes paddedTo4(Bytes bytes) {
    bytes.resize((bytes.size() + 3) / 4 * 4, 0);
    return bytes;
}

Bytes narrowString(const std::string& bytes, bool pad) {
    Bytes out = concat({le32(uint32_t(bytes.size() + 1)), Bytes(bytes.begin(), bytes.end()), {0}});
    return pad ? paddedTo4(out) : out;
}

// The units of `text` and a terminating zero unit.
static Bytes units(const std::u16string& text) {
    Bytes out;
    for (char16_t unit : text) append(out, le16(uint16_t(unit)));
    return concat({out, le16(0)});
}

Bytes wideString(const std::u16string& text) { return paddedTo4(concat({le32(uint32_t(text.size() + 1)), units(text)})); }

Bytes bstrWide(const std::u16string& text) { return paddedTo4(concat({le32(uint32_t(2 * (text.size() + 1))), units(text)})); }

Bytes wideDictionary(const std::vector<std::pair<uint32_t, std::u16string>>& entries) {
    Bytes out = le32(uint32_t(entries.size()));
    for (const auto& entry : entries) {
        append(out, concat({le32(entry.first), le32(uint32_t(entry.second.size() + 1)), units(entry.second)}));
        if ((entry.second.size() + 1) % 2 != 0) append(out, {0, 0});  // odd unit counts are padded
    }
    return out;
}

Bytes narrowDictionary(const std::vector<std::pair<uint32_t, std::string>>& entries) {
    Bytes out = le32(uint32_t(entries.size()));
    for (const auto& entry : entries) append(out, concat({le32(entry.first), narrowString(entry.second, false)}));
    return paddedTo4(out);
}

Bytes formatId(uint8_t first) {
    Bytes out;
    for (int i = 0; i < 16; ++i) out.push_back(uint8_t(first + i * 0x11));
    return out;
}

PropertyStreamBuilder::Section& PropertyStreamBuilder::current() {
    if (sections_.empty()) section(formatId(0x10));
    return sections_.back();
}

PropertyStreamBuilder& PropertyStreamBuilder::section(const Bytes& fmtid) {
    sections_.push_back(Section{fmtid, {}});
    return *this;
}

PropertyStreamBuilder& PropertyStreamBuilder::value(uint32_t id, const Bytes& bytes) {
    current().entries.push_back(Entry{id, bytes, false, 0});
    return *this;
}

PropertyStreamBuilder& PropertyStreamBuilder::entryAt(uint32_t id, uint32_t offset) {
    current().entries.push_back(Entry{id, {}, true, offset});
    return *this;
}

Bytes PropertyStreamBuilder::build() const {
    std::vector<Section> sections = sections_;
    if (sections.empty()) sections.push_back(Section{formatId(0x10), {}});
    const size_t headerSize = 28 + 20 * sections.size();
    Bytes header = concat({le16(0xFFFE), le16(0), le16(0x0A04), le16(0x0002), Bytes(16, 0), le32(uint32_t(sections.size()))});
    Bytes bodies;
    for (const Section& section : sections) {
        append(header, concat({section.fmtid, le32(uint32_t(headerSize + bodies.size()))}));
        const size_t tableEnd = 8 + 8 * section.entries.size();
        Bytes table;
        Bytes values;
        for (const Entry& entry : section.entries) {
            append(table, concat({le32(entry.id), le32(entry.explicitOffset ? entry.offset : uint32_t(tableEnd + values.size()))}));
            append(values, entry.bytes);
        }
        append(bodies, concat({le32(uint32_t(tableEnd + values.size())), le32(uint32_t(section.entries.size())), table, values}));
    }
    return concat({header, bodies});
}

}  // namespace tovxtest
