#include "TOVIStorage.h"

#include <algorithm>
#include <cstring>
#include <unordered_set>
#include <vector>

#include "TOVStSectorChain.h"
#include "TOVStStorageConstants.h"
#include "TOVXMemoryManager.h"

namespace {

// A sibling link ends its branch only at these two; FATSECT and DIFSECT are followed (and lead nowhere).
bool endsSiblingBranch(uint32_t link) { return link == ENDOFCHAIN || link == FREESECT; }

// Indices that, read as signed 32-bit values, are negative never name an entry.
bool namesEntry(uint32_t index, uint32_t tableSize) { return static_cast<int32_t>(index) >= 0 && index < tableSize; }

}  // namespace

// ---- construction ---------------------------------------------------------------------

TOVIStorage::TOVIStorage(const TOVXFilePath& path) : stStorageFileInfo(nullptr) {
    stStorageFileInfo = tovxNew<TOVStStorageFileInfo>(path);
    // A file that does not load leaves the invalid image in place and the default entry.
    if (stStorageFileInfo != nullptr && stStorageFileInfo->checkValidity())
        directoryEntry = stStorageFileInfo->getRootDirEntry();
}

TOVIStorage::TOVIStorage() : stStorageFileInfo(nullptr) {}

TOVIStorage::TOVIStorage(const TOVIStorage& other)
    : stStorageFileInfo(nullptr),
      directoryEntry(other.directoryEntry),
      elements(other.elements),
      propertySetStorage(other.propertySetStorage) {
    if (other.stStorageFileInfo != nullptr) setStStorageFileInfo(other.stStorageFileInfo);
}

TOVIStorage& TOVIStorage::operator=(const TOVIStorage& other) {
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
}

TOVIStorage::~TOVIStorage() {
    tovxDelete(stStorageFileInfo);
    stStorageFileInfo = nullptr;
    propertySetStorage = TOVIPropertySetStorageHandle();  // gives this storage's reference on the container back
}

// An image held before is released: the storage owns exactly one image at a time.
void TOVIStorage::setStStorageFileInfo(TOVStStorageFileInfo* info) {
    TOVStStorageFileInfo* copy = info != nullptr ? tovxNew<TOVStStorageFileInfo>(*info) : nullptr;
    tovxDelete(stStorageFileInfo);
    stStorageFileInfo = copy;
}

int TOVStgOpenStorage(const TOVXFilePath& path, TOVIStorage** ppStorage) {
    TOVIStorage* storage = tovxNew<TOVIStorage>(path);
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

int TOVIStorage::enumElements(TOVXDynamicArray<TOVStStorageDirEntry>& out) {
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
            elements.Reserve(indices.Count());
            for (const uint32_t index : indices)
                if (namesEntry(index, tableSize)) elements.Add(*table.At(static_cast<int>(index)));
        }
    }
    out = elements;
    return out.Count() > 0 ? 0 : -1;
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

int TOVIStorage::openStorage(const TOVXString& name, TOVIStorage** ppStorage) {
    TOVStStorageDirEntry entry;
    if (!searchStorage(name, entry, true) || !entry.isValid() || !entry.isStorage()) {
        *ppStorage = nullptr;
        return -1;
    }
    TOVIStorage* storage = tovxNew<TOVIStorage>();
    *ppStorage = storage;
    if (storage == nullptr) return -1;
    storage->setDirectoryEntry(entry);
    storage->setStStorageFileInfo(stStorageFileInfo);
    // The sub-storage shares this storage's property sets; on a root this may run the discovery.
    TOVIPropertySetStorage* sets = getPropertySetStorage();
    if (sets != nullptr) storage->setPropertySetStorage(sets);
    return 0;
}

// ---- property sets --------------------------------------------------------------------

void TOVIStorage::setPropertySetStorage(TOVIPropertySetStorage* storage) {
    propertySetStorage = TOVIPropertySetStorageHandle(storage);
}

TOVIPropertySetStorage* TOVIStorage::getPropertySetStorage() {
    if (!propertySetStorage.IsValid()) propertySetStorage = TOVIPropertySetStorageHandle(tovxNew<TOVIPropertySetStorage>());
    TOVIPropertySetStorage* container = propertySetStorage;
    // Only a root discovers; a filled container counts as done, an empty one is filled again.
    if (!directoryEntry.isRoot() || container == nullptr || container->GetPropertyStorageCount() != 0) return container;
    // Every immediate child stream whose name begins with the unit 5, in directory order.
    const ChildIndex* index = childIndex();
    if (index == nullptr) return container;
    for (const int position : index->propertySetStreams) addPropertySet(elements.At(position)->getName(), *container);
    return container;
}

// Reads one property-set stream and adds it to `container` when it parses; anything that
// fails is skipped without a trace.
void TOVIStorage::addPropertySet(const TOVXString& name, TOVIPropertySetStorage& container) {
    TOVIStream* stream = nullptr;
    const int opened = openStream(name, &stream);
    if (opened == 0 && stream != nullptr) {
        TOVIPropertyStorageHandle set(tovxNew<TOVIPropertyStorage>());
        TOVStStorageDirEntry entry;
        TOVIPropertyStorage* parsed = set;
        // A chain that ended early gives fewer bytes than the entry's size: the parser is
        // handed the bytes that were read, never memory beyond them.
        if (parsed != nullptr && stream->Stat(&entry) == 0 && entry.getSize() != 0 &&
            parsed->InitializeFromBuffer(stream->data(), static_cast<int>(stream->length())))
            container.AddPropertyStorage(parsed);
    }
    tovxDelete(stream);  // a failed mini walk leaves a stream behind too
}

// ---- streams --------------------------------------------------------------------------

int TOVIStorage::openStream(const TOVXString& name, TOVIStream** ppStream) {
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
    const TOVStStorageFileInfo& image = *stStorageFileInfo;
    const uint32_t size = entry.getSize();
    const uint32_t sectorSize = image.sectorSize();
    std::vector<uint32_t> chain;
    if (!isSpecialSector(entry.getStartSect()))
        chain = TOVStSectorChain::follow(image.fatTable(), entry.getStartSect(), image.fileSectorCount());
    // Room for what the chain can deliver, never for a size that the file cannot back.
    const uint64_t reachable = static_cast<uint64_t>(chain.size()) * sectorSize;
    TOVIStream* stream = tovxNew<TOVIStream>(static_cast<uint32_t>(std::min<uint64_t>(size, reachable)));
    *ppStream = stream;
    if (stream == nullptr) {
        std::fclose(file);
        return -1;
    }
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
    std::fclose(file);
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
    TOVIStream* stream = tovxNew<TOVIStream>(static_cast<uint32_t>(std::min<uint64_t>(size, reachable)));
    *ppStream = stream;
    if (stream == nullptr) return -1;
    if (isSpecialSector(entry.getStartSect()) || miniSectorSize == 0) {
        stream->setDirEntry(entry);
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
        if (chain.hasNext()) return -1;
        break;
    }
    stream->setDirEntry(entry);
    return 0;
}
