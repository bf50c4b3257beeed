#include "TOVIStorage.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <unordered_set>
#include <vector>

#include "TOVStSectorChain.h"
#include "TOVStStorageConstants.h"
#include "TOVXMemoryManager.h"
#include "TOVXResourceBounds.h"

namespace {

// A sibling link ends its branch only at these two; FATSECT and DIFSECT are followed (and lead nowhere).
bool endsSiblingBranch(uint32_t link) { return link == ENDOFCHAIN || link == FREESECT; }

// Indices that, read as signed 32-bit values, are negative never name an entry.
bool namesEntry(uint32_t index, uint32_t tableSize) { return static_cast<int32_t>(index) >= 0 && index < tableSize; }

// Holds a storage or stream made for an out pointer until the operation succeeds, so that
// memory running out half way leaves nothing behind.
template <typename T>
struct Made {
    T* object = nullptr;
    ~Made() { tovxDelete(object); }
    T* release() {
        T* kept = object;
        object = nullptr;
        return kept;
    }
};

}  // namespace

// ---- construction ---------------------------------------------------------------------

TOVIStorage::TOVIStorage(const TOVXFilePath& path) : stStorageFileInfo(nullptr) {
    stStorageFileInfo = tovxNew<TOVStStorageFileInfo>(path);
    // A file that does not load leaves the invalid image in place and the default entry.
    if (stStorageFileInfo == nullptr || !stStorageFileInfo->checkValidity()) return;
    const bool copied = tovxWithoutThrowing(false, [&] {
        directoryEntry = stStorageFileInfo->getRootDirEntry();
        return true;
    });
    if (copied) return;
    // Memory ran out: the storage is left without image, as a default-made one.
    tovxDelete(stStorageFileInfo);
    stStorageFileInfo = nullptr;
    directoryEntry = TOVStStorageDirEntry();
}

TOVIStorage::TOVIStorage() : stStorageFileInfo(nullptr) {}

// A copy that runs out of memory is left without image, as a default-made storage.
TOVIStorage::TOVIStorage(const TOVIStorage& other)
    : stStorageFileInfo(nullptr),
      elements(other.elements),
      propertySetStorage(other.propertySetStorage) {
    tovxWithoutThrowing([&] { directoryEntry = other.directoryEntry; });
    if (other.stStorageFileInfo != nullptr) setStStorageFileInfo(other.stStorageFileInfo);
}

TOVIStorage& TOVIStorage::operator=(const TOVIStorage& other) try {
    if (&other == this) return *this;
    if (other.stStorageFileInfo != nullptr) {
        setStStorageFileInfo(other.stStorageFileInfo);
    } else {
        tovxDelete(stStorageFileInfo);
        stStorageFileInfo = nullptr;
    }
    directoryEntry = other.directoryEntry;
    elements = other.elements;
    propertySetStorage = other.propertySetStorage;
    children.reset();  // rebuilt from the new list when a search needs it
    return *this;
} catch (...) {  // memory ran out: the storage is left without image
    tovxDelete(stStorageFileInfo);
    stStorageFileInfo = nullptr;
    children.reset();
    return *this;
}

TOVIStorage::~TOVIStorage() {
    tovxDelete(stStorageFileInfo);
    stStorageFileInfo = nullptr;
    propertySetStorage = TOVIPropertySetStorageHandle();  // gives this storage's reference on the container back
}

// An image held before is released: the storage owns exactly one image at a time.
void TOVIStorage::setStStorageFileInfo(TOVStStorageFileInfo* info) {
    TOVStStorageFileInfo* copy =
        info != nullptr ? tovxWithoutThrowing<TOVStStorageFileInfo*>(nullptr, [&] { return tovxNew<TOVStStorageFileInfo>(*info); })
                        : nullptr;
    tovxDelete(stStorageFileInfo);
    stStorageFileInfo = copy;
}

int TOVStgOpenStorage(const TOVXFilePath& path, TOVIStorage** ppStorage) {
    TOVIStorage* storage = tovxWithoutThrowing<TOVIStorage*>(nullptr, [&] { return tovxNew<TOVIStorage>(path); });
    if (storage != nullptr && storage->getStStorageFileInfo() != nullptr &&
        storage->getStStorageFileInfo()->checkValidity()) {
        *ppStorage = storage;
        return 0;
    }
    tovxDelete(storage);
    *ppStorage = nullptr;
    return -1;
}

// ---- the tree -------------------------------------------------------------------------

