#ifndef TOVI_PROPERTY_STORAGE_H
#define TOVI_PROPERTY_STORAGE_H

#include <cstdint>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "TOVXDynamicArray.h"
#include "TOVXPropertyHandle.h"
#include "TOVXReferenceCount.h"
#include "TOVXString.h"

// One property set: the parsed form of one property-set stream. InitializeFromBuffer
// does all the parsing; afterwards the set holds its properties as text and never
// touches the stream's bytes again. Both sections of a stream go into one list, keyed by
// property id; names come only from the stream's dictionaries.
class TOVIPropertyStorage : public TOVXReferenceCount {
public:
    TOVIPropertyStorage();
    ~TOVIPropertyStorage() override;

    // False only for a byte-order mark other than 0xFFFE or a version other than 0;
    // a damaged stream otherwise gives whatever properties could be made.
    bool InitializeFromBuffer(const unsigned char* streamBytes, int size);

    TOVXDynamicArray<TOVXPropertyHandle> GetPropertyArray();
    TOVXPropertyHandle GetPropertyWithID(int id);  // compared on all 32 bits
    TOVXPropertyHandle GetPropertyWithName(const TOVXString& name);
    // The second section's format id for a stream of two sections, else the first's,
    // in the byte order of the identifier's text form.
    void GetPropertyStorageID(unsigned char* id);
    TOVXString GetPropertyStorageName();  // the text of property 255, empty without one
    uint16_t GetCodePage() const { return codePage; }  // the last code-page property read; 0 without one

private:
    using Cursor = const unsigned char*;

    // Readers: a read that would pass the end of the buffer gives zero and leaves the cursor.
    unsigned char ReadByte(Cursor& cursor);
    uint16_t ReadUnsignedShort(Cursor& cursor);
    uint32_t ReadUnsignedInt(Cursor& cursor);
    uint64_t ReadUnsignedInt64(Cursor& cursor);
    float ReadFloat(Cursor& cursor);
    double ReadDouble(Cursor& cursor);
    void ReadCLSID(Cursor& cursor, unsigned char* id);
    bool fits(Cursor cursor, uint64_t count) const;
    Cursor at(const unsigned char* base, uint32_t offset) const;

    TOVXString ReadMBCSString(Cursor& cursor, bool align);
    TOVXString ReadUTF16String(Cursor& cursor, bool align, bool lengthInFront);
    TOVXString decodeNarrow(const unsigned char* bytes, uint32_t count) const;
    bool takeFromTextBudget(uint64_t bytes);

    TOVXProperty* ReadPropertyFromSection(Cursor& cursor, const unsigned char* sectionStart);
    bool readValueText(uint32_t typeCode, Cursor& value, uint32_t id, TOVXString& text, ValueType& type);
    void readDictionary(Cursor& cursor);
    void readSectionProperties(Cursor& cursor, const unsigned char* sectionStart, uint32_t count);
    int32_t declaredCodePage(Cursor table, const unsigned char* sectionStart, uint32_t count);
    uint16_t textCodePage() const;
    void AddOrUpdateProperty(TOVXProperty* property);
    void ReadExtendedSection();
    void MergeDisplayNames();

    TOVXString FormatBoolean(uint16_t value);
    TOVXString FormatByte(unsigned char value, const char* format, bool isSigned);
    TOVXString FormatUnsignedShort(uint16_t value, const char* format, bool isSigned);
    TOVXString FormatUnsignedInt(uint32_t value, const char* format, bool isSigned);
    TOVXString FormatUnsignedInt64(uint64_t value, const char* format, bool isSigned);
    TOVXString FormatFloat(float value, const char* format);
    TOVXString FormatDouble(double value, const char* format);
    TOVXString FormatFiletime(uint32_t high, uint32_t low);
    TOVXString FormatCLSID(const unsigned char* id);

    const unsigned char* buffer;
    int32_t bufferSize;
    uint16_t byteOrder;
    uint16_t formatVersion;
    uint16_t systemIdLow;
    uint16_t systemIdHigh;
    unsigned char classId[16];
    uint32_t sectionCount;
    unsigned char firstFormatId[16];
    uint32_t firstSectionOffset;
    unsigned char secondFormatId[16];
    uint32_t secondSectionOffset;
    uint32_t secondSectionSize;
    const unsigned char* secondSectionStart;
    uint32_t secondPropertyCount;
    const unsigned char* firstSectionStart;
    uint32_t firstSectionSize;
    uint32_t firstPropertyCount;
    TOVXDynamicArray<TOVXPropertyHandle> properties;
    // Dictionary names in the order read; the first name that a dictionary gives an id wins.
    // Sorted by id once, when the names are merged, so that chosen ids cannot make lookups slow.
    std::vector<std::pair<uint32_t, TOVXString>> displayNames;
    // Dictionaries already read, by where they start: a stream may point many entries at one.
    std::set<const unsigned char*> dictionariesRead;
    // Dictionary entries that may still be read from this stream (see InitializeFromBuffer).
    uint64_t dictionaryBudget;
    TOVXString setName;
    uint16_t codePage;
    uint32_t localeId;
    // Position in `properties` of each id: a long table costs n log n whatever its ids.
    std::map<uint32_t, int> propertyPositions;
    // The code page that the section being read declares, wherever its entry stands in the
    // table; -1 when it declares none. Narrow text is decoded under it.
    int32_t sectionCodePage;
    // Bytes of text that strings may still copy out of this stream (see InitializeFromBuffer).
    uint64_t textBudget;
};

#endif
