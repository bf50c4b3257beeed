#include "StstgHostCommon.h"

#include "TOVXResourceBounds.h"

namespace ststg {
namespace host {

namespace {

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
    std::vector<TOVXString> path;  // each name on the way down once: path.size() + 1 == stack.size() between items
    visit(HostItem(path));
    const uint64_t limit = tovxbounds::directoryEntriesIn(fileBytes);
    uint64_t reached = 0;
    std::vector<Level> stack;
    stack.push_back(enter(root));
    while (!stack.empty()) {
        Level& top = stack.back();
        if (top.next >= top.children.Count()) {
            if (top.storage != root) CloseStorage(top.storage);
            stack.pop_back();
            if (!stack.empty()) path.pop_back();  // the name of the storage just finished
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
        if (child != nullptr) stack.push_back(enter(child));  // `top` is not used past here
        else path.pop_back();
    }
    return true;
}

}  // namespace host
}  // namespace ststg
