#include "StstgPropertyLabels.h"

#include <cstdio>
#include <cstring>

#include "TOVXProperty.h"

namespace ststg {

namespace {

const char kSummaryId[] = "{F29F85E0-4FF9-1068-AB91-08002B27B3D9}";
const char kDocumentSummaryId[] = "{D5CDD502-2E9C-101B-9397-08002B2CF9AE}";
const char kUserDefinedId[] = "{D5CDD505-2E9C-101B-9397-08002B2CF9AE}";

struct Label {
    uint32_t id;
    const char* name;
};

const Label kSummaryLabels[] = {
    {2, "Title"},          {3, "Subject"},    {4, "Author"},     {5, "Keywords"},   {6, "Comments"},
    {7, "Template"},       {8, "LastAuthor"}, {9, "RevNumber"},  {10, "EditTime"},  {11, "LastPrinted"},
    {12, "Created"},       {13, "LastSaved"}, {14, "PageCount"}, {15, "WordCount"}, {16, "CharCount"},
    {17, "Thumbnail"},     {18, "AppName"},   {19, "Security"},
};

const Label kDocumentSummaryLabels[] = {
    {2, "Category"},          {3, "PresentationFormat"}, {4, "ByteCount"},   {5, "LineCount"},
    {6, "ParCount"},          {7, "SlideCount"},         {8, "NoteCount"},   {9, "HiddenCount"},
    {10, "MMClipCount"},      {11, "Scale"},             {12, "HeadingPairs"}, {13, "TitlesOfParts"},
    {14, "Manager"},          {15, "Company"},           {16, "LinksUpToDate"}, {17, "CharCountWithSpaces"},
    {19, "SharedDoc"},        {22, "HyperlinksChanged"}, {23, "AppVersion"},  {24, "DigSig"},
    {26, "ContentType"},      {27, "ContentStatus"},     {28, "Language"},    {29, "DocVersion"},
};

// Ids with one meaning in every set.
const Label kAnySetLabels[] = {{1, "CodePage"}, {0x80000000u, "Locale"}, {0x80000003u, "Behavior"}};

template <size_t N>
const char* find(const Label (&labels)[N], uint32_t id) {
    for (const Label& label : labels)
        if (label.id == id) return label.name;
    return nullptr;
}

const char kNameAlphabet[] = "abcdefghijklmnopqrstuvwxyz012345";
constexpr int kNameCharacters = 26;  // 128 bits in fives: 25 whole characters and one of 3 bits

// The 16 bytes of "{GUID}" as a file stores them: the first three fields little-endian.
bool storedGuid(const std::string& text, unsigned char* bytes) {
    unsigned data1 = 0, data2 = 0, data3 = 0, d[8] = {};
    char end = 0;
    if (text.size() != 38 ||
        std::sscanf(text.c_str(), "{%8x-%4x-%4x-%2x%2x-%2x%2x%2x%2x%2x%2x%c", &data1, &data2, &data3, &d[0], &d[1], &d[2],
                    &d[3], &d[4], &d[5], &d[6], &d[7], &end) != 12 || end != '}')
        return false;
    for (int i = 0; i < 4; ++i) bytes[i] = static_cast<unsigned char>(data1 >> (8 * i));
    for (int i = 0; i < 2; ++i) bytes[4 + i] = static_cast<unsigned char>(data2 >> (8 * i));
    for (int i = 0; i < 2; ++i) bytes[6 + i] = static_cast<unsigned char>(data3 >> (8 * i));
    for (int i = 0; i < 8; ++i) bytes[8 + i] = static_cast<unsigned char>(d[i]);
    return true;
}

}  // namespace

std::string wellKnownLabel(const std::string& setId, uint32_t id) {
    const char* label = setId == kSummaryId ? find(kSummaryLabels, id)
                        : setId == kDocumentSummaryId ? find(kDocumentSummaryLabels, id)
                                                      : nullptr;
    if (label == nullptr) label = find(kAnySetLabels, id);
    return label != nullptr ? label : "";
}

bool isEditTime(const std::string& setId, uint32_t id) { return setId == kSummaryId && id == 10; }

std::string durationText(uint64_t ticks) {
    const uint64_t seconds = ticks / 10000000u;
    char text[40];
    std::snprintf(text, sizeof text, "%llu:%02u:%02u", static_cast<unsigned long long>(seconds / 3600),
                  static_cast<unsigned>(seconds / 60 % 60), static_cast<unsigned>(seconds % 60));
    return text;
}

TOVXString propertySetStreamName(const std::string& setId) {
    if (setId == kSummaryId) return TOVXString::FromUtf8("\x05SummaryInformation");
    if (setId == kDocumentSummaryId || setId == kUserDefinedId) return TOVXString::FromUtf8("\x05" "DocumentSummaryInformation");
    unsigned char bytes[16];
    if (!storedGuid(setId, bytes)) return TOVXString();
    std::string name = "\x05";
    for (int character = 0; character < kNameCharacters; ++character) {
        unsigned value = 0;
        for (int bit = 0; bit < 5; ++bit) {
            const int position = character * 5 + bit;
            if (position < 128 && ((bytes[position / 8] >> (position % 8)) & 1)) value |= 1u << bit;
        }
        name += kNameAlphabet[value];
    }
    return TOVXString::FromUtf8(name);
}

std::string valueKindWord(int type, const char* notFound) {
    switch (type) {
        case ValueTypeNotFound: return notFound;
        case ValueTypeUnknown: return "unconverted";
        case ValueTypeText: return "text";
        case ValueTypeInteger: return "integer";
        case ValueTypeFloat: return "float";
        case ValueTypeBoolean: return "boolean";
        case ValueTypeDate: return "date";
        default: return "type " + std::to_string(type);
    }
}

}  // namespace ststg
