#include "TOVXString.h"

#include <cstring>

#include "TOVXMemoryManager.h"

namespace tovx {

bool decodeUtf8(const unsigned char* bytes, size_t count, std::u16string& out) {
    std::u16string decoded;
    decoded.reserve(count);
    size_t i = 0;
    while (i < count) {
        const unsigned char lead = bytes[i];
        if (lead < 0x80) {
            decoded.push_back(lead);
            ++i;
            continue;
        }
        int extra;
        char32_t cp;
        char32_t minimum;
        if ((lead & 0xE0) == 0xC0) { extra = 1; cp = lead & 0x1F; minimum = 0x80; }
        else if ((lead & 0xF0) == 0xE0) { extra = 2; cp = lead & 0x0F; minimum = 0x800; }
        else if ((lead & 0xF8) == 0xF0) { extra = 3; cp = lead & 0x07; minimum = 0x10000; }
        else return false;
        if (count - i <= static_cast<size_t>(extra)) return false;
        for (int k = 1; k <= extra; ++k) {
            const unsigned char next = bytes[i + k];
            if ((next & 0xC0) != 0x80) return false;
            cp = (cp << 6) | (next & 0x3F);
        }
        if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
        if (cp >= 0x10000) {
            cp -= 0x10000;
            decoded.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
            decoded.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
        } else {
            decoded.push_back(static_cast<char16_t>(cp));
        }
        i += static_cast<size_t>(extra) + 1;
    }
    out += decoded;
    return true;
}

char16_t windows1252ToUnicode(unsigned char byte) {
    static const char16_t kHigh[32] = {
        0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
        0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
        0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
    if (byte >= 0x80 && byte <= 0x9F) return kHigh[byte - 0x80];
    return byte;
}

void appendUtf8(char32_t cp, std::string& out) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

}  // namespace tovx

const std::u16string& TOVXString::empty() {
    static const std::u16string none;
    return none;
}

void TOVXString::take(std::u16string&& units) {
    if (units.empty())
        units_.reset();
    else
        units_ = std::make_shared<const std::u16string>(std::move(units));
}

TOVXString::TOVXString(const unsigned short* text) {
    if (text == nullptr) return;
    size_t count = 0;
    while (text[count] != 0) ++count;
    take(std::u16string(reinterpret_cast<const char16_t*>(text), count));
}

TOVXString::TOVXString(unsigned short unit) { take(std::u16string(1, static_cast<char16_t>(unit))); }

TOVXString::TOVXString(const char* text, const char* encoding) {
    (void)encoding;  // "US-ASCII" is a subset of the default decoding, so both take the same road
    if (text == nullptr) return;
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(text);
    const size_t count = std::strlen(text);
    std::u16string units;
    if (!tovx::decodeUtf8(bytes, count, units)) {
        units.reserve(count);
        for (size_t i = 0; i < count; ++i) units.push_back(tovx::windows1252ToUnicode(bytes[i]));
    }
    take(std::move(units));
}

TOVXString TOVXString::operator+=(const TOVXString& other) {
    if (other.length() > 0) take(Text() + other.Text());
    return *this;
}

bool TOVXString::startsWith(const TOVXString& prefix) const {
    const std::u16string& units = Text();
    const std::u16string& start = prefix.Text();
    return units.size() >= start.size() && units.compare(0, start.size(), start) == 0;
}

TOVXString TOVXString::replace(unsigned short from, unsigned short to) const {
    std::u16string units = Text();
    for (char16_t& unit : units)
        if (unit == from) unit = static_cast<char16_t>(to);
    TOVXString result;
    result.take(std::move(units));
    return result;
}

TOVXResult TOVXString::convertToWideCharacter(unsigned short* buffer, int size) const {
    if (buffer == nullptr || size <= 0) return TOVXResult(TOVX_E_FAIL);
    const std::u16string& units = Text();
    const size_t room = static_cast<size_t>(size) - 1;
    const size_t count = units.size() < room ? units.size() : room;
    std::memcpy(buffer, units.data(), count * sizeof(unsigned short));
    buffer[count] = 0;
    return TOVXResult(count == units.size() ? TOVX_OK : TOVX_E_FAIL);
}

TOVXString TOVXString::FromUnits(const unsigned short* units, int count) {
    TOVXString text;
    if (units != nullptr && count > 0) text.take(std::u16string(reinterpret_cast<const char16_t*>(units), static_cast<size_t>(count)));
    return text;
}

TOVXString TOVXString::FromUtf8(const std::string& text) { return TOVXString(text.c_str(), nullptr); }

std::string TOVXString::ToUtf8() const {
    const std::u16string& units = Text();
    std::string out;
    out.reserve(units.size());
    for (size_t i = 0; i < units.size(); ++i) {
        char32_t cp = units[i];
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (units[i + 1] - 0xDC00);
            ++i;
        } else if (cp >= 0xD800 && cp <= 0xDFFF) {
            cp = 0xFFFD;  // a lone surrogate has no UTF-8 form
        }
        tovx::appendUtf8(cp, out);
    }
    return out;
}

TOVXResult TOVXStringToWideChars(const TOVXString& text, unsigned short*& wide) {
    const int size = text.getConvertToWideCharacterSize();
    wide = static_cast<unsigned short*>(tovxAllocate(static_cast<unsigned int>(size) * 2u));
    if (wide == nullptr) return TOVXResult(TOVX_E_FAIL);
    return text.convertToWideCharacter(wide, size);
}

TOVXResult TOVXReleaseWideChars(unsigned short*& wide) {
    tovxDeallocate(wide);
    return TOVXResult(TOVX_OK);
}
