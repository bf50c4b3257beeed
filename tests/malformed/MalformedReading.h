#ifndef TOVX_MALFORMED_READING_H
#define TOVX_MALFORMED_READING_H

// What each stack makes of a file: every entry a walk reaches with what reading it gave, and
// every property set with its properties, as lines of text that a test compares whole.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace malformed {

using Bytes = std::vector<uint8_t>;

// The bytes each stream was built with, by name: a read is told as "whole" or "prefix"
// against them, "zeros" when it gave only zeros, or by a checksum otherwise.
using Contents = std::map<std::u16string, Bytes>;

struct Property {
    uint32_t id;
    std::string name;
    int type;
    std::string value;  // cut at 40 bytes, with the whole length behind
};

struct PropertySet {
    std::string id;
    std::string name;  // the native set's name; empty on the host
    std::vector<Property> properties;
};

struct Reading {
    bool opened = false;
    std::vector<std::string> tree;  // the root first, then depth first in each stack's order
    std::vector<PropertySet> sets;

    // "refused", or the tree's lines each ending with a newline.
    std::string treeText() const;
    // One line per set and one per property.
    std::string setsText() const;
};

// The native stack: TOVStgOpenStorage, the shared tree walk (enumElements and openStorage),
// openStream on every stream that a lookup by name reaches, and getPropertySetStorage of the root.
// With `rootOnly` the tree is the root's children as the root lists them, none of them opened.
Reading readNative(const std::string& path, const Contents& contents, bool rootOnly = false);

// The host stack over the platform stand-in: OpenStorage, GetChildElements, OpenStorage of each
// child storage, OpenStream, GetStreamSize and ReadStream of each stream; OpenPropertySetStorage,
// OpenAllPropertyStorages and the user-defined set by id, each through GetAllPropertySets.
Reading readHost(const std::string& path, const Contents& contents, bool rootOnly = false);

// Shared by the two readings.
std::string readOutcome(const std::u16string& name, const uint8_t* bytes, size_t count, const Contents& contents);
std::string shortened(const std::string& value);
std::string guidText(const unsigned char* id);

}  // namespace malformed

#endif
