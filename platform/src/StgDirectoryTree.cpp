#include "StgDirectoryTree.h"

#include "StgCompoundFile.h"

namespace tovxstg {

namespace {

bool isElement(const StgDirectoryEntry& entry) { return entry.type == kTypeStorage || entry.type == kTypeStream; }

}  // namespace

std::vector<std::vector<uint32_t>> StgDirectoryTree::childrenOfEveryStorage(const StgCompoundFile& file) {
    std::vector<std::vector<uint32_t>> children(file.entryCount());
    if (children.empty()) return children;
    std::vector<bool> claimed(file.entryCount());  // reached from some storage, or the root
    claimed[0] = true;
    std::vector<uint32_t> pending;  // the left spine still to be delivered
    auto descendLeft = [&](uint32_t index) {
        while (file.isEntry(index) && !claimed[index]) {
            claimed[index] = true;
            pending.push_back(index);
            index = file.entry(index).left;
        }
    };
    std::vector<uint32_t> storages{0};  // still to be gone into, the next one last
    while (!storages.empty()) {
        const uint32_t storage = storages.back();
        storages.pop_back();
        std::vector<uint32_t>& found = children[storage];
        descendLeft(file.entry(storage).child);
        while (!pending.empty()) {
            const uint32_t index = pending.back();
            pending.pop_back();
            if (isElement(file.entry(index))) found.push_back(index);
            descendLeft(file.entry(index).right);
        }
        for (auto child = found.rbegin(); child != found.rend(); ++child) {
            if (file.entry(*child).type == kTypeStorage) storages.push_back(*child);
        }
    }
    return children;
}

}  // namespace tovxstg
