// Opens a compound file through the installed headers and library, lists the root's
// children and reads the first stream of non-zero size. Exit 0 when all of that works.
// The package puts include/TOVXStStorage on the include path.
#include <TOVIStorage.h>
#include <TOVXMemoryManager.h>

#include <cstdio>

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
    tovxDelete(root);
    return result;
}
