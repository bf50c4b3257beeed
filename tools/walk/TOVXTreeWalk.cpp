#include "TOVXTreeWalk.h"

#include <string>
#include <unordered_set>

#include "TOVStStorageConstants.h"
#include "TOVXNativeOwners.h"

namespace {

// One storage whose children are being visited.
struct Frame {
    TOVIStorage* storage = nullptr;
    TOVXStoragePtr owned;  // null for the root, which the caller owns
    TOVXDynamicArray<TOVStStorageDirEntry> children;
    std::vector<bool> shadowed;
    int next = 0;
};

// For each child, whether an earlier sibling of the same kind has the same name: a
// lookup by name finds that sibling, never this one. One pass, whatever the number.
std::vector<bool> shadowedChildren(const TOVXDynamicArray<TOVStStorageDirEntry>& children) {
    std::unordered_set<std::u16string> streams;
    std::unordered_set<std::u16string> storages;
    std::vector<bool> shadowed(static_cast<size_t>(children.Count()), false);
    for (int i = 0; i < children.Count(); ++i) {
        TOVStStorageDirEntry child = *children.At(i);
        if (!child.isStream() && !child.isStorage()) continue;
        auto& seen = child.isStream() ? streams : storages;
        shadowed[static_cast<size_t>(i)] = !seen.insert(child.getName().Text()).second;
    }
    return shadowed;
}

Frame frameOf(TOVIStorage& storage, TOVXStoragePtr owned) {
    Frame frame;
    frame.storage = &storage;
    frame.owned = std::move(owned);
    storage.enumElements(frame.children);
    frame.shadowed = shadowedChildren(frame.children);
    return frame;
}

// How many more children the walk may list. Every entry of a directory whose links form a
// tree is listed once at most, so a walk lists no more entries than the directory has slots;
// a directory whose links list entries under several storages (sibling sets that overlap or
// fan out) would otherwise make the walk list, and enumElements gather, the square of that
// number. Once a storage's children would go past the bound, the walk goes into no further
// storage: the cost of listing them was paid once, and is not paid again.
struct ListingBudget {
    uint64_t left;
    bool spent = false;
    bool take(int children) {
        if (spent || static_cast<uint64_t>(children) > left) {
            spent = true;
            return false;
        }
        left -= static_cast<uint64_t>(children);
        return true;
    }
};

uint64_t directorySlots(TOVIStorage& root) {
    const TOVStStorageFileInfo* image = root.getStStorageFileInfo();
    return image != nullptr ? static_cast<uint64_t>(image->dirTable().Count()) : 0;
}

// Opens the child storage `entry` of `parent` when there is something to go into, and
// says how that went. A storage is known by its child link: two storages with one child
// link list the same children, so the second is never gone into.
TOVXStoragePtr descend(TOVIStorage& parent, TOVStStorageDirEntry& entry, std::unordered_set<uint32_t>& childLinksSeen,
                       TOVXTreeWalk::Descent& descent) {
    using Descent = TOVXTreeWalk::Descent;
    if (!entry.isStorage()) {
        descent = Descent::NotAStorage;
        return nullptr;
    }
    if (isSpecialSector(entry.getChild())) {
        descent = Descent::NoChildren;
        return nullptr;
    }
    TOVIStorage* opened = nullptr;
    if (parent.openStorage(entry.getName(), &opened) != 0 || opened == nullptr) {
        descent = Descent::Refused;
        return nullptr;
    }
    TOVXStoragePtr child(opened);
    const bool fresh = childLinksSeen.insert(child->getDirectoryEntry().getChild()).second;
    descent = fresh ? Descent::Descended : Descent::AlreadyListed;
    return child;
}

}  // namespace

void TOVXTreeWalk::walk(TOVIStorage& root, const Visitor& visit) {
    std::unordered_set<uint32_t> childLinksSeen;
    ListingBudget budget{directorySlots(root)};
    Path path;  // path.size() + 1 == stack.size() between items
    TOVStStorageDirEntry rootEntry = root.getDirectoryEntry();
    const uint32_t rootChild = rootEntry.getChild();
    const Descent rootDescent = isSpecialSector(rootChild) ? Descent::NoChildren : Descent::Descended;
    visit(Item{path, rootEntry, rootDescent, false, nullptr});
    if (rootDescent != Descent::Descended) return;
    childLinksSeen.insert(rootChild);

    std::vector<Frame> stack;
    stack.push_back(frameOf(root, nullptr));
    budget.take(stack.back().children.Count());  // the root's children are each an entry of the directory
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.next >= frame.children.Count()) {
            stack.pop_back();
            if (!stack.empty()) path.pop_back();  // the name of the storage just finished
            continue;
        }
        const int index = frame.next++;
        TOVStStorageDirEntry entry = *frame.children.At(index);
        path.push_back(entry.getName());
        Descent descent = Descent::BeyondDirectory;
        TOVXStoragePtr child;
        if (!budget.spent || !entry.isStorage() || isSpecialSector(entry.getChild()))
            child = descend(*frame.storage, entry, childLinksSeen, descent);
        Frame opened;
        if (descent == Descent::Descended) {
            TOVIStorage& storage = *child;
            opened = frameOf(storage, std::move(child));
            if (!budget.take(opened.children.Count())) descent = Descent::BeyondDirectory;
        }
        visit(Item{path, entry, descent, frame.shadowed[static_cast<size_t>(index)], frame.storage});
        if (descent != Descent::Descended) {
            path.pop_back();
            continue;
        }
        stack.push_back(std::move(opened));  // `frame` is not used after this point
    }
}
