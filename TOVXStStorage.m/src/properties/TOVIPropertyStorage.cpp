#include "TOVIPropertyStorage.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "TOVXCodePage.h"
#include "TOVXDate.h"
#include "TOVXMemoryManager.h"
#include "TOVXResourceBounds.h"

namespace {

// Property ids and type codes that mean something to the parser.
constexpr uint32_t kDictionaryId = 0;
constexpr uint32_t kCodePageId = 1;
constexpr uint32_t kSetNameId = 255;
constexpr uint32_t kLocaleId = 0x80000000u;
constexpr uint16_t kByteOrderMark = 0xFFFE;
constexpr uint16_t kCodePageUtf16 = 1200;

enum TypeCode : uint32_t {
    kI2 = 2, kI4 = 3, kR4 = 4, kR8 = 5, kCurrency = 6, kBstr = 8, kError = 10, kBool = 11,
    kUI1 = 17, kUI2 = 18, kUI4 = 19, kI8 = 20, kUI8 = 21, kLpstr = 30, kLpwstr = 31,
    kFiletime = 64, kClsid = 72,
};

// A value's text is made in a field of 260 characters, terminator included: longer text is cut.
constexpr size_t kFormatField = 260;

TOVXString printed(const char* format, ...) {
    char text[kFormatField] = {};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return TOVXString(text, nullptr);
}

// The conversion letter alone decides the sign: "%i" and "%li" are signed, "%u", "%lu" and "0x%08X" are not.
bool isSignedConversion(const char* format) {
    const size_t length = std::strlen(format);
    return length > 0 && (format[length - 1] == 'i' || format[length - 1] == 'd');
}

bool hasLongModifier(const char* format) { return std::strchr(format, 'l') != nullptr; }

// Scratch from the memory manager, given back however the work with it ends.
struct Scratch {
    void* block;
    ~Scratch() { tovxDeallocate(block); }
};

}  // namespace

TOVIPropertyStorage::TOVIPropertyStorage()
    : TOVXReferenceCount(0),
      buffer(nullptr),
      bufferSize(0),
      byteOrder(0),
      formatVersion(0),
      systemIdLow(0),
      systemIdHigh(0x00FF),
      classId(),
      sectionCount(0),
      firstFormatId(),
      firstSectionOffset(0),
      secondFormatId(),
      secondSectionOffset(0),
      secondSectionSize(0),
      secondSectionStart(nullptr),
      secondPropertyCount(0),
      firstSectionStart(nullptr),
      firstSectionSize(0),
      firstPropertyCount(0),
      dictionaryBudget(0),
      codePage(0),
      localeId(0),
      sectionCodePage(-1),
      textBudget(0) {}

TOVIPropertyStorage::~TOVIPropertyStorage() {
    buffer = nullptr;
    firstSectionStart = nullptr;
    secondSectionStart = nullptr;
    properties.FreeElements();
}

// ---- The stream header ------------------------------------------------------------------

// Memory that runs out ends the parse: the set keeps the properties made before (TOVXResourceBounds.h).
bool TOVIPropertyStorage::InitializeFromBuffer(const unsigned char* streamBytes, int size) try {
    buffer = streamBytes;
    bufferSize = size;
    // What one stream may cost to parse, whatever it claims (TOVXResourceBounds.h): producers
    // read each string and each dictionary once; only a crafted stream points many table
    // entries at one long text or one large dictionary. Past these budgets, further strings
    // read empty and further dictionary entries are not read.
    textBudget = tovxbounds::textBudget(static_cast<uint32_t>(size));
    dictionaryBudget = tovxbounds::dictionaryBudget(static_cast<uint32_t>(size));
    Cursor cursor = buffer;
    byteOrder = ReadUnsignedShort(cursor);
    if (byteOrder != kByteOrderMark) return false;  // there is no big-endian reading
    formatVersion = ReadUnsignedShort(cursor);
    if (formatVersion != 0) return false;
    systemIdLow = ReadUnsignedShort(cursor);
    systemIdHigh = ReadUnsignedShort(cursor);
    ReadCLSID(cursor, classId);
    sectionCount = ReadUnsignedInt(cursor);
    ReadCLSID(cursor, firstFormatId);
    firstSectionOffset = ReadUnsignedInt(cursor);
    if (sectionCount == 2) {
        ReadCLSID(cursor, secondFormatId);
        secondSectionOffset = ReadUnsignedInt(cursor);
    }
    // The first section is taken directly behind the section list; its stored offset is
    // ignored on purpose, while the second section's offset is honoured.
    firstSectionStart = cursor;
    firstSectionSize = ReadUnsignedInt(cursor);
    firstPropertyCount = ReadUnsignedInt(cursor);
    readSectionProperties(cursor, firstSectionStart, firstPropertyCount);
    if (sectionCount == 2) ReadExtendedSection();
    MergeDisplayNames();
    return true;
} catch (...) {
    return true;  // the header passed: memory runs out only in the parse behind it
}

