#ifndef TOVX_STRING_H
#define TOVX_STRING_H

#include <memory>
#include <string>

#include "TOVXResult.h"

// Text as 16-bit code units. Comparisons are exact, unit for unit: names read from
// files are matched as stored, with no case folding. The units of a text never change once
// it is made, so copies share them: copying a text (a directory entry's name, a path) costs
// no allocation whatever its length.
class TOVXString {
public:
    TOVXString() = default;
    TOVXString(const unsigned short* text);  // up to the first zero unit; null gives empty text
    explicit TOVXString(unsigned short unit);
    // Decodes zero-terminated bytes. A null `encoding` and "US-ASCII" both decode as UTF-8
    // when the bytes are valid UTF-8 and as Windows-1252 otherwise (ASCII is a subset of
    // both). A null `text` gives empty text.
    TOVXString(const char* text, const char* encoding);
    TOVXString(const TOVXString& other) = default;
    TOVXString(TOVXString&& other) noexcept = default;
    TOVXString& operator=(const TOVXString& other) = default;
    TOVXString& operator=(TOVXString&& other) noexcept = default;
    virtual ~TOVXString() = default;

    // Appends `other` to the receiver and returns a copy of the result.
    TOVXString operator+=(const TOVXString& other);

    bool equals(const TOVXString& other) const { return units_ == other.units_ || Text() == other.Text(); }
    int compareTo(const TOVXString& other) const { return Text().compare(other.Text()); }
    bool startsWith(const TOVXString& prefix) const;
    TOVXString replace(unsigned short from, unsigned short to) const;
    int length() const { return static_cast<int>(Text().size()); }

    int getConvertToWideCharacterSize() const { return length() + 1; }
    // Writes at most `size` units, always zero-terminated when `size` is above 0; a longer
    // text is cut.
    TOVXResult convertToWideCharacter(unsigned short* buffer, int size) const;

    // Conveniences for hosts and tools.
    static TOVXString FromUnits(const unsigned short* units, int count);
    static TOVXString FromUtf8(const std::string& text);
    std::string ToUtf8() const;
    const char16_t* Units() const { return Text().c_str(); }
    const std::u16string& Text() const { return units_ != nullptr ? *units_ : empty(); }  // all units, zeros included
    unsigned short At(int index) const { return static_cast<unsigned short>(Text()[static_cast<size_t>(index)]); }

private:
    static const std::u16string& empty();
    void take(std::u16string&& units);  // an empty text holds no block

    std::shared_ptr<const std::u16string> units_;  // null for the empty text
};

// A zero-terminated wide copy from the memory manager, released with TOVXReleaseWideChars.
TOVXResult TOVXStringToWideChars(const TOVXString& text, unsigned short*& wide);
TOVXResult TOVXReleaseWideChars(unsigned short*& wide);

// Byte decoders shared by the library.
namespace tovx {
// Appends the UTF-8 decoding of `bytes`; returns false (appending nothing) when they are not valid UTF-8.
bool decodeUtf8(const unsigned char* bytes, size_t count, std::u16string& out);
// Windows-1252: 0x80..0x9F map to their printable characters; the five unassigned bytes keep their value.
char16_t windows1252ToUnicode(unsigned char byte);
void appendUtf8(char32_t codePoint, std::string& out);
}  // namespace tovx

#endif
