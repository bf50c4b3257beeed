#include "StgTestSupport.h"

namespace stgtest {

std::vector<WCHAR> wide(const std::string& text) {
    std::vector<WCHAR> result;
    for (size_t i = 0; i < text.size();) {
        const unsigned char lead = static_cast<unsigned char>(text[i]);
        const int length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        uint32_t code = length == 1 ? lead : lead & (0x7F >> length);
        for (int k = 1; k < length && i + k < text.size(); ++k) code = (code << 6) | (text[i + k] & 0x3F);
        i += length;
        if (code >= 0x10000) {
            result.push_back(static_cast<WCHAR>(0xD800 + ((code - 0x10000) >> 10)));
            result.push_back(static_cast<WCHAR>(0xDC00 + ((code - 0x10000) & 0x3FF)));
        } else {
            result.push_back(static_cast<WCHAR>(code));
        }
    }
    result.push_back(0);
    return result;
}

std::string narrow(const WCHAR* text) {
    std::string out;
    for (; text != nullptr && *text != 0; ++text) {
        uint32_t code = *text;
        if (code >= 0xD800 && code < 0xDC00 && text[1] >= 0xDC00 && text[1] < 0xE000) {
            code = 0x10000 + ((code - 0xD800) << 10) + (text[1] - 0xDC00);
            ++text;
        }
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
    return out;
}

HRESULT openFile(const std::string& path, DWORD mode, Ref<IStorage>& storage) {
    return StgOpenStorage(wide(path).data(), nullptr, mode, nullptr, 0, storage.out());
}

}  // namespace stgtest
