#include "MalformedReading.h"

#include <cstdio>

namespace malformed {

// "read N whole", "read N prefix", "read N zeros", "read N prefix K, zeros" or "read N other XXXXXXXX".
std::string readOutcome(const std::u16string& name, const uint8_t* bytes, size_t count, const Contents& contents) {
    std::string text = "read " + std::to_string(count);
    if (count == 0) return text;
    const auto known = contents.find(name);
    size_t same = 0;
    if (known != contents.end())
        while (same < count && same < known->second.size() && bytes[same] == known->second[same]) ++same;
    size_t zeros = same;
    while (zeros < count && bytes[zeros] == 0) ++zeros;
    if (same == count) return text + (known != contents.end() && count == known->second.size() ? " whole" : " prefix");
    if (zeros == count) return text + (same == 0 ? " zeros" : " prefix " + std::to_string(same) + ", zeros");
    uint32_t hash = 2166136261u;
    for (size_t i = 0; i < count; ++i) hash = (hash ^ bytes[i]) * 16777619u;
    char hex[16];
    std::snprintf(hex, sizeof hex, "%08X", hash);
    return text + " other " + hex;
}

std::string shortened(const std::string& value) {
    return value.size() <= 40 ? value : value.substr(0, 40) + "...(" + std::to_string(value.size()) + ")";
}

std::string guidText(const unsigned char* id) {
    char text[40];
    std::snprintf(text, sizeof text, "{%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X}", id[0],
                  id[1], id[2], id[3], id[4], id[5], id[6], id[7], id[8], id[9], id[10], id[11], id[12], id[13], id[14],
                  id[15]);
    return text;
}

std::string Reading::treeText() const {
    if (!opened) return "refused\n";
    std::string text;
    for (const std::string& line : tree) text += line + "\n";
    return text;
}

std::string Reading::setsText() const {
    std::string text;
    for (const PropertySet& set : sets) {
        text += "set " + set.id + (set.name.empty() ? "" : " \"" + set.name + "\"") + "\n";
        for (const Property& property : set.properties)
            text += "  " + std::to_string(property.id) + (property.name.empty() ? "" : " \"" + property.name + "\"") +
                    " type " + std::to_string(property.type) + " \"" + property.value + "\"\n";
    }
    return text;
}

}  // namespace malformed
