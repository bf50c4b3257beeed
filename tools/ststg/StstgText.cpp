#include "StstgText.h"

#include <cstdio>

#include "TOVStStorageConstants.h"
#include "TOVXDate.h"

namespace ststg {

namespace {

// Length of the valid UTF-8 sequence at `index`, or 0 when the bytes there are not one.
size_t utf8SequenceLength(const std::string& text, size_t index) {
    std::u16string ignored;
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    const unsigned char lead = bytes[index];
    size_t length = lead < 0x80 ? 1 : (lead & 0xE0) == 0xC0 ? 2 : (lead & 0xF0) == 0xE0 ? 3 : (lead & 0xF8) == 0xF0 ? 4 : 0;
    if (length == 0 || index + length > text.size()) return 0;
    return tovx::decodeUtf8(bytes + index, length, ignored) ? length : 0;
}

std::string hexByte(const char* format, unsigned value) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, format, value);
    return buffer;
}

bool isControl(unsigned short unit) { return unit < 0x20 || unit == 0x7F; }

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Decodes the plain UTF-8 run between escapes.
bool appendUtf8Run(const std::string& run, std::u16string& units) {
    return tovx::decodeUtf8(reinterpret_cast<const unsigned char*>(run.data()), run.size(), units);
}

}  // namespace

std::string jsonString(const std::string& utf8) {
    std::string out = "\"";
    size_t i = 0;
    while (i < utf8.size()) {
        const unsigned char byte = static_cast<unsigned char>(utf8[i]);
        if (byte == '"' || byte == '\\') {
            out += '\\';
            out += static_cast<char>(byte);
            ++i;
        } else if (byte < 0x20 || byte == 0x7F) {
            out += hexByte("\\u%04x", byte);
            ++i;
        } else if (byte < 0x80) {
            out += static_cast<char>(byte);
            ++i;
        } else if (const size_t length = utf8SequenceLength(utf8, i)) {
            out.append(utf8, i, length);
            i += length;
        } else {
            tovx::appendUtf8(byte, out);  // a stray byte stands for its Latin-1 character
            ++i;
        }
    }
    return out + "\"";
}

std::string displayName(const TOVXString& name) {
    if (name.length() == 0) return "\"\"";
    // Escapes are ASCII, so the whole text is built in units and converted once.
    std::u16string shown;
    for (int i = 0; i < name.length(); ++i) {
        const unsigned short unit = name.At(i);
        if (unit == '\\') shown += u"\\\\";
        else if (isControl(unit)) for (char c : hexByte("\\x%02x", unit)) shown.push_back(static_cast<char16_t>(c));
        else shown.push_back(static_cast<char16_t>(unit));
    }
    return TOVXString::FromUnits(reinterpret_cast<const unsigned short*>(shown.data()), static_cast<int>(shown.size())).ToUtf8();
}

bool parseNameArgument(const std::string& argument, TOVXString& name, std::string& error) {
    std::u16string units;
    std::string run;
    size_t i = 0;
    while (i < argument.size()) {
        if (argument[i] != '\\') {
            run += argument[i++];
            continue;
        }
        if (!appendUtf8Run(run, units)) {
            error = "name is not valid UTF-8";
            return false;
        }
        run.clear();
        const char kind = i + 1 < argument.size() ? argument[i + 1] : '\0';
        if (kind == '\\') {
            units.push_back(u'\\');
            i += 2;
        } else if (kind == 'x' && i + 3 < argument.size() && hexValue(argument[i + 2]) >= 0 &&
                   hexValue(argument[i + 3]) >= 0) {
            units.push_back(static_cast<char16_t>(hexValue(argument[i + 2]) * 16 + hexValue(argument[i + 3])));
            i += 4;
        } else if (kind >= '0' && kind <= '7') {
            unsigned value = 0;
            size_t digits = 0;
            while (digits < 3 && i + 1 + digits < argument.size() && argument[i + 1 + digits] >= '0' &&
                   argument[i + 1 + digits] <= '7') {
                value = value * 8 + static_cast<unsigned>(argument[i + 1 + digits] - '0');
                ++digits;
            }
            if (value > 0xFF || value == 0) {
                error = value == 0 ? "a name cannot hold the character 0" : "octal escape above \\377";
                return false;
            }
            units.push_back(static_cast<char16_t>(value));
            i += 1 + digits;
        } else {
            error = "unknown escape in name (use \\xHH, \\NNN or \\\\)";
            return false;
        }
    }
    if (!appendUtf8Run(run, units)) {
        error = "name is not valid UTF-8";
        return false;
    }
    for (char16_t unit : units) {
        if (unit == 0) {
            error = "a name cannot hold the character 0";
            return false;
        }
    }
    name = TOVXString::FromUnits(reinterpret_cast<const unsigned short*>(units.data()), static_cast<int>(units.size()));
    return true;
}

