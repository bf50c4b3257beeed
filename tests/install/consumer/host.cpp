// The host stack through the installed package, in a unit of its own: its headers and the
// native stack's both declare the STGTY_* names.
#include <TOVXStorageReader.h>

int hostChildCount(const char* path) {
    TOVXFilePath copy;
    IStorage* root = OpenStorage(TOVXFilePath(path), copy);
    if (root == nullptr) return -1;
    TOVXDynamicArray<TOVXStStorageElement> children;
    GetChildElements(root, children);
    CloseStorage(root);
    return children.Count();
}