void TOVIPropertyStorage::ReadExtendedSection() {
    secondSectionStart = at(buffer, secondSectionOffset);
    Cursor cursor = secondSectionStart;
    secondSectionSize = ReadUnsignedInt(cursor);
    secondPropertyCount = ReadUnsignedInt(cursor);
    readSectionProperties(cursor, secondSectionStart, secondPropertyCount);
}

void TOVIPropertyStorage::readSectionProperties(Cursor& cursor, const unsigned char* sectionStart, uint32_t count) {
    sectionCodePage = declaredCodePage(cursor, sectionStart, count);
    for (uint32_t i = 0; i < count; ++i) {
        const Cursor before = cursor;
        AddOrUpdateProperty(ReadPropertyFromSection(cursor, sectionStart));
        // A table entry that could not be read leaves the cursor in place, and every later
        // round would read the same nothing again: a count larger than the stream ends here.
        if (cursor == before) break;
    }
}

// Producers put the code page anywhere in the table, also behind the strings it decodes.
int32_t TOVIPropertyStorage::declaredCodePage(Cursor table, const unsigned char* sectionStart, uint32_t count) {
    int32_t declared = -1;
    for (uint32_t i = 0; i < count; ++i) {
        const Cursor before = table;
        const uint32_t id = ReadUnsignedInt(table);
        Cursor value = at(sectionStart, ReadUnsignedInt(table));
        if (table == before) break;
        if (id == kCodePageId && ReadUnsignedInt(value) == kI2) declared = ReadUnsignedShort(value);  // the last one stands
    }
    return declared;
}

uint16_t TOVIPropertyStorage::textCodePage() const {
    return sectionCodePage >= 0 ? static_cast<uint16_t>(sectionCodePage) : codePage;
}

// ---- Readers ----------------------------------------------------------------------------

bool TOVIPropertyStorage::fits(Cursor cursor, uint64_t count) const {
    if (cursor == nullptr || buffer == nullptr || cursor < buffer) return false;
    const uint64_t position = static_cast<uint64_t>(cursor - buffer);
    return position + count <= static_cast<uint32_t>(bufferSize);  // the size is taken unsigned
}

// `base` plus `offset`, or null (on which every read fails) when that lies past the buffer's end.
TOVIPropertyStorage::Cursor TOVIPropertyStorage::at(const unsigned char* base, uint32_t offset) const {
    return fits(base, offset) ? base + offset : nullptr;
}

unsigned char TOVIPropertyStorage::ReadByte(Cursor& cursor) {
    if (!fits(cursor, 1)) return 0;
    return *cursor++;
}

uint16_t TOVIPropertyStorage::ReadUnsignedShort(Cursor& cursor) {
    if (!fits(cursor, 2)) return 0;
    const uint16_t value = static_cast<uint16_t>(cursor[0] | (cursor[1] << 8));
    cursor += 2;
    return value;
}

uint32_t TOVIPropertyStorage::ReadUnsignedInt(Cursor& cursor) {
    if (!fits(cursor, 4)) return 0;
    const uint32_t value = static_cast<uint32_t>(cursor[0]) | (static_cast<uint32_t>(cursor[1]) << 8) |
                           (static_cast<uint32_t>(cursor[2]) << 16) | (static_cast<uint32_t>(cursor[3]) << 24);
    cursor += 4;
    return value;
}

