#include "HostileFiles.h"

#include <string>

#include "CfbBuilder.h"
#include "PropertyStreamBuilder.h"

namespace tovxtest {

const std::vector<uint8_t>& summaryFormatId() {
    static const Bytes id = {0xE0, 0x85, 0x9F, 0xF2, 0xF9, 0x4F, 0x68, 0x10, 0xAB, 0x91, 0x08, 0x00, 0x2B, 0x27, 0xB3, 0xD9};
    return id;
}

std::vector<uint8_t> fileWithSummary(const std::vector<uint8_t>& stream) {
    CfbBuilder builder;
    builder.addStream(CfbBuilder::kRoot, u"\005SummaryInformation", stream);
    return builder.build();
}

std::vector<uint8_t> oneDictionaryManyTimes(uint32_t entries) {
    std::vector<std::pair<uint32_t, std::u16string>> names;
    for (uint32_t i = 0; i < entries; ++i) names.push_back({1000 + i, u"n"});
    const Bytes dictionary = wideDictionary(names);
    const uint32_t table = 8 + 8 * entries;  // the section's size and count, then the table
    Bytes section = concat({le32(table + static_cast<uint32_t>(dictionary.size())), le32(entries)});
    const Bytes entry = concat({le32(0), le32(table)});
    for (uint32_t i = 0; i < entries; ++i) section.insert(section.end(), entry.begin(), entry.end());
    section.insert(section.end(), dictionary.begin(), dictionary.end());
    const Bytes header = concat({le16(0xFFFE), le16(0), le32(0x00020A04), Bytes(16, 0), le32(1), summaryFormatId(), le32(48)});
    return concat({header, section});
}

std::vector<uint8_t> collidingIds(uint32_t count) {
    PropertyStreamBuilder builder;
    builder.section(summaryFormatId()).value(1, typed(2, le16(1200)));
    std::vector<std::pair<uint32_t, std::u16string>> names;
    for (uint32_t i = 1; i <= count; ++i) names.push_back({i << 16, u"n"});
    builder.value(0, wideDictionary(names));
    for (uint32_t i = 1; i <= count; ++i) builder.value(i << 16, typed(3, le32(i)));
    return builder.build();
}

std::vector<uint8_t> nestedStorages(int count) {
    CfbBuilder builder;
    for (int level = 0, parent = CfbBuilder::kRoot; level < count; ++level) {
        const std::string digits = std::to_string(level);
        const std::string name = std::string(31 - digits.size(), 'd') + digits;
        parent = builder.addStorage(parent, std::u16string(name.begin(), name.end()));
    }
    return builder.build();
}

std::vector<uint8_t> namesakes(int count) {
    CfbBuilder builder;
    for (int i = 0; i < count; ++i) builder.addStream(CfbBuilder::kRoot, u"x", patternBytes(8, static_cast<uint8_t>(i)));
    return builder.build();
}

}  // namespace tovxtest
