#ifndef STSTG_HOST_COMMON_H
#define STSTG_HOST_COMMON_H

// Pieces that the host commands share. Host units see the platform's service header and
// the host stack, never the native stack's headers: both declare the STGTY_* names.

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "TOVXFilePath.h"
#include "TOVXStorageReader.h"
#include "TOVXString.h"

namespace ststg {
namespace host {

struct Console {
    FILE* out;
    FILE* err;
    void fail(const std::string& file, const std::string& message) const;  // "ststg: <file>: <message>"
    void fail(const std::string& message) const;
};

int usageError(const Console& console, const std::string& command, const std::string& message);

// The root storage of one file, opened through OpenStorage and closed with the object.
// When the platform refused the file and the library read a copy, the copy that is left
// (where the system could not remove it while open) goes with the object as well.
class OpenedFile {
public:
    OpenedFile(const std::string& path, const Console& console);
    ~OpenedFile();
    OpenedFile(const OpenedFile&) = delete;
    OpenedFile& operator=(const OpenedFile&) = delete;
    IStorage* root() const { return root_; }

private:
    IStorage* root_ = nullptr;
    TOVXFilePath temporary_;
};

// One element as the walk reaches it. `parent` is the open storage that holds it, valid
// only during the visit; null for the root.
struct HostItem {
    std::vector<TOVXString> path;  // empty for the root
    bool isStorage = true;
    bool opened = true;            // a storage: it could be opened and its children follow
    bool hasSize = false;          // a stream whose size the platform gave
    uint32_t size = 0;
    IStorage* parent = nullptr;
};

// Walks the tree under `root` depth first, each storage's children in the platform's
// order, a storage before its children. A file of `fileBytes` holds at most one element
// per 128 bytes: a walk that reaches more is going round a loop and stops. False then.
bool walkHostTree(IStorage* root, uint64_t fileBytes, const std::function<void(const HostItem&)>& visit);

// "/A/B" for messages, names as `tree` prints them.
std::string shownPath(const std::vector<TOVXString>& names);

int treeCommand(const std::vector<std::string>& arguments, const Console& console);
int catCommand(const std::vector<std::string>& arguments, const Console& console);
int extractCommand(const std::vector<std::string>& arguments, const Console& console);
int propsCommand(const std::vector<std::string>& arguments, const Console& console);

}  // namespace host
}  // namespace ststg

#endif