uint64_t TOVIPropertyStorage::ReadUnsignedInt64(Cursor& cursor) {
    if (!fits(cursor, 8)) return 0;  // one test for all eight bytes: half a value reads as 0
    const uint64_t low = ReadUnsignedInt(cursor);
    const uint64_t high = ReadUnsignedInt(cursor);
    return low | (high << 32);
}

float TOVIPropertyStorage::ReadFloat(Cursor& cursor) {
    const uint32_t bits = ReadUnsignedInt(cursor);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

double TOVIPropertyStorage::ReadDouble(Cursor& cursor) {
    const uint64_t bits = ReadUnsignedInt64(cursor);
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// The first three groups are stored reversed; the result reads in the order of the text form.
void TOVIPropertyStorage::ReadCLSID(Cursor& cursor, unsigned char* id) {
    std::memset(id, 0, 16);
    if (!fits(cursor, 16)) return;
    static const int kOrder[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
    for (int i = 0; i < 16; ++i) id[i] = cursor[kOrder[i]];
    cursor += 16;
}

// ---- Strings ----------------------------------------------------------------------------

// Narrow text in its section's code page, from the library's tables or through the platform.
// A code page that neither knows (0 among them, a section without one) falls back to
// TOVXString's own narrow decoding: UTF-8 when the bytes are valid UTF-8, else Windows-1252.
TOVXString TOVIPropertyStorage::decodeNarrow(const unsigned char* bytes, uint32_t count) const {
    TOVXString text;
    if (TOVXCodePage::Decode(bytes, static_cast<int>(count), textCodePage(), text)) return text;
    return TOVXString(reinterpret_cast<const char*>(bytes), nullptr);
}

bool TOVIPropertyStorage::takeFromTextBudget(uint64_t bytes) {
    if (bytes > textBudget) return false;
    textBudget -= bytes;
    return true;
}

TOVXString TOVIPropertyStorage::ReadMBCSString(Cursor& cursor, bool align) {
    const uint32_t length = ReadUnsignedInt(cursor);
    if (!fits(cursor, length) || length == 0) return TOVXString();
    TOVXString text;
    if (!takeFromTextBudget(length)) {
        cursor += length;
    } else {
        // One byte more than the length, kept zero: a string with no terminator inside its length ends at its length.
        const Scratch scratch{tovxAllocate(length + 1u)};
        unsigned char* block = static_cast<unsigned char*>(scratch.block);
        if (block != nullptr) {
            std::memcpy(block, cursor, length);  // all `length` bytes lie inside the buffer
            cursor += length;
            block[length] = 0;
            text = decodeNarrow(block, length);
        }
    }
    if (align)
        for (uint32_t pad = (4 - length % 4) % 4; pad > 0; --pad) ReadByte(cursor);
    return text;
}

// `lengthInFront` is the form of a type code 8 value: a length word counted in bytes, as the
// published format stores it in front of the characters, instead of a count of units.
TOVXString TOVIPropertyStorage::ReadUTF16String(Cursor& cursor, bool align, bool lengthInFront) {
    const uint32_t word = ReadUnsignedInt(cursor);
    const uint32_t units = lengthInFront ? word / 2 : word;
    if (!fits(cursor, static_cast<uint64_t>(units) * 2) || units == 0) return TOVXString();
    TOVXString text;
    if (!takeFromTextBudget(static_cast<uint64_t>(units) * 2)) {
        cursor += static_cast<size_t>(units) * 2;
    } else {
        const Scratch scratch{tovxAllocate(units * 2u)};
        unsigned short* block = static_cast<unsigned short*>(scratch.block);
        if (block != nullptr) {
            uint32_t end = units;  // a string with no terminator inside its length ends at its length
            for (uint32_t i = 0; i < units; ++i) {
                block[i] = static_cast<unsigned short>(cursor[0] | (cursor[1] << 8));  // inside the buffer, tested above
                cursor += 2;
                if (block[i] == 0 && end == units) end = i;
            }
            text = TOVXString::FromUnits(block, static_cast<int>(end));
        }
    }
    if (align) {
        const uint32_t pad = lengthInFront ? (4 - word % 4) % 4 : (units % 2) * 2;
        for (uint32_t i = 0; i < pad; ++i) ReadByte(cursor);
    }
    return text;
}

// ---- Properties -------------------------------------------------------------------------

TOVXProperty* TOVIPropertyStorage::ReadPropertyFromSection(Cursor& cursor, const unsigned char* sectionStart) {
    const uint32_t id = ReadUnsignedInt(cursor);
    const uint32_t offset = ReadUnsignedInt(cursor);
    // The value has a cursor of its own, so nothing in a value can disturb the walk over the table.
    Cursor value = at(sectionStart, offset);
    if (id == kDictionaryId) {
        readDictionary(value);
        return nullptr;
    }
    const uint32_t typeCode = ReadUnsignedInt(value);  // compared as a whole word: vectors and arrays are unknown
    TOVXString text;
    ValueType type = ValueTypeText;
    if (!readValueText(typeCode, value, id, text, type)) return nullptr;
    TOVXProperty* property = tovxNew<TOVXProperty>(TOVXString(), type, text);
    if (property == nullptr) return nullptr;
    property->SetID(id);
    if (id == kSetNameId) setName = text;
    return property;
}

bool TOVIPropertyStorage::readValueText(uint32_t typeCode, Cursor& value, uint32_t id, TOVXString& text, ValueType& type) {
    switch (typeCode) {
    case kI2: {
        const uint16_t number = ReadUnsignedShort(value);
        if (id == kCodePageId) codePage = number;
        text = FormatUnsignedShort(number, "%i", true);
        type = ValueTypeInteger;
        return true;
    }
    case kI4:
        text = FormatUnsignedInt(ReadUnsignedInt(value), "%li", true);
        type = ValueTypeInteger;
        return true;
    case kR4:
        text = FormatFloat(ReadFloat(value), "%f");
        type = ValueTypeFloat;
        return true;
    case kR8:
        text = FormatDouble(ReadDouble(value), "%lf");
        type = ValueTypeFloat;
        return true;
    case kCurrency:  // a signed count of ten-thousandths, shown as text
        text = FormatDouble(static_cast<double>(static_cast<int64_t>(ReadUnsignedInt64(value))) / 10000.0, "$%lf");
        type = ValueTypeText;
        return true;
    case kBstr:
        // The characters are in the section's code page behind a byte count: wide under 1200, narrow otherwise.
        text = textCodePage() == kCodePageUtf16 ? ReadUTF16String(value, true, true) : ReadMBCSString(value, true);
        type = ValueTypeText;
        return true;
    case kError:
        text = FormatUnsignedInt(ReadUnsignedInt(value), "0x%08X", false);
        type = ValueTypeInteger;
        return true;
    case kBool:
        text = FormatBoolean(ReadUnsignedShort(value));
        type = ValueTypeBoolean;
        return true;
    case kUI1:  // listed as text, not as a number
        text = FormatByte(ReadByte(value), "%u", false);
        type = ValueTypeText;
        return true;
    case kUI2:
        text = FormatUnsignedShort(ReadUnsignedShort(value), "%u", false);
        type = ValueTypeInteger;
        return true;
    case kUI4: {
        const uint32_t number = ReadUnsignedInt(value);
        if (id == kLocaleId) localeId = number;
        text = FormatUnsignedInt(number, "%lu", false);
        type = ValueTypeInteger;
        return true;
    }
    case kI8:
        text = FormatUnsignedInt64(ReadUnsignedInt64(value), "%lld", true);
        type = ValueTypeInteger;
        return true;
    case kUI8:
        text = FormatUnsignedInt64(ReadUnsignedInt64(value), "%llu", false);
        type = ValueTypeInteger;
        return true;
    case kLpstr:
        text = ReadMBCSString(value, true);  // narrow under every code page, 1200 included
        type = ValueTypeText;
        return true;
    case kLpwstr:
        text = ReadUTF16String(value, true, false);
        type = ValueTypeText;
        return true;
    case kFiletime: {
        const uint32_t low = ReadUnsignedInt(value);
        const uint32_t high = ReadUnsignedInt(value);
        text = FormatFiletime(high, low);
        type = ValueTypeDate;
        return true;
    }
    case kClsid: {  // listed as a number, not as text
        unsigned char clsid[16];
        ReadCLSID(value, clsid);
        text = FormatCLSID(clsid);
        type = ValueTypeInteger;
        return true;
    }
    default:
        return false;  // empty, blobs, clipboard data, vectors, arrays: no property at all
    }
}

// Names are wide while the code page is 0 or 1200, narrow and unaligned under any other.
void TOVIPropertyStorage::readDictionary(Cursor& cursor) {
    // A dictionary read before adds nothing: every id it names has its first name already.
    if (cursor == nullptr || !dictionariesRead.insert(cursor).second) return;
    const uint32_t count = ReadUnsignedInt(cursor);
    const bool wide = codePage == 0 || codePage == kCodePageUtf16;
    for (uint32_t i = 0; i < count && dictionaryBudget > 0; ++i, --dictionaryBudget) {
        const Cursor before = cursor;
        const uint32_t id = ReadUnsignedInt(cursor);
        const TOVXString name = wide ? ReadUTF16String(cursor, true, false) : ReadMBCSString(cursor, false);
        displayNames.emplace_back(id, name);  // an id keeps its first name: see MergeDisplayNames
        // An entry past the end leaves the cursor in place; every later one would be the same.
        if (cursor == before) break;
    }
}

void TOVIPropertyStorage::AddOrUpdateProperty(TOVXProperty* property) {
    if (property == nullptr) return;
    const uint32_t id = property->GetID();
    const TOVXPropertyHandle handle(property);
    const auto known = propertyPositions.find(id);
    if (known != propertyPositions.end()) {
        // A later property with the same id takes the earlier one's place.
        TOVXPropertyHandle* earlier = properties.MutableAt(known->second);
        if (earlier != nullptr) *earlier = handle;
        return;
    }
    propertyPositions.emplace(id, properties.Count());
    properties.Add(handle);
}

void TOVIPropertyStorage::MergeDisplayNames() {
    if (displayNames.empty()) return;
    // Stable, so that of several names for one id the first read comes first.
    std::stable_sort(displayNames.begin(), displayNames.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    const int count = properties.Count();
    for (int i = 0; i < count; ++i) {
        const TOVXPropertyHandle old = *properties.At(i);
        if (!old.IsValid()) continue;
        const uint32_t id = old->GetID();
        const auto named = std::lower_bound(displayNames.begin(), displayNames.end(), id,
                                            [](const auto& entry, uint32_t wanted) { return entry.first < wanted; });
        if (named == displayNames.end() || named->first != id) continue;
        TOVXString name;
        TOVXString value;
        int type = 0;
        old->GetData(name, value, type);
        // A property gets its name at construction, so a named property is a new one.
        TOVXProperty* renamed = tovxNew<TOVXProperty>(named->second, static_cast<ValueType>(type), value);
        if (renamed == nullptr) continue;
        renamed->SetID(id);
        const TOVXPropertyHandle namedHandle(renamed);  // owns the new property even when no slot can take it
        TOVXPropertyHandle* slotOfOld = properties.MutableAt(i);
        if (slotOfOld != nullptr) *slotOfOld = namedHandle;
    }
}

// ---- Queries ----------------------------------------------------------------------------

TOVXDynamicArray<TOVXPropertyHandle> TOVIPropertyStorage::GetPropertyArray() { return properties; }

TOVXPropertyHandle TOVIPropertyStorage::GetPropertyWithID(int id) {
    const int count = properties.Count();
    for (int i = 0; i < count; ++i) {
        const TOVXPropertyHandle& handle = *properties.At(i);
        if (handle.IsValid() && handle->GetID() == static_cast<uint32_t>(id)) return handle;
    }
    return TOVXPropertyHandle(nullptr);
}

TOVXPropertyHandle TOVIPropertyStorage::GetPropertyWithName(const TOVXString& name) try {
    const int count = properties.Count();
    for (int i = 0; i < count; ++i) {
        const TOVXPropertyHandle& handle = *properties.At(i);
        // GetName gives UTF-8, which the "US-ASCII" decoding reads back whole, so names beyond ASCII match too.
        if (handle.IsValid() && TOVXString(handle->GetName(), "US-ASCII").equals(name)) return handle;
    }
    return TOVXPropertyHandle(nullptr);
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return TOVXPropertyHandle(nullptr);
}

void TOVIPropertyStorage::GetPropertyStorageID(unsigned char* id) {
    if (id == nullptr) return;
    std::memcpy(id, sectionCount == 2 ? secondFormatId : firstFormatId, 16);
}

TOVXString TOVIPropertyStorage::GetPropertyStorageName() { return setName; }

// ---- Value text -------------------------------------------------------------------------

TOVXString TOVIPropertyStorage::FormatBoolean(uint16_t value) {
    return printed("%s", value == 0xFFFF ? "True" : "False");  // only 0xFFFF is true
}

TOVXString TOVIPropertyStorage::FormatByte(unsigned char value, const char* format, bool isSigned) {
    const uint32_t widened = isSigned ? static_cast<uint32_t>(static_cast<int32_t>(static_cast<signed char>(value))) : value;
    return FormatUnsignedInt(widened, format, isSigned);
}

TOVXString TOVIPropertyStorage::FormatUnsignedShort(uint16_t value, const char* format, bool isSigned) {
    const uint32_t widened = isSigned ? static_cast<uint32_t>(static_cast<int32_t>(static_cast<int16_t>(value))) : value;
    return FormatUnsignedInt(widened, format, isSigned);
}

TOVXString TOVIPropertyStorage::FormatUnsignedInt(uint32_t value, const char* format, bool) {
    const bool asLong = hasLongModifier(format);
    if (isSignedConversion(format)) {
        const int32_t number = static_cast<int32_t>(value);
        return asLong ? printed(format, static_cast<long>(number)) : printed(format, static_cast<int>(number));
    }
    return asLong ? printed(format, static_cast<unsigned long>(value)) : printed(format, static_cast<unsigned int>(value));
}

// `format` carries the "ll" width for the 64 bits.
TOVXString TOVIPropertyStorage::FormatUnsignedInt64(uint64_t value, const char* format, bool) {
    if (isSignedConversion(format)) return printed(format, static_cast<long long>(static_cast<int64_t>(value)));
    return printed(format, static_cast<unsigned long long>(value));
}

// The formatter follows the locale and may write a decimal comma; the text always has a point.
TOVXString TOVIPropertyStorage::FormatFloat(float value, const char* format) {
    return printed(format, static_cast<double>(value)).replace(',', '.');
}

TOVXString TOVIPropertyStorage::FormatDouble(double value, const char* format) {
    return printed(format, value).replace(',', '.');
}

TOVXString TOVIPropertyStorage::FormatFiletime(uint32_t high, uint32_t low) {
    TOVXString text;
    FILETIME time;
    time.dwLowDateTime = low;
    time.dwHighDateTime = high;
    TOVXDate::FormatDate(time, text, 1, false);
    return text;
}

TOVXString TOVIPropertyStorage::FormatCLSID(const unsigned char* id) {
    TOVXString text(static_cast<unsigned short>('{'));
    for (int i = 0; i < 16; ++i) {
        char digits[3] = {'0', '0', 0};
        std::snprintf(id[i] > 0x0F ? digits : digits + 1, id[i] > 0x0F ? 3 : 2, "%X", id[i]);
        text += TOVXString(digits, "US-ASCII");
        if (i == 3 || i == 5 || i == 7 || i == 9) text += TOVXString(static_cast<unsigned short>('-'));
    }
    text += TOVXString(static_cast<unsigned short>('}'));
    return text;
}
