// The host stack's reading over the platform stand-in.
#include "MalformedReading.h"

#include <cstdio>

#include "TOVXPropertyContainer.h"
#include "TOVXResourceBounds.h"
#include "TOVXStorageReader.h"
#include "TOVXStructuredStorageUtils.h"

namespace malformed {

namespace {

std::string utf8(const TOVXString& text) { return text.ToUtf8(); }

std::string shownName(const TOVXString& name) { return "/" + (name.length() > 0 ? utf8(name) : "\"\""); }

// The names of the path; one that is more than eight deep shows its first and last name only,
// so that a deep tree's text grows with its depth, not with the square of it.
std::string pathOf(const std::vector<TOVXString>& names) {
    if (names.empty()) return "/";
    if (names.size() > 8) return shownName(names.front()) + "/...(" + std::to_string(names.size() - 2) + ")" + shownName(names.back());
    std::string path;
    for (const TOVXString& name : names) path += shownName(name);
    return path;
}

std::string hostStream(IStorage* parent, const TOVXString& name, const Contents& contents) {
    IStream* stream = OpenStream(parent, name);
    if (stream == nullptr) return "not opened";
    uint32_t size = 0;
    std::string line = GetStreamSize(stream, size) ? std::to_string(size) : "?";
    // Read in chunks as a caller must: ReadStream is true only when a whole chunk came.
    Bytes bytes;
    uint8_t chunk[4096];
    for (;;) {
        ULONG got = 0;
        if (FAILED(stream->Read(chunk, sizeof chunk, &got)) || got == 0) break;
        bytes.insert(bytes.end(), chunk, chunk + got);
    }
    CloseStream(stream);
    return line + " " + readOutcome(name.Text(), bytes.data(), bytes.size(), contents);
}

struct HostLevel {
    IStorage* storage;
    TOVXDynamicArray<TOVXStStorageElement> children;
    int next;
};

// Depth first, each storage's children in the service's order, with the shared bound on how
// many entries a walk lists (TOVXResourceBounds.h).
void readHostTree(IStorage* root, uint64_t fileBytes, const Contents& contents, Reading& reading) {
    reading.tree.push_back("/ root");
    uint64_t listed = 0;
    std::vector<TOVXString> path;
    std::vector<HostLevel> stack;
    stack.push_back({root, {}, 0});
    GetChildElements(root, stack.back().children);
    while (!stack.empty()) {
        HostLevel& top = stack.back();
        if (top.next >= top.children.Count()) {
            if (top.storage != root) CloseStorage(top.storage);
            stack.pop_back();
            if (!stack.empty()) path.pop_back();
            continue;
        }
        if (++listed > tovxbounds::directoryEntriesIn(fileBytes)) {
            reading.tree.push_back("(walk stopped)");
            for (const HostLevel& level : stack)
                if (level.storage != root) CloseStorage(level.storage);
            return;
        }
        const TOVXStStorageElement element = *top.children.At(top.next++);
        path.push_back(element.name);
        if (element.isStorage != 1) {
            reading.tree.push_back(pathOf(path) + " stream " + hostStream(top.storage, element.name, contents));
            path.pop_back();
            continue;
        }
        IStorage* child = OpenStorage(top.storage, element.name);
        reading.tree.push_back(pathOf(path) + " storage" + (child == nullptr ? " (refused)" : ""));
        if (child == nullptr) {
            path.pop_back();
            continue;
        }
        stack.push_back({child, {}, 0});
        GetChildElements(child, stack.back().children);
    }
}

PropertySet hostSet(IPropertyStorage* set) {
    STATPROPSETSTG stat = {};
    set->Stat(&stat);
    unsigned char id[16];
    // The printed form's order: Data1, Data2 and Data3 as big-endian numbers, then Data4.
    for (int i = 0; i < 4; ++i) id[i] = static_cast<unsigned char>(stat.fmtid.Data1 >> (24 - 8 * i));
    id[4] = static_cast<unsigned char>(stat.fmtid.Data2 >> 8);
    id[5] = static_cast<unsigned char>(stat.fmtid.Data2);
    id[6] = static_cast<unsigned char>(stat.fmtid.Data3 >> 8);
    id[7] = static_cast<unsigned char>(stat.fmtid.Data3);
    for (int i = 0; i < 8; ++i) id[8 + i] = stat.fmtid.Data4[i];
    PropertySet read{guidText(id), "", {}};
    TOVXPropertyContainerHandle container;
    TOVXStructuredStorageUtils::GetAllPropertySets(set, container);
    const TOVXPropertyContainer* properties = container;
    if (properties == nullptr) return read;
    for (const TOVXPropertyHandle& property : properties->GetProperties()) {
        if (!property.IsValid()) continue;
        read.properties.push_back({property->GetID(), utf8(property->GetPropertyName()),
                                   static_cast<int>(property->GetValueType()), shortened(utf8(property->GetValue()))});
    }
    return read;
}

void readHostSets(IStorage* root, Reading& reading) {
    IPropertySetStorage* sets = nullptr;
    if (!TOVXStructuredStorageUtils::OpenPropertySetStorage(root, sets).IsSuccess()) return;
    TOVXDynamicArray<IPropertyStorage*> opened;
    TOVXStructuredStorageUtils::OpenAllPropertyStorages(sets, opened);
    for (IPropertyStorage* set : opened) {
        reading.sets.push_back(hostSet(set));
        TOVXStructuredStorageUtils::ClosePropertyStorage(set);
    }
    TOVXStructuredStorageUtils::ClosePropertySetStorage(sets);
    static const unsigned char kUserDefined[16] = {0xD5, 0xCD, 0xD5, 0x05, 0x2E, 0x9C, 0x10, 0x1B,
                                                   0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE};
    IPropertyStorage* userDefined = nullptr;
    if (TOVXStructuredStorageUtils::OpenPropertySetWithId(root, kUserDefined, userDefined).IsSuccess()) {
        reading.sets.push_back(hostSet(userDefined));
        TOVXStructuredStorageUtils::ClosePropertyStorage(userDefined);
    }
}

uint64_t sizeOfFile(const std::string& path) {
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) return 0;
    std::fseek(file, 0, SEEK_END);
    const long size = std::ftell(file);
    std::fclose(file);
    return size < 0 ? 0 : static_cast<uint64_t>(size);
}

}  // namespace

Reading readHost(const std::string& path, const Contents& contents, bool rootOnly) {
    Reading reading;
    TOVXFilePath temporary;
    IStorage* root = OpenStorage(TOVXFilePath(path), temporary);
    if (root == nullptr) return reading;
    reading.opened = true;
    if (rootOnly) {
        reading.tree.push_back("/ root");
        TOVXDynamicArray<TOVXStStorageElement> children;
        GetChildElements(root, children);
        for (const TOVXStStorageElement& child : children)
            reading.tree.push_back(pathOf({child.name}) + (child.isStorage == 1 ? " storage" : " stream"));
    } else {
        readHostTree(root, sizeOfFile(path), contents, reading);
    }
    readHostSets(root, reading);
    CloseStorage(root);
    return reading;
}

}  // namespace malformed
