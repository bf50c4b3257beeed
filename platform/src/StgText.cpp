#include "StgText.h"

#include <cstring>

namespace tovxstg {

int compareNames(const std::u16string& a, const std::u16string& b) {
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    for (size_t i = 0; i < a.size(); ++i) {
        const char16_t left = upperCaseUnit(a[i]);
        const char16_t right = upperCaseUnit(b[i]);
        if (left != right) return left < right ? -1 : 1;
    }
    return 0;
}

std::u16string fromCallerText(const WCHAR* text, size_t limit, bool* cut) {
    std::u16string result;
    size_t length = 0;
    while (length < limit && text[length] != 0) ++length;
    result.reserve(length);
    for (size_t i = 0; i < length; ++i) result.push_back(static_cast<char16_t>(text[i]));
    if (cut != nullptr) *cut = length == limit && text[length] != 0;
    return result;
}

namespace {

void appendUtf8(uint32_t code, std::string& out) {
    if (code < 0x80) {
        out.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (code >> 6)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else if (code < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (code >> 12)));
        out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (code >> 18)));
        out.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
}

bool isHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool isLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

}  // namespace

std::string utf16ToUtf8(const std::u16string& text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (isHighSurrogate(unit) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
            appendUtf8(0x10000 + ((uint32_t(unit) - 0xD800) << 10) + (uint32_t(text[i + 1]) - 0xDC00), out);
            ++i;
        } else if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
            appendUtf8(0xFFFD, out);
        } else {
            appendUtf8(unit, out);
        }
    }
    return out;
}

WCHAR* callerCopy(const std::u16string& text) {
    auto* copy = static_cast<WCHAR*>(CoTaskMemAlloc((text.size() + 1) * sizeof(WCHAR)));
    if (copy == nullptr) return nullptr;
    for (size_t i = 0; i < text.size(); ++i) copy[i] = text[i];
    copy[text.size()] = 0;
    return copy;
}

char* callerCopy(const std::string& text) {
    auto* copy = static_cast<char*>(CoTaskMemAlloc(text.size() + 1));
    if (copy == nullptr) return nullptr;
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

}  // namespace tovxstg
