#include "StgFormatIds.h"

#include "StgText.h"

#include <cstring>

namespace tovxstg {

namespace {

const char kAlphabet[] = "abcdefghijklmnopqrstuvwxyz012345";
const size_t kNameCharacters = 26;  // 128 bits in fives: 25 whole characters and one of 3 bits
const std::u16string kSummaryName = u"\005SummaryInformation";
const std::u16string kDocumentSummaryName = u"\005DocumentSummaryInformation";

void storedBytes(const FMTID& fmtid, uint8_t bytes[16]) {
    for (int i = 0; i < 4; ++i) bytes[i] = static_cast<uint8_t>(fmtid.Data1 >> (8 * i));
    for (int i = 0; i < 2; ++i) bytes[4 + i] = static_cast<uint8_t>(fmtid.Data2 >> (8 * i));
    for (int i = 0; i < 2; ++i) bytes[6 + i] = static_cast<uint8_t>(fmtid.Data3 >> (8 * i));
    std::memcpy(bytes + 8, fmtid.Data4, 8);
}

FMTID fromStoredBytes(const uint8_t bytes[16]) {
    FMTID fmtid;
    fmtid.Data1 = uint32_t(bytes[0]) | (uint32_t(bytes[1]) << 8) | (uint32_t(bytes[2]) << 16) |
                  (uint32_t(bytes[3]) << 24);
    fmtid.Data2 = static_cast<uint16_t>(bytes[4] | (bytes[5] << 8));
    fmtid.Data3 = static_cast<uint16_t>(bytes[6] | (bytes[7] << 8));
    std::memcpy(fmtid.Data4, bytes + 8, 8);
    return fmtid;
}

int characterValue(char16_t character) {
    if (character >= u'a' && character <= u'z') return character - u'a';
    if (character >= u'A' && character <= u'Z') return character - u'A';
    if (character >= u'0' && character <= u'5') return 26 + (character - u'0');
    return -1;
}

}  // namespace

std::u16string streamNameOfFormatId(const FMTID& fmtid) {
    if (IsEqualGUID(fmtid, FMTID_SummaryInformation)) return kSummaryName;
    // The user-defined properties are the second section of the document summary stream.
    if (IsEqualGUID(fmtid, FMTID_DocSummaryInformation) || IsEqualGUID(fmtid, FMTID_UserDefinedProperties)) {
        return kDocumentSummaryName;
    }
    uint8_t bytes[16];
    storedBytes(fmtid, bytes);
    std::u16string name(1, u'\005');
    for (size_t character = 0; character < kNameCharacters; ++character) {
        unsigned value = 0;
        for (unsigned bit = 0; bit < 5; ++bit) {
            const size_t position = character * 5 + bit;
            if (position < 128 && (bytes[position / 8] >> (position % 8)) & 1) value |= 1u << bit;
        }
        name.push_back(static_cast<char16_t>(kAlphabet[value]));
    }
    return name;
}

bool formatIdOfStreamName(const std::u16string& name, FMTID& fmtid) {
    if (compareNames(name, kSummaryName) == 0) {
        fmtid = FMTID_SummaryInformation;
        return true;
    }
    if (compareNames(name, kDocumentSummaryName) == 0) {
        fmtid = FMTID_DocSummaryInformation;
        return true;
    }
    if (name.size() != kNameCharacters + 1 || name[0] != u'\005') return false;
    uint8_t bytes[16] = {};
    for (size_t character = 0; character < kNameCharacters; ++character) {
        const int value = characterValue(name[character + 1]);
        if (value < 0) return false;
        for (unsigned bit = 0; bit < 5; ++bit) {
            const size_t position = character * 5 + bit;
            if (!((value >> bit) & 1)) continue;
            if (position >= 128) return false;  // the last character holds only three bits
            bytes[position / 8] = static_cast<uint8_t>(bytes[position / 8] | (1u << (position % 8)));
        }
    }
    fmtid = fromStoredBytes(bytes);
    return true;
}

}  // namespace tovxstg
