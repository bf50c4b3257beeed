#include "TOVXStreamRead.h"

#include "TOVXNativeOwners.h"

namespace {

TOVXStreamRead outcomeOnly(TOVXStreamRead::Outcome outcome) {
    TOVXStreamRead read;
    read.outcome = outcome;
    return read;
}

// openStream gave no stream: an empty stream (which it cannot open), a stream it could
// not read, a storage of that name, or nothing of that name. One child listing says which.
TOVXStreamRead explainMissingStream(TOVIStorage& storage, const TOVXString& name) {
    TOVXDynamicArray<TOVStStorageDirEntry> children;
    storage.enumElements(children);
    bool storageOfThatName = false;
    for (int i = 0; i < children.Count(); ++i) {
        TOVStStorageDirEntry entry = *children.At(i);
        if (!entry.getName().equals(name)) continue;
        if (entry.isStream()) {
            TOVXStreamRead read = outcomeOnly(entry.getSize() == 0 ? TOVXStreamRead::Outcome::Read : TOVXStreamRead::Outcome::Unreadable);
            read.declaredSize = entry.getSize();
            return read;
        }
        storageOfThatName = storageOfThatName || entry.isStorage();
    }
    return outcomeOnly(storageOfThatName ? TOVXStreamRead::Outcome::IsStorage : TOVXStreamRead::Outcome::NoSuchStream);
}

}  // namespace

TOVXStreamRead TOVXStreamRead::child(TOVIStorage& storage, const TOVXString& name) {
    TOVIStream* raw = nullptr;
    const int result = storage.openStream(name, &raw);
    TOVXStreamPtr stream(raw);  // a failed open may still hand over a stream; it is ours to free
    if (stream == nullptr) return result == 0 ? outcomeOnly(Outcome::Read) : explainMissingStream(storage, name);
    TOVXStreamRead read = outcomeOnly(Outcome::Read);
    read.bytes.assign(stream->data(), stream->data() + stream->length());
    // A result of -1 with a stream means the mini chain ran on past the size: the bytes
    // are all there, only the stream's entry was not filled in.
    TOVStStorageDirEntry entry;
    stream->Stat(&entry);
    read.declaredSize = result == 0 ? entry.getSize() : static_cast<uint32_t>(read.bytes.size());
    return read;
}

TOVXStreamRead TOVXStreamRead::atPath(TOVIStorage& root, const std::vector<TOVXString>& names) {
    if (names.empty()) return outcomeOnly(Outcome::IsStorage);  // the root itself
    // A sub-storage has an image of its own, so only the deepest one is kept open.
    TOVXStoragePtr held;
    TOVIStorage* current = &root;
    for (size_t i = 0; i + 1 < names.size(); ++i) {
        TOVIStorage* next = nullptr;
        if (current->openStorage(names[i], &next) != 0 || next == nullptr) {
            TOVXStreamRead read = outcomeOnly(Outcome::NoSuchStorage);
            read.storagesOpened = i;
            return read;
        }
        held.reset(next);
        current = next;
    }
    return child(*current, names.back());
}