std::string safeFileName(const TOVXString& name) {
    if (name.length() == 0) return "%empty";
    static const std::u16string kStructural = u"%/\\:*?\"<>|";
    std::u16string safe;
    for (int i = 0; i < name.length(); ++i) {
        const unsigned short unit = name.At(i);
        if (isControl(unit) || kStructural.find(static_cast<char16_t>(unit)) != std::u16string::npos)
            for (char c : hexByte("%%%02X", unit)) safe.push_back(static_cast<char16_t>(c));
        else safe.push_back(static_cast<char16_t>(unit));
    }
    if (safe == u".") return "%2E";
    if (safe == u"..") return "%2E%2E";
    return TOVXString::FromUnits(reinterpret_cast<const unsigned short*>(safe.data()), static_cast<int>(safe.size())).ToUtf8();
}

std::string pathName(const TOVXString& name) {
    std::string shown = displayName(name);
    for (size_t slash = shown.find('/'); slash != std::string::npos; slash = shown.find('/', slash + 4))
        shown.replace(slash, 1, "\\x2f");
    return shown;
}

std::string shownPath(const std::vector<TOVXString>& names, size_t count) {
    std::string out;
    for (size_t i = 0; i < count && i < names.size(); ++i) out += "/" + pathName(names[i]);
    return out.empty() ? "/" : out;
}

std::string kindName(int type) {
    switch (type) {
        case STGTY_INVALID: return "invalid";
        case STGTY_STORAGE: return "storage";
        case STGTY_STREAM: return "stream";
        case STGTY_LOCKBYTES: return "lockbytes";
        case STGTY_PROPERTY: return "property";
        case STGTY_ROOT: return "root";
        default: return "type " + std::to_string(type);
    }
}

std::string guidText(const unsigned char* id) {
    // A property set's id is kept in the byte order of its printed form, so no field is swapped.
    char text[40];
    std::snprintf(text, sizeof text, "{%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X}", id[0], id[1],
                  id[2], id[3], id[4], id[5], id[6], id[7], id[8], id[9], id[10], id[11], id[12], id[13], id[14], id[15]);
    return text;
}

std::string clsidText(const unsigned char* stored) {
    unsigned char printed[16];
    const int order[8] = {3, 2, 1, 0, 5, 4, 7, 6};  // the three little-endian fields, turned round
    for (int i = 0; i < 8; ++i) printed[i] = stored[order[i]];
    for (int i = 8; i < 16; ++i) printed[i] = stored[i];
    return guidText(printed);
}

std::string timeText(uint64_t ticks) {
    FILETIME time;
    time.dwLowDateTime = static_cast<uint32_t>(ticks);
    time.dwHighDateTime = static_cast<uint32_t>(ticks >> 32);
    TOVXString text;
    TOVXDate::FormatDate(time, text, 1, false);
    std::string shown = text.ToUtf8();  // "YYYY-MM-DD HH:MM:SS"
    const size_t space = shown.find(' ');
    if (space != std::string::npos) shown[space] = 'T';
    return shown + "Z";
}

std::string hexDumpLine(uint64_t offset, const unsigned char* bytes, size_t count) {
    char text[96];
    int at = std::snprintf(text, sizeof text, "%08llx ", static_cast<unsigned long long>(offset));
    for (size_t i = 0; i < 16; ++i) {
        if (i == 8) text[at++] = ' ';
        at += i < count ? std::snprintf(text + at, sizeof text - at, " %02x", bytes[i]) : std::snprintf(text + at, sizeof text - at, "   ");
    }
    at += std::snprintf(text + at, sizeof text - at, "  |");
    for (size_t i = 0; i < count && i < 16; ++i) text[at++] = bytes[i] >= 0x20 && bytes[i] < 0x7F ? static_cast<char>(bytes[i]) : '.';
    text[at++] = '|';
    return std::string(text, static_cast<size_t>(at));
}

bool looksBinary(const unsigned char* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const unsigned char byte = bytes[i];
        if (byte == '\t' || byte == '\n' || byte == '\r' || byte == '\f') continue;
        if (byte < 0x20 || byte == 0x7F) return true;
        if (byte < 0x80) continue;
        std::u16string ignored;
        size_t length = (byte & 0xE0) == 0xC0 ? 2 : (byte & 0xF0) == 0xE0 ? 3 : (byte & 0xF8) == 0xF0 ? 4 : 0;
        // A sequence cut by the end of the bytes is not held against them.
        if (length > 0 && i + length > count) return false;
        if (length == 0 || !tovx::decodeUtf8(bytes + i, length, ignored)) return true;
        i += length - 1;
    }
    return false;
}

}  // namespace ststg
