#include "StgPropertySetStream.h"

#include "StgCodePage.h"
#include "StgPropertyValueReader.h"
#include "StgStreamReader.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace tovxstg {

namespace {

const size_t kHeaderSize = 28;        // byte order, version, system id, class id, section count
const size_t kSectionListEntry = 20;  // format id and offset
const size_t kReadChunk = 65536;

uint32_t get32(const uint8_t* bytes) {
    return uint32_t(bytes[0]) | (uint32_t(bytes[1]) << 8) | (uint32_t(bytes[2]) << 16) | (uint32_t(bytes[3]) << 24);
}

GUID getGuid(const uint8_t* bytes) {
    GUID guid;
    guid.Data1 = get32(bytes);
    guid.Data2 = static_cast<uint16_t>(bytes[4] | (bytes[5] << 8));
    guid.Data3 = static_cast<uint16_t>(bytes[6] | (bytes[7] << 8));
    std::memcpy(guid.Data4, bytes + 8, 8);
    return guid;
}

}  // namespace

HRESULT StgPropertySetStream::read(const std::shared_ptr<const StgCompoundFile>& file, uint32_t entry,
                                   std::shared_ptr<const StgPropertySetStream>& parsed) {
    std::shared_ptr<StgPropertySetStream> stream(new StgPropertySetStream);
    StgStreamReader reader(file, file->entry(entry));
    // Grown as bytes come, so a stream that claims more than its chain holds costs no more.
    for (uint64_t position = 0; position < reader.size();) {
        const size_t chunk = static_cast<size_t>(std::min<uint64_t>(kReadChunk, reader.size() - position));
        stream->bytes_.resize(position + chunk);
        const int64_t got = reader.read(position, stream->bytes_.data() + position, chunk);
        if (got < 0) return STG_E_READFAULT;
        position += static_cast<uint64_t>(got);
        stream->bytes_.resize(position);
        if (static_cast<size_t>(got) < chunk) break;
    }
    const HRESULT status = stream->parse();
    if (FAILED(status)) return status;
    parsed = std::move(stream);
    return S_OK;
}

HRESULT StgPropertySetStream::parse() {
    if (bytes_.size() < kHeaderSize + 4) return STG_E_INVALIDHEADER;
    const uint8_t* header = bytes_.data();
    const uint16_t byteOrder = static_cast<uint16_t>(header[0] | (header[1] << 8));
    const uint16_t version = static_cast<uint16_t>(header[2] | (header[3] << 8));
    const uint32_t count = get32(header + 24);
    if (byteOrder != 0xFFFE || version > 1 || count == 0 ||
        count > (bytes_.size() - kHeaderSize) / kSectionListEntry) {
        return STG_E_INVALIDHEADER;
    }
    osVersion_ = get32(header + 4);
    clsid_ = getGuid(header + 8);
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t* listed = header + kHeaderSize + i * kSectionListEntry;
        StgPropertySection section;
        section.fmtid = getGuid(listed);
        section.offset = get32(listed + 16);
        if (section.offset < bytes_.size()) parseSection(section);  // else a section without properties
        sections_.push_back(std::move(section));
    }
    return S_OK;
}

void StgPropertySetStream::parseSection(StgPropertySection& section) const {
    const size_t size = bytes_.size() - section.offset;
    size_t at = 4;  // past the section's byte count, which the table's offsets make needless
    uint32_t count = 0;
    StgPropertyValueReader table(bytes_.data() + section.offset, size, 0);
    if (!table.word(at, count)) return;
    count = static_cast<uint32_t>(std::min<size_t>(count, (size - at) / 8));
    std::vector<std::pair<PROPID, size_t>> entries;
    for (uint32_t i = 0; i < count; ++i) {
        uint32_t id = 0;
        uint32_t offset = 0;
        table.word(at, id);
        table.word(at, offset);
        entries.emplace_back(id, offset);
    }
    // The code page comes first: the dictionary and every narrow string depend on it.
    section.codePage = kCodePageDefault;
    for (const auto& entry : entries) {
        PROPVARIANT codePage;
        if (entry.first == PID_CODEPAGE && table.read(entry.second, codePage)) {
            if (codePage.vt == VT_I2 && codePage.uiVal != 0) section.codePage = codePage.uiVal;
            PropVariantClear(&codePage);
            break;
        }
    }
    const StgPropertyValueReader values(bytes_.data() + section.offset, size, section.codePage);
    std::set<PROPID> seen;
    for (const auto& entry : entries) {
        if (!seen.insert(entry.first).second) continue;  // a repeated id: the first one counts
        if (entry.first == PID_DICTIONARY) {
            size_t name = entry.second;
            uint32_t names = 0;
            if (!values.word(name, names)) continue;
            for (uint32_t n = 0; n < names; ++n) {
                uint32_t id = 0;
                std::u16string text;
                if (!values.word(name, id) || !values.readName(name, text)) break;
                section.names.emplace_back(id, std::move(text));
            }
            continue;
        }
        PROPVARIANT value;
        if (values.read(entry.second, value)) {
            section.properties.push_back({entry.first, entry.second, value.vt});
            PropVariantClear(&value);
        }
    }
}

bool StgPropertySetStream::value(const StgPropertySection& section, PROPID id, PROPVARIANT& value) const {
    for (const StgPropertySection::Property& property : section.properties) {
        if (property.id != id) continue;
        const StgPropertyValueReader values(bytes_.data() + section.offset, bytes_.size() - section.offset,
                                            section.codePage);
        return values.read(property.offset, value);
    }
    return false;
}

}  // namespace tovxstg
