// Feeds arbitrary bytes to the native stack as a file: load, walk the whole tree, read
// every stream, parse the property sets. Any crash, leak, hang or sanitizer report is a finding; keep each one
// under tests/robustness/inputs/ so that the test suite replays it.
#include <cstdint>
#include <cstdio>
#include <string>
#include <unistd.h>

#include "TOVXNativeOwners.h"
#include "TOVXStreamRead.h"
#include "TOVXTreeWalk.h"

namespace {

// Every stream that a lookup by name reaches is read whole; the walk ends on directories
// whose links loop.
void readEveryStream(TOVIStorage& root) {
    TOVXTreeWalk::walk(root, [](const TOVXTreeWalk::Item& item) {
        TOVStStorageDirEntry entry = item.entry;
        if (item.parent != nullptr && entry.isStream() && !item.shadowed) TOVXStreamRead::child(*item.parent, entry.getName());
    });
}

void parseEveryPropertySet(TOVIStorage& root) {
    TOVXDynamicArray<TOVIPropertyStorage*> sets;
    root.getPropertySetStorage()->GetPropertyStorages(sets);
    for (int i = 0; i < sets.Count(); ++i) {
        (*sets.At(i))->GetPropertyArray();
        (*sets.At(i))->LowerReference();
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
    TOVIStorage* opened = nullptr;
    if (TOVStgOpenStorage(TOVXFilePath(path), &opened) != 0) return 0;
    const TOVXStoragePtr root(opened);
    readEveryStream(*root);
    parseEveryPropertySet(*root);
    return 0;
}
