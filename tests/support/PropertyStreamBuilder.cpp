#include "PropertyStreamBuilder.h"

namespace tovxtest {

Bytes le16(uint16_t value) { return {uint8_t(value), uint8_t(value >> 8)}; }

Bytes le32(uint32_t value) { return {uint8_t(value), uint8_t(value >> 8), uint8_t(value >> 16), uint8_t(value >> 24)}; }

Bytes le64(uint64_t value) { return concat({le32(uint32_t(value)), le32(uint32_t(value >> 32))}); }

Bytes concat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& part : parts) out.insert(out.end(), part.begin(), part.end());
    return out;
}

Bytes typed(uint32_t typeCode, const Bytes& content) { return concat({le32(typeCode), content}); }

static void padTo4(Bytes& bytes) {
    while (bytes.size() % 4 != 0) bytes.push_back(0);
}

Bytes narrowString(const std::string& bytes, bool pad) {
    Bytes out = le32(uint32_t(bytes.size() + 1));
    out.insert(out.end(), bytes.begin(), bytes.end());
    out.push_back(0);
    if (pad) padTo4(out);
    return out;
}

static Bytes units(const std::u16string& text) {
    Bytes out;
    for (char16_t unit : text) {
        const Bytes two = le16(uint16_t(unit));
        out.insert(out.end(), two.begin(), two.end());
    }
    return concat({out, le16(0)});
}

Bytes wideString(const std::u16string& text) {
    Bytes out = concat({le32(uint32_t(text.size() + 1)), units(text)});
    padTo4(out);
    return out;
}

Bytes bstrNarrow(const std::string& bytes) {
    Bytes out = le32(uint32_t(bytes.size() + 1));
    out.insert(out.end(), bytes.begin(), bytes.end());
    out.push_back(0);
    padTo4(out);
    return out;
}

Bytes bstrWide(const std::u16string& text) {
    Bytes out = concat({le32(uint32_t(2 * (text.size() + 1))), units(text)});
    padTo4(out);
    return out;
}

Bytes wideDictionary(const std::vector<std::pair<uint32_t, std::u16string>>& entries) {
    Bytes out = le32(uint32_t(entries.size()));
    for (const auto& entry : entries) {
        Bytes name = concat({le32(uint32_t(entry.second.size() + 1)), units(entry.second)});
        if ((entry.second.size() + 1) % 2 != 0) name.insert(name.end(), {0, 0});  // odd unit counts are padded
        out = concat({out, le32(entry.first), name});
    }
    return out;
}

Bytes narrowDictionary(const std::vector<std::pair<uint32_t, std::string>>& entries) {
    Bytes out = le32(uint32_t(entries.size()));
    for (const auto& entry : entries) out = concat({out, le32(entry.first), narrowString(entry.second, false)});
    padTo4(out);
    return out;
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
    Section next;
    next.fmtid = fmtid;
    sections_.push_back(next);
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

PropertyStreamBuilder& PropertyStreamBuilder::claimProperties(uint32_t count) {
    current().hasClaimedCount = true;
    current().claimedCount = count;
    return *this;
}

Bytes PropertyStreamBuilder::buildSection(const Section& section) const {
    const uint32_t tableEnd = uint32_t(8 + 8 * section.entries.size());
    Bytes table;
    Bytes values;
    for (const Entry& entry : section.entries) {
        const uint32_t offset = entry.explicitOffset ? entry.offset : uint32_t(tableEnd + values.size());
        table = concat({table, le32(entry.id), le32(offset)});
        values.insert(values.end(), entry.bytes.begin(), entry.bytes.end());
    }
    const uint32_t count = section.hasClaimedCount ? section.claimedCount : uint32_t(section.entries.size());
    return concat({le32(uint32_t(tableEnd + values.size())), le32(count), table, values});
}

Bytes PropertyStreamBuilder::build() const {
    std::vector<Section> sections = sections_;
    if (sections.empty()) sections.push_back(Section{formatId(0x10), {}, false, 0});
    const uint32_t listed = sections.size() >= 2 ? 2 : 1;
    const uint32_t headerSize = 28 + 20 * listed;
    Bytes first = buildSection(sections[0]);
    Bytes second = sections.size() >= 2 ? buildSection(sections[1]) : Bytes();
    const uint32_t firstAt = hasFirstOffset_ ? firstOffset_ : headerSize;
    const uint32_t secondAt = hasSecondOffset_ ? secondOffset_ : uint32_t(headerSize + first.size());
    Bytes out = concat({le16(byteOrder_), le16(version_), le16(0x0A04), le16(0x0002), Bytes(16, 0),
                        le32(hasClaimedSections_ ? claimedSections_ : uint32_t(sections.size())),
                        sections[0].fmtid, le32(firstAt)});
    if (listed == 2) out = concat({out, sections[1].fmtid, le32(secondAt)});
    return concat({out, first, second});
}

}  // namespace tovxtest
