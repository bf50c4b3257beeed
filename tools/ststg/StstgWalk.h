#ifndef STSTG_WALK_H
#define STSTG_WALK_H

#include <cstdint>
#include <functional>
#include <vector>

#include "TOVIStorage.h"
#include "TOVStStorageDirEntry.h"
#include "TOVXString.h"

namespace ststg {

// What became of a child storage when the walk tried to go into it.
enum class Descent {
    NotAStorage,    // a stream, or an entry of another type: nothing to go into
    NoChildren,     // a storage whose child link is empty
    Descended,      // opened; its children follow
    Refused,        // openStorage refused it (an empty name, a damaged entry)
    AlreadyListed,  // its name leads to a storage whose children were listed already
};

// One entry as the walk reaches it. `parent` is the open storage that holds the entry
// and is valid only during the visit; it is null for the root.
struct WalkItem {
    std::vector<TOVXString> path;  // names from the root's child down to this entry; empty for the root
    TOVStStorageDirEntry entry;
    Descent descent = Descent::NotAStorage;
    // True when an earlier sibling of the same kind has the same name: a lookup by
    // name finds that sibling, never this entry.
    bool shadowed = false;
    TOVIStorage* parent = nullptr;
};

// Walks the tree of an opened file depth first, each storage's children in
// enumElements order. A storage is gone into once at most: a directory whose child
// links loop, or two storages that share a name, cannot make the walk repeat itself,
// so the walk ends on every file. It keeps the open ancestors on an explicit stack.
class StorageWalker {
public:
    using Visitor = std::function<void(const WalkItem&)>;
    void walk(TOVIStorage& root, const Visitor& visit);
};

}  // namespace ststg

#endif
