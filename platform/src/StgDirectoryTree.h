#ifndef TOVX_STG_DIRECTORY_TREE_H
#define TOVX_STG_DIRECTORY_TREE_H

// The children of each storage as the directory holds them: a binary tree of siblings ordered
// by the format's name order, hanging from the storage's child link.

#include <cstdint>
#include <vector>

namespace tovxstg {

class StgCompoundFile;

class StgDirectoryTree {
public:
    // The storages and streams under every storage, in name order (each tree of siblings walked
    // in order), by the storage's directory index; empty for every other entry. An entry belongs
    // to the first storage that reaches it, the storages taken depth first from the root in the
    // order they are listed: a storage that names itself or one above it, an entry that two
    // storages name, and links that loop or cross cannot make the tree endless or list an entry
    // twice, so the whole tree costs time and memory in proportion to the directory.
    static std::vector<std::vector<uint32_t>> childrenOfEveryStorage(const StgCompoundFile& file);
};

}  // namespace tovxstg

#endif
