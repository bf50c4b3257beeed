#include "StgPropertySetStream.h"

#include "StgCodePage.h"
#include "StgStreamReader.h"
#include "TOVXResourceBounds.h"

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

// Positions 0 .. n-1 of `items` in ascending order of the ids that `idOf` gives, ties kept in order.
template <typename Item, typename IdOf>
std::vector<uint32_t> orderById(const std::vector<Item>& items, IdOf idOf) {
    std::vector<uint32_t> order(items.size());
    for (size_t i = 0; i < order.size(); ++i) order[i] = static_cast<uint32_t>(i);
    std::stable_sort(order.begin(), order.end(),
                     [&](uint32_t a, uint32_t b) { return idOf(items[a]) < idOf(items[b]); });
    return order;
}

// The first position in `order` whose item has `id`, or null.
template <typename Item, typename IdOf>
const Item* firstWithId(const std::vector<Item>& items, const std::vector<uint32_t>& order, PROPID id, IdOf idOf) {
    const auto found = std::lower_bound(order.begin(), order.end(), id,
                                        [&](uint32_t position, PROPID wanted) { return idOf(items[position]) < wanted; });
    return found != order.end() && idOf(items[*found]) == id ? &items[*found] : nullptr;
}

PROPID idOfProperty(const StgPropertySection::Property& property) { return property.id; }
PROPID idOfName(const std::pair<PROPID, std::u16string>& name) { return name.first; }

}  // namespace

const StgPropertySection::Property* StgPropertySection::property(PROPID id) const {
    return firstWithId(properties, propertiesById, id, idOfProperty);
}

const std::u16string* StgPropertySection::name(PROPID id) const {
    const auto* found = firstWithId(names, namesById, id, idOfName);
    return found != nullptr ? &found->second : nullptr;
}

HRESULT StgPropertySetStream::read(const std::shared_ptr<const StgCompoundFile>& file, uint32_t entry,
                                   std::shared_ptr<const StgPropertySetStream>& parsed, uint64_t* bytesRead) {
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
    if (bytesRead != nullptr) *bytesRead = stream->bytes_.size();
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
    budget_ = tovxbounds::valueBudget(bytes_.size());
    bool userDefinedSeen = false;
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t* listed = header + kHeaderSize + i * kSectionListEntry;
        StgPropertySection section;
        section.fmtid = getGuid(listed);
        section.offset = get32(listed + 16);
        // Only the sections that a set opens on are parsed: the first, and the first user-defined
        // one behind it. A stream may list thousands of sections at one place.
        const bool userDefined = i > 0 && !userDefinedSeen && IsEqualGUID(section.fmtid, FMTID_UserDefinedProperties);
        userDefinedSeen = userDefinedSeen || userDefined;
        if ((i == 0 || userDefined) && section.offset < bytes_.size()) parseSection(section);  // else no properties
        sections_.push_back(std::move(section));
    }
    return S_OK;
}

bool StgPropertySetStream::decode(const StgPropertyValueReader& reader, size_t offset, PROPVARIANT& value) {
    std::memset(&value, 0, sizeof value);
    if (budget_ == 0) return false;
    size_t end = offset;
    const bool decoded = reader.read(offset, value, &end);
    const uint64_t spanned = end > offset ? end - offset : 1;
    budget_ -= std::min<uint64_t>(budget_, spanned);
    return decoded;
}

void StgPropertySetStream::parseSection(StgPropertySection& section) {
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
        if (entry.first == PID_CODEPAGE && decode(table, entry.second, codePage)) {
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
            for (uint32_t n = 0; n < names && budget_ > 0; ++n) {
                const size_t start = name;
                uint32_t id = 0;
                std::u16string text;
                if (!values.word(name, id) || !values.readName(name, text)) break;
                section.names.emplace_back(id, std::move(text));
                budget_ -= std::min<uint64_t>(budget_, name - start);
            }
            continue;
        }
        PROPVARIANT value;
        const bool decoded = decode(values, entry.second, value);
        const VARTYPE type = value.vt;
        PropVariantClear(&value);  // before anything that may run out of memory
        if (decoded) section.properties.push_back({entry.first, entry.second, type});
    }
    section.propertiesById = orderById(section.properties, idOfProperty);
    section.namesById = orderById(section.names, idOfName);
}

bool StgPropertySetStream::value(const StgPropertySection& section, PROPID id, PROPVARIANT& value) const {
    const StgPropertySection::Property* property = section.property(id);
    if (property == nullptr) return false;
    const StgPropertyValueReader values(bytes_.data() + section.offset, bytes_.size() - section.offset,
                                        section.codePage);
    return values.read(property->offset, value);
}

}  // namespace tovxstg
