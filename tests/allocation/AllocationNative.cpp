// The native stack's reading with every library call armed.
#include "FailingAllocation.h"

#include <vector>

#include "TOVIPropertySetStorage.h"
#include "TOVIPropertyStorage.h"
#include "TOVIStorage.h"
#include "TOVXMemoryManager.h"
#include "TOVXProperty.h"

namespace failing {

namespace {

// The storage's children: sub-storages into `pending`, each stream opened and given back.
void readChildren(TOVIStorage& storage, std::vector<TOVIStorage*>& pending, Outcome& outcome) {
    TOVXDynamicArray<TOVStStorageDirEntry> children;
    if (armed(outcome, -1, [&] { return storage.enumElements(children); }) != 0) return;
    ++outcome.succeeded;
    for (TOVStStorageDirEntry child : children) {
        const TOVXString name = child.getName();
        if (child.isStorage()) {
            TOVIStorage* opened = nullptr;
            if (armed(outcome, -1, [&] { return storage.openStorage(name, &opened); }) == 0) ++outcome.succeeded;
            if (opened != nullptr) pending.push_back(opened);
        } else if (child.isStream()) {
            TOVIStream* stream = nullptr;
            if (armed(outcome, -1, [&] { return storage.openStream(name, &stream); }) == 0) outcome.succeeded += stream->length() > 0;
            tovxDelete(stream);
        }
    }
}

void readSets(TOVIStorage& root, Outcome& outcome) {
    TOVIPropertySetStorage* container = armed(outcome, static_cast<TOVIPropertySetStorage*>(nullptr),
                                              [&] { return root.getPropertySetStorage(); });
    if (container == nullptr) return;
    TOVXDynamicArray<TOVIPropertyStorage*> sets;
    armed(outcome, 0, [&] {
        container->GetPropertyStorages(sets);
        return 0;
    });
    for (TOVIPropertyStorage* set : sets) {
        const TOVXDynamicArray<TOVXPropertyHandle> properties = set->GetPropertyArray();
        for (const TOVXPropertyHandle& property : properties) {
            if (!property.IsValid()) continue;
            ++outcome.succeeded;
            const TOVXString name = property->GetPropertyName();
            armed(outcome, 0, [&] { return set->GetPropertyWithName(name).IsValid() ? 1 : 0; });
        }
        TOVIPropertyStorage* found = nullptr;
        const TOVXString setName = set->GetPropertyStorageName();
        if (armed(outcome, TOVXResult(TOVX_E_FAIL), [&] { return container->GetPropertyStorageWithName(setName, found); }).IsSuccess())
            found->LowerReference();
        set->LowerReference();
    }
}

}  // namespace

Outcome readNative(const std::string& path) {
    Outcome outcome;
    const TOVXFilePath filePath(path);
    TOVIStorage* root = nullptr;
    if (armed(outcome, -1, [&] { return TOVStgOpenStorage(filePath, &root); }) != 0) return outcome;
    ++outcome.succeeded;
    std::vector<TOVIStorage*> pending{root};
    while (!pending.empty()) {
        TOVIStorage* storage = pending.back();
        pending.pop_back();
        readChildren(*storage, pending, outcome);
        if (storage != root) tovxDelete(storage);
    }
    readSets(*root, outcome);
    tovxDelete(root);
    return outcome;
}

}  // namespace failing
