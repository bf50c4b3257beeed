#include "StgDirectoryTree.h"

#include "StgText.h"

namespace tovxstg {

namespace {

bool isElement(const StgDirectoryEntry& entry) { return entry.type == kTypeStorage || entry.type == kTypeStream; }

// The entries one walk has visited, in an open-addressed table that grows with them: listing
// a storage of three children in a directory of a million entries touches a few slots.
class VisitedEntries {
public:
    // False when `index` was visited already.
    bool visit(uint32_t index) {
        if (2 * (count_ + 1) > slots_.size()) grow();
        for (size_t slot = spread(index);; slot = (slot + 1) & (slots_.size() - 1)) {
            if (slots_[slot] == index) return false;
            if (slots_[slot] == kNoEntry) {
                slots_[slot] = index;
                ++count_;
                return true;
            }
        }
    }

private:
    size_t spread(uint32_t index) const { return (uint64_t(index) * 0x9E3779B97F4A7C15ull >> 32) & (slots_.size() - 1); }

    void grow() {
        std::vector<uint32_t> old(slots_.empty() ? 16 : 2 * slots_.size(), kNoEntry);
        old.swap(slots_);
        count_ = 0;
        for (const uint32_t index : old)
            if (index != kNoEntry) visit(index);
    }

    std::vector<uint32_t> slots_;  // kNoEntry marks a free slot; no entry has that index
    size_t count_ = 0;
};

}  // namespace

std::vector<uint32_t> StgDirectoryTree::children(uint32_t storage) const {
    std::vector<uint32_t> result;
    VisitedEntries visited;
    std::vector<uint32_t> pending;  // the left spine still to be delivered
    auto descendLeft = [&](uint32_t index) {
        while (file_.isEntry(index) && visited.visit(index)) {
            pending.push_back(index);
            index = file_.entry(index).left;
        }
    };
    descendLeft(file_.entry(storage).child);
    while (!pending.empty()) {
        const uint32_t index = pending.back();
        pending.pop_back();
        if (isElement(file_.entry(index))) result.push_back(index);
        descendLeft(file_.entry(index).right);
    }
    return result;
}

uint32_t StgDirectoryTree::find(uint32_t storage, const std::u16string& name) const {
    uint32_t index = file_.entry(storage).child;
    // A search visits each level once; a path longer than the directory has entries loops.
    for (size_t steps = 0; file_.isEntry(index) && steps < file_.entryCount(); ++steps) {
        const StgDirectoryEntry& entry = file_.entry(index);
        const int order = compareNames(name, entry.name);
        if (order == 0) return isElement(entry) ? index : kNoEntry;
        index = order < 0 ? entry.left : entry.right;
    }
    return kNoEntry;
}

}  // namespace tovxstg
