#ifndef STSTG_ROAD_H
#define STSTG_ROAD_H

// A road is the reader that a command goes through: the platform's service through the
// library's host stack, or the library's own (native) reader. Commands are written once
// against this interface. It includes neither stack's headers, since both declare the
// STGTY_* names: each road lives in units of its own.

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "StstgConsole.h"
#include "TOVXString.h"

namespace ststg {

// Names from the root (or a walk's start) down to an element; empty for the start itself.
using NamePath = std::vector<TOVXString>;

// The bytes of one stream found by its names, or why there are none.
struct StreamRead {
    enum class Outcome {
        Read,           // `bytes` holds what the file gives of the stream
        NoSuchStorage,  // a name on the way down leads to no storage that can be opened
        IsStorage,      // the last name is a storage's, and no stream's
        NoSuchStream,   // no stream of the last name
        Unreadable,     // a stream of that name is listed, but it cannot be opened
    };
    Outcome outcome = Outcome::NoSuchStream;
    std::vector<unsigned char> bytes;
    uint32_t declaredSize = 0;  // more than bytes.size() when the file holds only part of the stream
    size_t storagesOpened = 0;  // with NoSuchStorage: how many names led to storages first
    uint64_t copied = 0;        // with Road::copy, which leaves `bytes` empty: the bytes written
};

// How far a walk could go with an element.
enum class Reach {
    Whole,             // listed, and a storage's children follow
    StorageRefused,    // a storage that cannot be opened: its children are not listed
    StorageRepeated,   // its name leads to a storage listed already: not gone into again
    HiddenByNamesake,  // an earlier element of the same name is what a lookup finds
    StreamUnopenable,  // a stream that cannot be opened
    // Not gone into: the file lists some entries more than once, and the walk has listed as
    // many entries as the directory has slots; it goes into no further storage.
    BeyondDirectory,
};

enum class EntryKind { Start, Storage, Stream, Other };

// One element as a walk reaches it; valid only during the visit.
struct Entry {
    const NamePath& path;  // from the walk's start; empty for the start itself
    EntryKind kind;
    int type;              // what the JSON form gives as "type" on this road
    std::string kindWord;  // root, storage, stream, ... as the text form shows it
    bool hasSize;
    uint32_t size;
    Reach reach;
    const unsigned char* clsid;  // 16 bytes; null when the element has none (or all zeros)
    uint64_t created;            // FILETIME ticks; 0 when not known
    uint64_t modified;
    std::function<StreamRead()> read;  // a stream's bytes
};

using EntryVisitor = std::function<void(const Entry&)>;

// One property of a set, as the road gives it and as the tool adds to it.
struct PropertyRow {
    uint32_t id = 0;
    TOVXString name;  // from the set's dictionary; empty without one
    int type = 0;     // the library's ValueType number
    TOVXString value;
    std::string kindWord;     // what `type` stands for, as the text form shows it
    std::string label;        // the usual name of a well-known property
    std::string displayText;  // the human form where it differs from `value`
    std::string displayJson;  // the same as JSON: a string, or an array for a vector
};

struct PropertySetView {
    std::string id;     // "{GUID}"
    TOVXString name;    // the set's own name, where the road has one
    TOVXString stream;  // the stream that holds the set; empty when not known
    std::vector<PropertyRow> rows;
};

// What a command learnt of damage in the file: kinds of damage found in the file itself,
// each told in one warning at the end, and problems with single elements, told where they
// were met. Under --strict either makes the exit code 1.
class DamageReport {
public:
    void addKind(const std::string& line) { kinds_.push_back(line); }
    void addProblem() { ++problems_; }
    bool any() const { return !kinds_.empty() || problems_ > 0; }
    const std::vector<std::string>& kinds() const { return kinds_; }
    void tell(const Console& console, const std::string& file) const {
        for (const std::string& line : kinds_) console.warn(file, line);
    }

private:
    std::vector<std::string> kinds_;
    size_t problems_ = 0;
};

class Road {
public:
    virtual ~Road() = default;

    // "host" or "native".
    virtual const char* name() const = 0;
    // True when the tool adds its human forms (labels, display values, stream names, class
    // ids and times) on top of what the library gives; false where the output must stay as
    // it always was.
    virtual bool humanForms() const = 0;
    // Walks the storage that `start` leads to (the root when empty) depth first: the storage
    // itself, then each element below it. Gives an empty text, or why the walk could not
    // start or was cut off.
    virtual std::string walk(const NamePath& start, const EntryVisitor& visit) = 0;
    virtual StreamRead read(const NamePath& path) = 0;
    // Writes the bytes that read(path) would give onto `out`, in large writes, holding no more
    // of the stream than the road's reader must (the native reader holds a stream whole, the
    // platform's service hands it out in pieces); the result is read(path)'s without its bytes.
    // A failed write shows in `out`'s error state.
    virtual StreamRead copy(const NamePath& path, FILE* out);
    // The property sets of the storage that `storage` leads to; false when it cannot be
    // opened.
    virtual bool propertySets(const NamePath& storage, std::vector<PropertySetView>& sets) = 0;
    // The command has read all it will: a road may let go of the file now, so that the
    // damage report that follows does not hold a second reader's tables beside its own.
    virtual void letGoOfFile() {}
    // Works out the damage of the file as a whole into damage(), once.
    void assessDamageOnce() {
        if (!assessed_) assessDamage();
        assessed_ = true;
    }

    DamageReport& damage() { return damage_; }

protected:
    virtual void assessDamage() = 0;

private:
    DamageReport damage_;
    bool assessed_ = false;
};

// The two roads. Each says why on the console and gives null when its reader refuses the
// file; `quiet` keeps that to the caller.
std::unique_ptr<Road> openNativeRoad(const std::string& path, const std::string& shown, const Console& console, bool quiet);
std::unique_ptr<Road> openHostRoad(const std::string& path, const std::string& shown, const Console& console, bool quiet);
// The damage that the library's own reader finds in the file at `path`, one line per kind;
// nothing when it does not read the file.
std::vector<std::string> nativeDamage(const std::string& path);

}  // namespace ststg

#endif