// Collects every index reachable from `index` through sibling links, each once. An explicit
// stack replaces recursion, so a degenerate chain of siblings as long as the directory costs
// no stack depth, and a node reached again is not walked again, so links that loop end.
void TOVIStorage::getColleagueIndexArray(uint32_t index, TOVXDynamicArray<uint32_t>& indices) {
    if (stStorageFileInfo == nullptr) return;
    const TOVXDynamicArray<TOVStStorageDirEntry>& table = stStorageFileInfo->dirTable();
    const uint32_t tableSize = static_cast<uint32_t>(table.Count());
    std::unordered_set<uint32_t> seen(indices.begin(), indices.end());
    std::vector<uint32_t> pending{index};
    while (!pending.empty()) {
        const uint32_t current = pending.back();
        pending.pop_back();
        if (!seen.insert(current).second) continue;
        indices.Add(current);
        if (current >= tableSize) continue;  // kept in the list; dropped when the list is read
        const TOVStStorageDirEntry* entry = table.At(static_cast<int>(current));
        // Pushed left first so that the right branch is taken first.
        if (!endsSiblingBranch(entry->getLeftSib())) pending.push_back(entry->getLeftSib());
        if (!endsSiblingBranch(entry->getRightSib())) pending.push_back(entry->getRightSib());
    }
}

// The list is made apart and becomes the cache whole: memory that runs out half way leaves
// the cache empty, to be built again by the next call.
int TOVIStorage::enumElements(TOVXDynamicArray<TOVStStorageDirEntry>& out) try {
    // An empty cache counts as not yet built, so a storage without children walks again each time.
    if (elements.Count() == 0) {
        const uint32_t child = directoryEntry.getChild();
        if (isSpecialSector(child)) return -1;
        TOVXDynamicArray<uint32_t> indices;
        getColleagueIndexArray(child, indices);
        indices.Sort();
        if (stStorageFileInfo != nullptr) {
            const TOVXDynamicArray<TOVStStorageDirEntry>& table = stStorageFileInfo->dirTable();
            const uint32_t tableSize = static_cast<uint32_t>(table.Count());
            TOVXDynamicArray<TOVStStorageDirEntry> found;
            found.Reserve(indices.Count());
            for (const uint32_t index : indices)
                if (namesEntry(index, tableSize)) found.Add(*table.At(static_cast<int>(index)));
            elements = found;
        }
    }
    out = elements;
    return out.Count() > 0 ? 0 : -1;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return -1;
}

const TOVIStorage::ChildIndex* TOVIStorage::childIndex() {
    if (children != nullptr) return children.get();
    TOVXDynamicArray<TOVStStorageDirEntry> list;
    if (enumElements(list) != 0) return nullptr;  // nothing to index yet; a later call tries again
    auto index = std::make_unique<ChildIndex>();
    const TOVXString propertySetPrefix(static_cast<unsigned short>(5));
    for (int i = 0; i < list.Count(); ++i) {
        TOVStStorageDirEntry* child = list.At(i);
        const TOVXString name = child->getName();
        // emplace keeps the first of several children with one name: the lowest index wins.
        if (child->isStorage()) index->storages.emplace(name.Text(), i);
        if (child->isStream()) {
            index->streams.emplace(name.Text(), i);
            if (name.startsWith(propertySetPrefix)) index->propertySetStreams.push_back(i);
        }
    }
    children = std::move(index);
    return children.get();
}

// Names are compared exactly, unit for unit, as they stand in the entries.
bool TOVIStorage::findChild(const TOVXString& name, bool storage, TOVStStorageDirEntry& entry) {
    const ChildIndex* index = childIndex();
    if (index == nullptr) return false;
    const auto& names = storage ? index->storages : index->streams;
    const auto found = names.find(name.Text());
    if (found == names.end()) return false;
    entry = *elements.At(found->second);
    return true;
}

bool TOVIStorage::searchStorage(const TOVXString& name, TOVStStorageDirEntry& entry, bool thisLevelOnly) {
    (void)thisLevelOnly;  // only this storage's own children are ever searched
    return findChild(name, true, entry);
}

bool TOVIStorage::searchStream(const TOVXString& name, TOVStStorageDirEntry& entry, bool thisLevelOnly) {
    (void)thisLevelOnly;
    return findChild(name, false, entry);
}

int TOVIStorage::openStorage(const TOVXString& name, TOVIStorage** ppStorage) try {
    *ppStorage = nullptr;
    TOVStStorageDirEntry entry;
    if (!searchStorage(name, entry, true) || !entry.isValid() || !entry.isStorage()) return -1;
    Made<TOVIStorage> storage{tovxNew<TOVIStorage>()};
    if (storage.object == nullptr) return -1;
    storage.object->setDirectoryEntry(entry);
    storage.object->setStStorageFileInfo(stStorageFileInfo);
    // The sub-storage shares this storage's property sets; on a root this may run the discovery.
    TOVIPropertySetStorage* sets = getPropertySetStorage();
    if (sets != nullptr) storage.object->setPropertySetStorage(sets);
    *ppStorage = storage.release();
    return 0;
} catch (...) {  // memory ran out (TOVXResourceBounds.h)
    return -1;
}

