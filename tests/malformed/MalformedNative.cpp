// The native stack's reading. Host and native headers both declare STGTY_*: each reading has a unit of its own.
#include "MalformedReading.h"

#include "TOVIPropertySetStorage.h"
#include "TOVIPropertyStorage.h"
#include "TOVXNativeOwners.h"
#include "TOVXProperty.h"
#include "TOVXTreeWalk.h"

namespace malformed {

namespace {

std::string utf8(const TOVXString& text) { return text.ToUtf8(); }

std::string shownName(const TOVXString& name) { return "/" + (name.length() > 0 ? utf8(name) : "\"\""); }

// The names of the path; one that is more than eight deep shows its first and last name only,
// so that a deep tree's text grows with its depth, not with the square of it.
std::string pathOf(const std::vector<TOVXString>& names) {
    if (names.empty()) return "/";
    if (names.size() > 8) return shownName(names.front()) + "/...(" + std::to_string(names.size() - 2) + ")" + shownName(names.back());
    std::string path;
    for (const TOVXString& name : names) path += shownName(name);
    return path;
}

std::string nativeKind(TOVStStorageDirEntry entry) {
    if (entry.isRoot()) return "root";
    if (entry.isStorage()) return "storage";
    if (entry.isStream()) return "stream";
    return "type " + std::to_string(static_cast<int>(entry.getType()));
}

std::string nativeStream(TOVIStorage& parent, TOVStStorageDirEntry entry, const Contents& contents) {
    TOVIStream* opened = nullptr;
    const int result = parent.openStream(entry.getName(), &opened);
    const TOVXStreamPtr stream(opened);
    if (stream == nullptr) return "not opened";
    const std::string outcome = readOutcome(entry.getName().Text(), stream->data(), stream->length(), contents);
    return result == 0 ? outcome : outcome + ", -1";
}

std::string nativeLine(const TOVXTreeWalk::Item& item, const Contents& contents) {
    TOVStStorageDirEntry entry = item.entry;
    std::string line = pathOf(item.path) + " " + nativeKind(entry);
    if (entry.isStream()) line += " " + std::to_string(entry.getSize());
    if (item.shadowed) return line + " (hidden by a namesake)";
    if (item.descent == TOVXTreeWalk::Descent::Refused) line += " (refused)";
    if (item.descent == TOVXTreeWalk::Descent::AlreadyListed) line += " (listed already)";
    if (item.descent == TOVXTreeWalk::Descent::BeyondDirectory) line += " (beyond the directory)";
    if (entry.isStream() && item.parent != nullptr) line += " " + nativeStream(*item.parent, entry, contents);
    return line;
}

void readNativeSets(TOVIStorage& root, Reading& reading) {
    TOVIPropertySetStorage* container = root.getPropertySetStorage();
    if (container == nullptr) return;
    TOVXDynamicArray<TOVIPropertyStorage*> sets;
    container->GetPropertyStorages(sets);
    for (TOVIPropertyStorage* set : sets) {
        unsigned char id[16];
        set->GetPropertyStorageID(id);
        PropertySet read{guidText(id), utf8(set->GetPropertyStorageName()), {}};
        for (const TOVXPropertyHandle& property : set->GetPropertyArray()) {
            if (!property.IsValid()) continue;
            read.properties.push_back({property->GetID(), utf8(property->GetPropertyName()),
                                       static_cast<int>(property->GetValueType()), shortened(utf8(property->GetValue()))});
        }
        reading.sets.push_back(read);
        set->LowerReference();
    }
}

}  // namespace

Reading readNative(const std::string& path, const Contents& contents, bool rootOnly) {
    Reading reading;
    TOVIStorage* opened = nullptr;
    if (TOVStgOpenStorage(TOVXFilePath(path), &opened) != 0) return reading;
    const TOVXStoragePtr root(opened);
    reading.opened = true;
    if (rootOnly) {
        reading.tree.push_back("/ " + nativeKind(root->getDirectoryEntry()));
        TOVXDynamicArray<TOVStStorageDirEntry> children;
        root->enumElements(children);
        for (const TOVStStorageDirEntry& child : children)
            reading.tree.push_back(pathOf({child.getName()}) + " " + nativeKind(child));
    } else {
        TOVXTreeWalk::walk(*root, [&](const TOVXTreeWalk::Item& item) {
            reading.tree.push_back(item.path.empty() ? "/ " + nativeKind(item.entry) : nativeLine(item, contents));
        });
    }
    readNativeSets(*root, reading);
    return reading;
}

}  // namespace malformed
