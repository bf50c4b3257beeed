#include "StstgWalk.h"

#include <memory>
#include <set>
#include <string>
#include <unordered_set>

#include "TOVXMemoryManager.h"

namespace ststg {

namespace {

struct StorageDeleter {
    void operator()(TOVIStorage* storage) const { tovxDelete(storage); }
};
using OwnedStorage = std::unique_ptr<TOVIStorage, StorageDeleter>;

struct Frame {
    TOVIStorage* storage = nullptr;
    OwnedStorage owned;  // null for the root, which the caller owns
    TOVXDynamicArray<TOVStStorageDirEntry> children;
    std::vector<bool> shadowed;
    int next = 0;
    std::vector<TOVXString> path;
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

}  // namespace

void StorageWalker::walk(TOVIStorage& root, const Visitor& visit) {
    // A storage is known by its child link: two storages with one child link list the
    // same children, so the second is never gone into.
    std::set<uint32_t> childLinksSeen;
    WalkItem rootItem;
    rootItem.entry = root.getDirectoryEntry();
    const uint32_t rootChild = rootItem.entry.getChild();
    rootItem.descent = isSpecialSector(rootChild) ? Descent::NoChildren : Descent::Descended;
    visit(rootItem);
    if (rootItem.descent != Descent::Descended) return;
    childLinksSeen.insert(rootChild);

    std::vector<Frame> stack(1);
    stack.back().storage = &root;
    root.enumElements(stack.back().children);
    stack.back().shadowed = shadowedChildren(stack.back().children);

    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.next >= frame.children.Count()) {
            stack.pop_back();
            continue;
        }
        const int index = frame.next++;
        WalkItem item;
        item.entry = *frame.children.At(index);
        item.path = frame.path;
        item.path.push_back(item.entry.getName());
        item.shadowed = frame.shadowed[static_cast<size_t>(index)];
        item.parent = frame.storage;

        OwnedStorage child;
        if (!item.entry.isStorage()) {
            item.descent = Descent::NotAStorage;
        } else if (isSpecialSector(item.entry.getChild())) {
            item.descent = Descent::NoChildren;
        } else {
            TOVIStorage* opened = nullptr;
            if (frame.storage->openStorage(item.entry.getName(), &opened) != 0 || opened == nullptr) {
                item.descent = Descent::Refused;
            } else {
                child.reset(opened);
                const bool fresh = childLinksSeen.insert(child->getDirectoryEntry().getChild()).second;
                item.descent = fresh ? Descent::Descended : Descent::AlreadyListed;
            }
        }
        visit(item);
        if (item.descent != Descent::Descended) continue;

        Frame inner;
        inner.storage = child.get();
        inner.owned = std::move(child);
        inner.path = std::move(item.path);
        inner.storage->enumElements(inner.children);
        inner.shadowed = shadowedChildren(inner.children);
        stack.push_back(std::move(inner));  // `frame` is not used after this point
    }
}

}  // namespace ststg