// ---- property sets --------------------------------------------------------------------

void TOVIStorage::setPropertySetStorage(TOVIPropertySetStorage* storage) {
    propertySetStorage = TOVIPropertySetStorageHandle(storage);
}

TOVIPropertySetStorage* TOVIStorage::getPropertySetStorage() try {
    if (!propertySetStorage.IsValid()) propertySetStorage = TOVIPropertySetStorageHandle(tovxNew<TOVIPropertySetStorage>());
    TOVIPropertySetStorage* container = propertySetStorage;
    // Only a root discovers; a filled container counts as done, an empty one is filled again.
    if (!directoryEntry.isRoot() || container == nullptr || container->GetPropertyStorageCount() != 0) return container;
    // Every immediate child stream whose name begins with the unit 5, in directory order, while
    // the streams read hold fewer bytes than the file (TOVXResourceBounds.h): streams whose
    // chains share sectors, or namesakes that all lead to the first, could otherwise make the
    // discovery read, and the sets keep, the square of the file's size.
    const ChildIndex* index = childIndex();
    if (index == nullptr || stStorageFileInfo == nullptr) return container;
    const uint64_t budget = tovxbounds::propertySetBytesIn(stStorageFileInfo->fileSize());
    uint64_t read = 0;
    for (const int position : index->propertySetStreams) {
        if (read >= budget) break;
        read += addPropertySet(elements.At(position)->getName(), *container);
    }
    return container;
} catch (...) {  // memory ran out before the discovery began (TOVXResourceBounds.h)
    return propertySetStorage;
}

// Reads one property-set stream and adds it to `container` when it parses; anything that
// fails is skipped without a trace, a set for which memory ran out too. Gives the bytes read.
uint64_t TOVIStorage::addPropertySet(const TOVXString& name, TOVIPropertySetStorage& container) {
    TOVIStream* stream = nullptr;
    const int opened = openStream(name, &stream);
    Made<TOVIStream> owned{stream};  // a failed mini walk leaves a stream behind too
    if (stream == nullptr) return 0;
    if (opened != 0) return stream->length();
    tovxWithoutThrowing([&] {
        TOVIPropertyStorageHandle set(tovxNew<TOVIPropertyStorage>());
        TOVStStorageDirEntry entry;
        TOVIPropertyStorage* parsed = set;
        // A chain that ended early gives fewer bytes than the entry's size: the parser is
        // handed the bytes that were read, never memory beyond them.
        if (parsed != nullptr && stream->Stat(&entry) == 0 && entry.getSize() != 0 &&
            parsed->InitializeFromBuffer(stream->data(), static_cast<int>(stream->length())))
            container.AddPropertyStorage(parsed);
    });
    return stream->length();
}

// ---- streams --------------------------------------------------------------------------

// Memory that runs out leaves *ppStream null: whatever had been read is given back.
int TOVIStorage::openStream(const TOVXString& name, TOVIStream** ppStream) try {
    if (stStorageFileInfo == nullptr) return -1;
    const TOVStStorageHeader header = stStorageFileInfo->getHeader();
    TOVStStorageDirEntry entry;
    if (!searchStream(name, entry, true) || !entry.isValid() || !entry.isStream()) {
        *ppStream = nullptr;
        return -1;
    }
    if (entry.getSize() == 0) return -1;  // an empty stream cannot be opened; *ppStream is left alone
    // A stream of exactly the cutoff's size lies in regular sectors.
    if (entry.getSize() < header.miniStreamCutoff) return getStreamFromMiniFat(entry, ppStream);
    return getStreamFromFat(entry, ppStream);
} catch (...) {  // TOVXResourceBounds.h
    *ppStream = nullptr;
    return -1;
}

namespace {
// Adjacent sectors are read together, up to this many bytes at a time.
constexpr uint32_t kLargestRun = 256 * 1024;
}  // namespace

