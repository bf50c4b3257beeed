// Feeds arbitrary bytes to the native stack as a file: load, walk the whole tree, read
// every stream, parse the property sets. Any crash, leak, hang or sanitizer report is a finding; keep each one
// under tests/robustness/inputs/ so that the test suite replays it.
#include <cstdint>
#include <cstdio>
#include <string>
#include <unistd.h>
#include <unordered_set>

#include "TOVIStorage.h"
#include "TOVXMemoryManager.h"

namespace {

// A directory whose child links lead back up would nest without end: each subtree, known by
// the child link that leads into it, is walked once.
void walk(TOVIStorage* storage, std::unordered_set<uint32_t>& walked) {
    TOVXDynamicArray<TOVStStorageDirEntry> children;
    if (!walked.insert(storage->getDirectoryEntry().getChild()).second || storage->enumElements(children) != 0) return;
    for (int i = 0; i < children.Count(); ++i) {
        TOVStStorageDirEntry* child = children.At(i);
        if (child->isStorage()) {
            TOVIStorage* sub = nullptr;
            if (storage->openStorage(child->getName(), &sub) == 0) walk(sub, walked);
            tovxDelete(sub);
        } else if (child->isStream()) {
            TOVIStream* stream = nullptr;
            storage->openStream(child->getName(), &stream);
            if (stream != nullptr) {
                unsigned char buffer[64];
                uint32_t got = 0;
                stream->Read(buffer, sizeof buffer, &got);
            }
            tovxDelete(stream);
        }
    }
}

std::string scratchPath() {
    static const std::string path = "/tmp/tovx-fuzz-" + std::to_string(getpid()) + ".cfb";
    return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string path = scratchPath();
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) return 0;
    std::fwrite(data, 1, size, file);
    std::fclose(file);
    TOVIStorage* root = nullptr;
    std::unordered_set<uint32_t> walked;
    if (TOVStgOpenStorage(TOVXFilePath(path), &root) == 0) {
        walk(root, walked);
        TOVXDynamicArray<TOVIPropertyStorage*> sets;
        root->getPropertySetStorage()->GetPropertyStorages(sets);
        for (int i = 0; i < sets.Count(); ++i) {
            (*sets.At(i))->GetPropertyArray();
            (*sets.At(i))->LowerReference();
        }
    }
    tovxDelete(root);
    return 0;
}
