// The host road: the platform's structured-storage service through the library's host
// stack (OpenStorage, GetChildElements, OpenStream, TOVXStructuredStorageUtils). It sees
// the platform's service header, never the native stack's headers.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <unordered_set>

#include "StstgHostProperties.h"
#include "StstgRoad.h"
#include "StstgText.h"
#include "TOVXResourceBounds.h"
#include "TOVXStorageReader.h"

namespace ststg {

namespace {

constexpr int kRootType = 5;
constexpr int kStorageType = 1;
constexpr int kOtherType = 2;
constexpr uint32_t kReadChunk = 1 << 16;

// Names compared as the platform's lookup compares them, without case (ASCII letters here).
std::string folded(const TOVXString& name) {
    std::string text = name.ToUtf8();
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

bool allZero(const CLSID& id) {
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(&id);
    return std::all_of(bytes, bytes + sizeof id, [](unsigned char b) { return b == 0; });
}

// A GUID as a file stores it: the first three fields little-endian, the last eight bytes in order.
void storedBytes(const GUID& id, unsigned char* out) {
    for (int i = 0; i < 4; ++i) out[i] = static_cast<unsigned char>(id.Data1 >> (8 * i));
    for (int i = 0; i < 2; ++i) out[4 + i] = static_cast<unsigned char>(id.Data2 >> (8 * i));
    for (int i = 0; i < 2; ++i) out[6 + i] = static_cast<unsigned char>(id.Data3 >> (8 * i));
    std::memcpy(out + 8, id.Data4, 8);
}

// Class id (as stored) and times of an element, from the service's Stat.
struct Facts {
    bool hasClsid = false;
    unsigned char clsid[16] = {};
    uint64_t created = 0;
    uint64_t modified = 0;
};

template <typename Element>
Facts factsOf(Element* element) {
    Facts facts;
    STATSTG status;
    std::memset(&status, 0, sizeof status);
    if (element == nullptr || FAILED(element->Stat(&status, STATFLAG_NONAME))) return facts;
    facts.created = ticksOf(status.ctime);
    facts.modified = ticksOf(status.mtime);
    facts.hasClsid = !allZero(status.clsid);
    storedBytes(status.clsid, facts.clsid);
    return facts;
}

// Every byte the stream gives from `start`, where it stands, to its end; fewer than its size
// when the file holds only part of it.
StreamRead readWhole(IStream* stream, uint32_t start = 0) {
    StreamRead read;
    read.outcome = StreamRead::Outcome::Read;
    GetStreamSize(stream, read.declaredSize);
    std::vector<unsigned char> chunk;
    while (start + read.bytes.size() < read.declaredSize) {
        const uint32_t before = start + static_cast<uint32_t>(read.bytes.size());
        const uint32_t wanted = std::min(kReadChunk, read.declaredSize - before);
        chunk.resize(wanted);
        if (ReadStream(stream, chunk.data(), wanted)) {
            read.bytes.insert(read.bytes.end(), chunk.begin(), chunk.end());
            continue;
        }
        // Where a read comes up short, the position tells how much of it came.
        uint32_t position = before;
        if (TellStream(stream, position) && position > before && position - before < wanted)
            read.bytes.insert(read.bytes.end(), chunk.begin(), chunk.begin() + (position - before));
        break;
    }
    return read;
}

bool seekTo(IStream* stream, uint32_t position) {
    LARGE_INTEGER move;
    move.QuadPart = position;
    return SUCCEEDED(stream->Seek(move, STREAM_SEEK_SET, nullptr));
}

// What readWhole gives, written to `out` rather than kept: megabyte reads while they come
// whole; from a read that comes short on, readWhole's own reads decide, from where that read
// began, so that the same bytes come out. Holds a megabyte of the stream at most.
constexpr uint32_t kCopyChunk = 1 << 20;

StreamRead copyWhole(IStream* stream, FILE* out) {
    StreamRead read;
    read.outcome = StreamRead::Outcome::Read;
    GetStreamSize(stream, read.declaredSize);
    std::vector<unsigned char> buffer(std::min(kCopyChunk, read.declaredSize));
    while (read.copied < read.declaredSize) {
        const uint32_t before = static_cast<uint32_t>(read.copied);
        const uint32_t wanted = std::min(kCopyChunk, read.declaredSize - before);
        if (!ReadStream(stream, buffer.data(), wanted)) {
            if (!seekTo(stream, before)) break;
            const StreamRead rest = readWhole(stream, before);
            if (!rest.bytes.empty()) std::fwrite(rest.bytes.data(), 1, rest.bytes.size(), out);
            read.copied += rest.bytes.size();
            break;
        }
        std::fwrite(buffer.data(), 1, wanted, out);
        read.copied += wanted;
    }
    return read;
}

StreamRead outcomeOnly(StreamRead::Outcome outcome) {
    StreamRead read;
    read.outcome = outcome;
    return read;
}

// The storages that a path leads through, each open until the object ends.
class StorageChain {
public:
    StorageChain(IStorage* root, const NamePath& path) : current_(root) {
        for (const TOVXString& name : path) {
            IStorage* next = OpenStorage(current_, name);
            if (next == nullptr) {
                current_ = nullptr;
                return;
            }
            opened_.push_back(next);
            current_ = next;
        }
    }
    ~StorageChain() {
        for (auto it = opened_.rbegin(); it != opened_.rend(); ++it) CloseStorage(*it);
    }
    StorageChain(const StorageChain&) = delete;
    StorageChain& operator=(const StorageChain&) = delete;

    IStorage* storage() const { return current_; }  // null when a name led nowhere
    size_t opened() const { return opened_.size(); }

private:
    IStorage* current_;
    std::vector<IStorage*> opened_;
};

// The walk over the service's tree: depth first, each storage's children in the service's
// order, a storage before its children. A file of N bytes holds at most one element per
// 128 bytes: a walk that reaches more is going round a loop, and stops.
class HostWalk {
public:
    HostWalk(IStorage* start, bool fromRoot, uint64_t fileBytes, const EntryVisitor& visit)
        : start_(start), fromRoot_(fromRoot), limit_(tovxbounds::directoryEntriesIn(fileBytes)), visit_(visit) {}

    bool run() {
        visitStart();
        levels_.push_back(enter(start_, false));
        while (!levels_.empty()) {
            Level& top = levels_.back();
            if (top.next >= top.children.Count()) {
                leave();
                continue;
            }
            if (++reached_ > limit_) {
                while (!levels_.empty()) leave();
                return false;
            }
            const int position = top.next++;
            const TOVXStStorageElement element = *top.children.At(position);
            path_.push_back(element.name);
            if (element.isStorage == 1) visitStorage(top, element.name);  // may add a level: `top` is not used after it
            else visitStream(top, position);
        }
        return true;
    }

private:
    // The folded names of the streams met so far among one storage's children, in an
    // open-addressed table of their positions: one pass over a million children allocates
    // nothing per child.
    class FoldedNames {
    public:
        // False when an earlier stream has the same folded name.
        bool insert(const TOVXDynamicArray<TOVXStStorageElement>& children, int position) {
            const std::string name = folded(children.At(position)->name);
            const size_t hash = std::hash<std::string>()(name);
            if (2 * (count_ + 1) > slots_.size()) grow();
            for (size_t slot = hash & (slots_.size() - 1);; slot = (slot + 1) & (slots_.size() - 1)) {
                if (slots_[slot].position < 0) {
                    slots_[slot] = Slot{hash, position};
                    ++count_;
                    return true;
                }
                if (slots_[slot].hash == hash && folded(children.At(slots_[slot].position)->name) == name) return false;
            }
        }

    private:
        struct Slot {
            size_t hash;
            int position;  // -1 for a free slot
        };
        void grow() {
            std::vector<Slot> old(slots_.empty() ? 16 : 2 * slots_.size(), Slot{0, -1});
            old.swap(slots_);
            count_ = 0;
            for (const Slot& slot : old)
                if (slot.position >= 0) reinsert(slot);
        }
        void reinsert(const Slot& held) {
            size_t slot = held.hash & (slots_.size() - 1);
            while (slots_[slot].position >= 0) slot = (slot + 1) & (slots_.size() - 1);
            slots_[slot] = held;
            ++count_;
        }
        std::vector<Slot> slots_;
        size_t count_ = 0;
    };

    struct Level {
        IStorage* storage;
        bool owned;
        TOVXDynamicArray<TOVXStStorageElement> children;
        int next;
        FoldedNames streamNames;
    };

    static Level enter(IStorage* storage, bool owned) {
        Level level{storage, owned, TOVXDynamicArray<TOVXStStorageElement>(), 0, {}};
        GetChildElements(storage, level.children);
        return level;
    }

    void leave() {
        if (levels_.back().owned) CloseStorage(levels_.back().storage);
        levels_.pop_back();
        if (!path_.empty() && !levels_.empty()) path_.pop_back();  // the name of the storage just finished
    }

    void visitStart() {
        const Facts facts = factsOf(start_);
        visit_(Entry{path_, EntryKind::Start, fromRoot_ ? kRootType : kStorageType, fromRoot_ ? "root" : "storage", false, 0,
                     Reach::Whole, facts.hasClsid ? facts.clsid : nullptr, facts.created, facts.modified, nullptr});
    }

    void visitStorage(Level& parent, const TOVXString& name) {
        IStorage* child = OpenStorage(parent.storage, name);
        const Facts facts = factsOf(child);
        visit_(Entry{path_, EntryKind::Storage, kStorageType, "storage", false, 0,
                     child != nullptr ? Reach::Whole : Reach::StorageRefused, facts.hasClsid ? facts.clsid : nullptr,
                     facts.created, facts.modified, nullptr});
        if (child != nullptr) levels_.push_back(enter(child, true));
        else path_.pop_back();
    }

    void visitStream(Level& parent, int position) {
        const TOVXString& name = path_.back();
        // A lookup by name finds the earlier namesake: this stream cannot be reached.
        const bool hidden = !parent.streamNames.insert(parent.children, position);
        IStream* stream = OpenStream(parent.storage, name);
        uint32_t size = 0;
        const bool hasSize = GetStreamSize(stream, size);
        const Facts facts = factsOf(stream);
        CloseStream(stream);
        IStorage* storage = parent.storage;
        const Reach reach = hidden ? Reach::HiddenByNamesake : stream == nullptr ? Reach::StreamUnopenable : Reach::Whole;
        // The entry lives for the visit only, and the stream's name is the path's last meanwhile:
        // the reader holds two pointers, no copy of the name.
        const NamePath* path = &path_;
        visit_(Entry{path_, EntryKind::Stream, kOtherType, "stream", hasSize, size, reach, nullptr, facts.created,
                     facts.modified, [storage, path] { return readChild(storage, path->back()); }});
        path_.pop_back();
    }

    static StreamRead readChild(IStorage* storage, const TOVXString& name) {
        IStream* stream = OpenStream(storage, name);
        if (stream == nullptr) return outcomeOnly(StreamRead::Outcome::Unreadable);
        StreamRead read = readWhole(stream);
        CloseStream(stream);
        return read;
    }

    IStorage* start_;
    bool fromRoot_;
    uint64_t limit_;
    const EntryVisitor& visit_;
    NamePath path_;
    std::vector<Level> levels_;
    uint64_t reached_ = 0;
};

class HostRoad : public Road {
public:
    HostRoad(IStorage* root, const TOVXFilePath& temporary, const std::string& path)
        : root_(root), temporary_(temporary), path_(path) {}

    ~HostRoad() override {
        CloseStorage(root_);
        // Where the system could not remove the copy while it was open, it goes now.
        const std::string copy = temporary_.GetPath().ToUtf8();
        std::error_code ignored;
        if (!copy.empty()) std::filesystem::remove(std::filesystem::u8path(copy), ignored);
    }

    const char* name() const override { return "host"; }
    bool humanForms() const override { return true; }

    std::string walk(const NamePath& start, const EntryVisitor& visit) override {
        const StorageChain chain(root_, start);
        if (chain.storage() == nullptr) return "no storage " + shownPath(start) + " that can be opened";
        std::error_code error;
        const uint64_t fileBytes = std::filesystem::file_size(std::filesystem::u8path(path_), error);
        HostWalk walk(chain.storage(), start.empty(), error ? 0 : fileBytes, visit);
        if (!walk.run()) return "more elements than the file can hold; the walk stops here";
        return std::string();
    }

    StreamRead read(const NamePath& path) override {
        if (path.empty()) return outcomeOnly(StreamRead::Outcome::IsStorage);  // the root itself
        const NamePath storages(path.begin(), path.end() - 1);
        const StorageChain chain(root_, storages);
        if (chain.storage() == nullptr) {
            StreamRead read = outcomeOnly(StreamRead::Outcome::NoSuchStorage);
            read.storagesOpened = chain.opened();
            return read;
        }
        IStream* stream = OpenStream(chain.storage(), path.back());
        if (stream == nullptr) {
            IStorage* asStorage = OpenStorage(chain.storage(), path.back());
            CloseStorage(asStorage);
            return outcomeOnly(asStorage != nullptr ? StreamRead::Outcome::IsStorage : StreamRead::Outcome::NoSuchStream);
        }
        StreamRead read = readWhole(stream);
        CloseStream(stream);
        return read;
    }

    // The stream goes out a megabyte at a time, however large it is.
    StreamRead copy(const NamePath& path, FILE* out) override {
        if (path.empty()) return outcomeOnly(StreamRead::Outcome::IsStorage);
        const NamePath storages(path.begin(), path.end() - 1);
        {
            const StorageChain chain(root_, storages);
            IStream* stream = chain.storage() != nullptr ? OpenStream(chain.storage(), path.back()) : nullptr;
            if (stream != nullptr) {
                StreamRead copied = copyWhole(stream, out);
                CloseStream(stream);
                return copied;
            }
        }
        // The chain is closed before the read that says why: Windows' service opens a child
        // storage only once at a time, and a second open of one still open is refused.
        return Road::copy(path, out);
    }

    bool propertySets(const NamePath& path, std::vector<PropertySetView>& sets) override {
        const StorageChain chain(root_, path);
        if (chain.storage() == nullptr) return false;
        hostPropertySets(chain.storage(), sets);
        return true;
    }

    // The service's tables (8.5 MB for a 1 GiB file) go before the library's own reader
    // loads the file for the damage report.
    void letGoOfFile() override {
        CloseStorage(root_);
        root_ = nullptr;
    }

    // The service tells no damage: the library's own reader, where it reads the file, does.
protected:
    void assessDamage() override {
        for (const std::string& line : nativeDamage(path_)) damage().addKind(line);
    }

private:
    IStorage* root_;
    TOVXFilePath temporary_;
    std::string path_;
};

}  // namespace

std::unique_ptr<Road> openHostRoad(const std::string& path, const std::string& shown, const Console& console, bool quiet) {
    const TOVXFilePath file(path);
    TOVXFilePath temporary;
    IStorage* root = OpenStorage(file, temporary);
    if (root == nullptr) {
        if (!quiet) console.fail(shown, IsStorageFile(file) ? "the platform's service refuses this compound file" : "not a compound file");
        return nullptr;
    }
    if (temporary.GetPath().length() > 0) console.warn(shown, "held by another program; read all the same");
    return std::make_unique<HostRoad>(root, temporary, path);
}

}  // namespace ststg