// Reads the stream's sectors from the file, each run of adjacent sectors in one read. The walk
// follows TOVStSectorChain's FAT chain rules: a start sector or link past the FAT is read and is
// the last; a start sector that is a special value names no sector and gives no bytes.
int TOVIStorage::getStreamFromFat(const TOVStStorageDirEntry& entry, TOVIStream** ppStream) {
    if (stStorageFileInfo == nullptr || ppStream == nullptr) return -1;
    FILE* file = stStorageFileInfo->GetFilePath().OpenFile("rb");
    if (file == nullptr) return -1;
    const std::unique_ptr<FILE, int (*)(FILE*)> closer(file, &std::fclose);
    const TOVStStorageFileInfo& image = *stStorageFileInfo;
    const uint32_t size = entry.getSize();
    const uint32_t sectorSize = image.sectorSize();
    std::vector<uint32_t> chain;
    if (!isSpecialSector(entry.getStartSect()))
        chain = TOVStSectorChain::follow(image.fatTable(), entry.getStartSect(), image.fileSectorCount());
    // Room for what the chain can deliver, never for a size that the file cannot back.
    const uint64_t reachable = static_cast<uint64_t>(chain.size()) * sectorSize;
    Made<TOVIStream> made{tovxNew<TOVIStream>(static_cast<uint32_t>(std::min<uint64_t>(size, reachable)))};
    TOVIStream* stream = made.object;
    *ppStream = nullptr;
    if (stream == nullptr) return -1;
    std::vector<unsigned char> buffer;
    uint32_t total = 0;
    size_t i = 0;
    while (i < chain.size() && total < size) {
        const uint64_t position = image.getEquivalentFatBytePos(chain[i]);
        uint32_t runBytes = sectorSize;
        size_t next = i + 1;
        while (next < chain.size() && runBytes < size - total && runBytes + sectorSize <= kLargestRun &&
               image.getEquivalentFatBytePos(chain[next]) == position + runBytes) {
            runBytes += sectorSize;
            ++next;
        }
        const uint32_t count = std::min(runBytes, size - total);
        buffer.resize(count);
        image.readSector(file, chain[i], count, buffer.data());
        uint32_t written = 0;
        stream->Write(buffer.data(), count, &written);
        total += written;
        i = next;
    }
    stream->setDirEntry(entry);
    *ppStream = made.release();
    return 0;
}

// Copies the stream's mini sectors out of the mini stream held in memory. Bytes of a mini
// sector that lie past the mini stream's end read as zeros, as a file read past its end does.
// A mini chain that loops is walked again until the size is used up; the file's size in mini
// sectors bounds the walk, which then ends like a chain that ends early (result 0).
int TOVIStorage::getStreamFromMiniFat(const TOVStStorageDirEntry& entry, TOVIStream** ppStream) {
    if (stStorageFileInfo == nullptr || ppStream == nullptr) return -1;
    const TOVStStorageFileInfo& image = *stStorageFileInfo;
    const uint32_t size = entry.getSize();
    const TOVXDynamicArray<unsigned char>& miniStream = image.miniStreamBytes();
    const uint32_t miniStreamLength = static_cast<uint32_t>(miniStream.Count());
    const uint32_t miniSectorSize = image.getEquivalentMiniFatBytePos(1) - image.getEquivalentMiniFatBytePos(0);
    const uint32_t bound = image.fileMiniSectorCount();
    const uint64_t reachable = static_cast<uint64_t>(bound) * miniSectorSize;
    Made<TOVIStream> made{tovxNew<TOVIStream>(static_cast<uint32_t>(std::min<uint64_t>(size, reachable)))};
    TOVIStream* stream = made.object;
    *ppStream = nullptr;
    if (stream == nullptr) return -1;
    if (isSpecialSector(entry.getStartSect()) || miniSectorSize == 0) {
        stream->setDirEntry(entry);
        *ppStream = made.release();
        return 0;
    }
    std::vector<unsigned char> buffer(miniSectorSize);
    uint32_t total = 0;
    using Policy = TOVStSectorChain::Policy;
    for (TOVStSectorChain chain(image.miniFatTable(), entry.getStartSect(), bound, Policy::RepeatUntilSizeUsed);
         !chain.atEnd(); chain.advance()) {
        const uint32_t count = std::min(miniSectorSize, size - total);
        const uint32_t position = image.getEquivalentMiniFatBytePos(chain.sector());
        const uint32_t present = position < miniStreamLength ? std::min(count, miniStreamLength - position) : 0;
        std::memset(buffer.data(), 0, count);
        if (present > 0) std::memcpy(buffer.data(), miniStream.First() + position, present);
        uint32_t written = 0;
        stream->Write(buffer.data(), count, &written);
        total += written;
        if (total < size) continue;
        // A chain that goes on once the size is used up gives -1, and the stream, without its
        // entry, stays with the caller.
        if (chain.hasNext()) {
            *ppStream = made.release();
            return -1;
        }
        break;
    }
    stream->setDirEntry(entry);
    *ppStream = made.release();
    return 0;
}
