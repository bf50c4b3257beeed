#ifndef STSTG_TEXT_H
#define STSTG_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "TOVXString.h"

// Text conversions of the ststg tool: JSON strings, names as the text output shows
// them, names given on the command line, names made safe for the file system, and the
// words and numbers every listing shares.
namespace ststg {

// A JSON string literal, quotes included. Control characters come out as \u00XX.
// Bytes that are not valid UTF-8 are taken as Latin-1, so any input gives valid JSON.
std::string jsonString(const std::string& utf8);

// A name as the text output prints it: UTF-8, with control characters as \xHH and a
// backslash doubled, so that the printed form can be handed back to `cat` as it is.
// The empty name prints as "".
std::string displayName(const TOVXString& name);

// Decodes a name given on the command line: UTF-8 with the escapes \xHH (two hex
// digits), \NNN (one to three octal digits, at most \377) and \\. False, with `error`
// set, for an unknown escape, a code above 0xFF or bytes that are not UTF-8.
bool parseNameArgument(const std::string& argument, TOVXString& name, std::string& error);

// A file name that stays inside its folder whatever the stored name is. Control
// characters, the characters that some file system takes as structure or refuses
// (/ \ : * ? " < > |) and '%' itself become %XX; "." and ".." become %2E and %2E%2E;
// the empty name becomes "%empty". Every result decodes back to its name: each '%'
// starts either two hex digits or "empty".
std::string safeFileName(const TOVXString& name);

// A name as a path shows it: as displayName shows it, with a '/' inside the name as \x2f,
// so that the path can be handed back to the commands as it is.
std::string pathName(const TOVXString& name);

// "/A/B" for messages and long listings: the first `count` names of `names`, each as
// pathName shows it; "/" for none.
std::string shownPath(const std::vector<TOVXString>& names, size_t count);
inline std::string shownPath(const std::vector<TOVXString>& names) { return shownPath(names, names.size()); }

// The word for an entry type: root, storage, stream, lockbytes, property, invalid, or
// "type N" for a value outside the known set.
std::string kindName(int type);

// A 16-byte id as "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", the bytes in the order given.
std::string guidText(const unsigned char* id);

// A class id as a file stores it (the first three fields little-endian) in the same form.
std::string clsidText(const unsigned char* stored);

// A FILETIME of `ticks` as "YYYY-MM-DDTHH:MM:SSZ" (UTC).
std::string timeText(uint64_t ticks);

// One line of a hex dump: the offset, up to 16 bytes in hex, and the same bytes as text
// with '.' for anything but printable ASCII.
std::string hexDumpLine(uint64_t offset, const unsigned char* bytes, size_t count);

// True when `bytes` are not text that a terminal shows as it is: control characters other
// than tab, line feed, carriage return and form feed, or bytes that are not UTF-8.
bool looksBinary(const unsigned char* bytes, size_t count);

}  // namespace ststg

#endif
