// Opens a compound file through the installed headers and library, lists the root's
// children and reads the first stream of non-zero size, and lists the children once more
// through the host stack. Exit 0 when all of that works and both lists are as long.
// The package puts include/TOVXStStorage and include/TOVXStStorage/host on the include path.
#include <TOVIStorage.h>
#include <TOVXMemoryManager.h>

#include <cstdio>

int hostChildCount(const char* path);  // host.cpp

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: consumer FILE\n");
        return 2;
    }
    TOVIStorage* root = nullptr;
    if (TOVStgOpenStorage(TOVXFilePath(argv[1]), &root) != 0) {
        std::fprintf(stderr, "consumer: %s: cannot open\n", argv[1]);
        return 1;
    }
    TOVXDynamicArray<TOVStStorageDirEntry> children;
    root->enumElements(children);
    int result = 1;
    for (int i = 0; i < children.Count() && result != 0; ++i) {
        TOVStStorageDirEntry entry = *children.At(i);
        if (!entry.isStream() || entry.getSize() == 0) continue;
        TOVIStream* stream = nullptr;
        if (root->openStream(entry.getName(), &stream) == 0 && stream->length() == entry.getSize()) {
            std::printf("%d children; read %s, %u bytes\n", children.Count(), entry.getName().ToUtf8().c_str(),
                        stream->length());
            result = 0;
        }
        tovxDelete(stream);
    }
    const int hostCount = hostChildCount(argv[1]);
    if (hostCount != children.Count()) {
        std::fprintf(stderr, "consumer: %d children through the host stack, %d natively\n", hostCount, children.Count());
        result = 1;
    }
    tovxDelete(root);
    return result;
}
