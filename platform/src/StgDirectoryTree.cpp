#include "StgDirectoryTree.h"

#include "StgText.h"

namespace tovxstg {

namespace {

bool isElement(const StgDirectoryEntry& entry) { return entry.type == kTypeStorage || entry.type == kTypeStream; }

}  // namespace

std::vector<uint32_t> StgDirectoryTree::children(uint32_t storage) const {
    std::vector<uint32_t> result;
    std::vector<bool> visited(file_.entryCount());
    std::vector<uint32_t> pending;  // the left spine still to be delivered
    auto descendLeft = [&](uint32_t index) {
        while (file_.isEntry(index) && !visited[index]) {
            visited[index] = true;
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
