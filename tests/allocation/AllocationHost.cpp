// The host stack's reading over the platform stand-in with every library call armed.
#include "FailingAllocation.h"

#include <vector>

#include "TOVXPropertyContainer.h"
#include "TOVXStorageReader.h"
#include "TOVXStructuredStorageUtils.h"

namespace failing {

namespace {

using Utils = TOVXStructuredStorageUtils;

void readChildren(IStorage* storage, std::vector<IStorage*>& pending, Outcome& outcome) {
    TOVXDynamicArray<TOVXStStorageElement> children;
    if (!armed(outcome, false, [&] { return GetChildElements(storage, children); })) return;
    ++outcome.succeeded;
    for (const TOVXStStorageElement& child : children) {
        if (child.isStorage == 1) {
            IStorage* opened = armed(outcome, static_cast<IStorage*>(nullptr), [&] { return OpenStorage(storage, child.name); });
            if (opened != nullptr) {
                ++outcome.succeeded;
                pending.push_back(opened);
            }
            continue;
        }
        IStream* stream = armed(outcome, static_cast<IStream*>(nullptr), [&] { return OpenStream(storage, child.name); });
        uint32_t size = 0;
        if (stream != nullptr && GetStreamSize(stream, size)) {
            std::vector<unsigned char> bytes(size);
            if (armed(outcome, false, [&] { return ReadStream(stream, bytes.data(), size); })) ++outcome.succeeded;
        }
        CloseStream(stream);
    }
}

void readSet(IPropertyStorage* set, Outcome& outcome) {
    TOVXPropertyContainerHandle container;
    if (!armed(outcome, TOVXResult(TOVX_E_FAIL), [&] { return Utils::GetAllPropertySets(set, container); }).IsSuccess()) return;
    for (const TOVXPropertyHandle& property : container->GetProperties()) {
        ++outcome.succeeded;
        const TOVXString name = property->GetPropertyName();
        TOVXString value;
        int type = 0;
        armed(outcome, TOVXResult(TOVX_E_FAIL), [&] { return Utils::GetValueWithName(name, set, value, type); });
    }
}

void readSets(IStorage* root, Outcome& outcome) {
    IPropertySetStorage* sets = nullptr;
    if (!armed(outcome, TOVXResult(TOVX_E_FAIL), [&] { return Utils::OpenPropertySetStorage(root, sets); }).IsSuccess()) return;
    TOVXDynamicArray<IPropertyStorage*> opened;
    armed(outcome, TOVXResult(TOVX_E_FAIL), [&] { return Utils::OpenAllPropertyStorages(sets, opened); });
    for (IPropertyStorage* set : opened) {
        readSet(set, outcome);
        Utils::ClosePropertyStorage(set);
    }
    Utils::ClosePropertySetStorage(sets);
    static const unsigned char kUserDefined[16] = {0xD5, 0xCD, 0xD5, 0x05, 0x2E, 0x9C, 0x10, 0x1B,
                                                   0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE};
    IPropertyStorage* userDefined = nullptr;
    if (armed(outcome, TOVXResult(TOVX_E_FAIL), [&] { return Utils::OpenPropertySetWithId(root, kUserDefined, userDefined); }).IsSuccess()) {
        readSet(userDefined, outcome);
        Utils::ClosePropertyStorage(userDefined);
    }
}

}  // namespace

Outcome readHost(const std::string& path) {
    Outcome outcome;
    const TOVXFilePath filePath(path);
    TOVXFilePath temporary;
    IStorage* root = armed(outcome, static_cast<IStorage*>(nullptr), [&] { return OpenStorage(filePath, temporary); });
    if (root == nullptr) return outcome;
    ++outcome.succeeded;
    std::vector<IStorage*> pending{root};
    while (!pending.empty()) {
        IStorage* storage = pending.back();
        pending.pop_back();
        readChildren(storage, pending, outcome);
        if (storage != root) CloseStorage(storage);
    }
    readSets(root, outcome);
    CloseStorage(root);
    return outcome;
}

}  // namespace failing
