#include "StstgHostCommon.h"

namespace ststg {
namespace host {

namespace {

constexpr uint64_t kEntryBytes = 128;  // a directory entry takes this much of the file

// One storage whose children are being visited. The names down to it are the walk's one
// path, not a copy per level, so a tree thousands deep holds each name once.
struct Level {
    IStorage* storage;  // closed when the level is left, unless it is the root
    TOVXDynamicArray<TOVXStStorageElement> children;
    int next;
};

Level enter(IStorage* storage) {
    Level level{storage, TOVXDynamicArray<TOVXStStorageElement>(), 0};
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
    std::vector<TOVXString> path;  // the names down to the element visited
    visit(HostItem(path));
    const uint64_t limit = fileBytes / kEntryBytes + 1;
    uint64_t reached = 0;
    std::vector<Level> stack;
    stack.push_back(enter(root));  // between elements, `path` leads to the storage on top
    while (!stack.empty()) {
        Level& top = stack.back();
        if (top.next >= top.children.Count()) {
            if (top.storage != root) CloseStorage(top.storage);
            stack.pop_back();
            if (!path.empty()) path.pop_back();
            continue;
        }
        if (++reached > limit) {
            for (const Level& level : stack)
                if (level.storage != root) CloseStorage(level.storage);
            return false;
        }
        const TOVXStStorageElement element = *top.children.At(top.next++);
        path.push_back(element.name);
        HostItem item(path);
        item.isStorage = element.isStorage == 1;
        item.parent = top.storage;
        if (!item.isStorage) {
            measureStream(top.storage, item);
            visit(item);
            path.pop_back();
            continue;
        }
        IStorage* child = OpenStorage(top.storage, element.name);
        item.opened = child != nullptr;
        visit(item);
        if (child == nullptr) {
            path.pop_back();
            continue;
        }
        stack.push_back(enter(child));  // `top` is not used past here
    }
    return true;
}

}  // namespace host
}  // namespace ststg
