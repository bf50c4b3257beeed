#ifndef TOVX_TREE_WALK_H
#define TOVX_TREE_WALK_H

#include <functional>
#include <vector>

#include "TOVIStorage.h"
#include "TOVStStorageDirEntry.h"
#include "TOVXString.h"

// Walks the tree of an opened file depth first, each storage's children in enumElements
// order, and shows every entry it reaches to a visitor once. A storage is gone into once
// at most: a directory whose child links loop, or two storages that share a name, cannot
// make the walk repeat itself, so the walk ends on every file. It lists no more entries
// than the directory has slots (TOVXResourceBounds.h): past that, the file lists some
// entries more than once, and the walk goes into no further storage. It keeps the open
// ancestors on an explicit stack, never recursing, and holds each name on the way down once.
class TOVXTreeWalk {
public:
    // What became of a child storage when the walk tried to go into it.
    enum class Descent {
        NotAStorage,    // a stream, or an entry of another type: nothing to go into
        NoChildren,     // a storage whose child link is empty
        Descended,      // opened; its children follow
        Refused,        // openStorage refused it (an empty name, a damaged entry)
        AlreadyListed,  // its name leads to a storage whose children were listed already
        // Not gone into: its children would take the walk past as many entries as the
        // directory has slots, so the file lists some entries more than once (sibling sets
        // that overlap or fan out); from then on the walk goes into no further storage.
        BeyondDirectory,
    };

    // Names from the root's child down to an entry; empty for the root.
    using Path = std::vector<TOVXString>;

    // One entry as the walk reaches it; valid only during the visit.
    struct Item {
        // The walk's own path, shared by every visit. Between two visits it loses names at
        // its end and gains the visited entry's name, so a visitor may keep what it built
        // from the path's start.
        const Path& path;
        TOVStStorageDirEntry entry;
        Descent descent;
        // True when an earlier sibling of the same kind has the same name: a lookup by
        // name finds that sibling, never this entry.
        bool shadowed;
        // The open storage that holds the entry; null for the root.
        TOVIStorage* parent;
    };

    using Visitor = std::function<void(const Item&)>;

    static void walk(TOVIStorage& root, const Visitor& visit);
};

#endif
