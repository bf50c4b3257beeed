#ifndef TOVX_STG_DIRECTORY_TREE_H
#define TOVX_STG_DIRECTORY_TREE_H

// The children of one storage as the directory holds them: a binary tree of siblings ordered
// by the format's name order, hanging from the storage's child link.

#include "StgCompoundFile.h"

#include <vector>

namespace tovxstg {

class StgDirectoryTree {
public:
    explicit StgDirectoryTree(const StgCompoundFile& file) : file_(file) {}

    // The storages and streams under `storage`, in name order (the tree walked in order). Each
    // entry is visited at most once, so a tree whose links loop or cross ends where it returns.
    std::vector<uint32_t> children(uint32_t storage) const;

    // The storage or stream under `storage` with this name, in the format's comparison (upper
    // case, every script), found by a search down the tree; kNoEntry when there is none.
    uint32_t find(uint32_t storage, const std::u16string& name) const;

private:
    const StgCompoundFile& file_;
};

}  // namespace tovxstg

#endif
