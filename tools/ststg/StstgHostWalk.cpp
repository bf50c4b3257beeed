#include "StstgHostCommon.h"

namespace ststg {
namespace host {

namespace {

constexpr uint64_t kEntryBytes = 128;  // a directory entry takes this much of the file

struct Level {
    IStorage* storage;  // closed when the level is left, unless it is the root
    TOVXDynamicArray<TOVXStStorageElement> children;
    int next;
    std::vector<TOVXString> path;
};

Level enter(IStorage* storage, const std::vector<TOVXString>& path) {
    Level level{storage, TOVXDynamicArray<TOVXStStorageElement>(), 0, path};
    GetChildElements(storage, level.children);
    return level;
}

void measureStream(IStorage* parent, HostItem& item) {
    IStream* stream = OpenStream(parent, item.path.back());
    item.hasSize = GetStreamSize(stream, item.size);
    CloseStream(stream);
}

}  // namespace

bool walkHostTree(IStorage* root, uint64_t fileBytes, const std::function<void(const HostItem&)>& visit) {
    visit(HostItem());
    const uint64_t limit = fileBytes / kEntryBytes + 1;
    uint64_t reached = 0;
    std::vector<Level> stack;
    stack.push_back(enter(root, {}));
    while (!stack.empty()) {
        Level& top = stack.back();
        if (top.next >= top.children.Count()) {
            if (top.storage != root) CloseStorage(top.storage);
            stack.pop_back();
            continue;
        }
        if (++reached > limit) {
            for (const Level& level : stack)
                if (level.storage != root) CloseStorage(level.storage);
            return false;
        }
        const TOVXStStorageElement element = *top.children.At(top.next++);
        HostItem item;
        item.path = top.path;
        item.path.push_back(element.name);
        item.isStorage = element.isStorage == 1;
        item.parent = top.storage;
        if (!item.isStorage) {
            measureStream(top.storage, item);
            visit(item);
            continue;
        }
        IStorage* child = OpenStorage(top.storage, element.name);
        item.opened = child != nullptr;
        visit(item);
        if (child != nullptr) stack.push_back(enter(child, item.path));  // `top` is not used past here
    }
    return true;
}

}  // namespace host
}  // namespace ststg
