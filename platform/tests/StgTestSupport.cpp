#include "StgTestSupport.h"

#include "CfbBuilder.h"
#include "PropertyStreamBuilder.h"

using namespace tovxtest;

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

std::vector<uint8_t> storedId(const GUID& id) {
    Bytes bytes = concat({le32(id.Data1), le16(id.Data2), le16(id.Data3)});
    bytes.insert(bytes.end(), id.Data4, id.Data4 + 8);
    return bytes;
}

std::vector<uint8_t> sampleFile() {
    const Bytes documentSummary = PropertyStreamBuilder()
                                      .section(storedId(FMTID_DocSummaryInformation))
                                      .value(PID_CODEPAGE, typed(VT_I2, concat({le16(1252), le16(0)})))
                                      .value(2, typed(VT_LPSTR, narrowString("Category")))
                                      .section(storedId(FMTID_UserDefinedProperties))
                                      .value(PID_CODEPAGE, typed(VT_I2, concat({le16(1200), le16(0)})))
                                      .value(PID_DICTIONARY, wideDictionary({{2, u"Named"}}))
                                      .value(2, typed(VT_I4, le32(7)))
                                      .value(3, typed(VT_I4, le32(8)))
                                      .build();
    const Bytes other = PropertyStreamBuilder()
                            .section(formatId(0x10))
                            .value(2, typed(VT_UI2, concat({le16(65000), le16(0)})))
                            .build();
    CfbBuilder builder;
    builder.addStream(CfbBuilder::kRoot, u"CaseTest", patternBytes(100, 1));
    builder.addStream(CfbBuilder::kRoot, u"Документ", patternBytes(5000, 2));
    builder.addStream(CfbBuilder::kRoot, u"ÆØÅ", patternBytes(10, 3));
    const int storage = builder.addStorage(CfbBuilder::kRoot, u"SubStg");
    builder.addStream(storage, u"Inner", patternBytes(70, 4));
    builder.addStream(CfbBuilder::kRoot, u"\005DocumentSummaryInformation", documentSummary);
    builder.addStream(CfbBuilder::kRoot, u"\005Junk", patternBytes(64, 5));
    builder.addStream(CfbBuilder::kRoot, u"\005baaaaaaaaaaaaaaaaaaaaaaaaa", other);
    return builder.build();
}

}  // namespace stgtest
