#ifndef STSTG_SAFE_FOLDER_H
#define STSTG_SAFE_FOLDER_H

#include <cstddef>
#include <filesystem>
#include <string>

namespace ststg {

// The folders and files of an extract, each made relative to an open folder: a name is one
// component that stays inside its folder, no symbolic link is ever followed (a link where a
// folder or a file would go is refused, not gone through), and an existing file is kept
// unless replacing it was asked for. Only one folder is held open at a time, however deep.
class SafeFolder {
public:
    SafeFolder() = default;
    ~SafeFolder();
    SafeFolder(const SafeFolder&) = delete;
    SafeFolder& operator=(const SafeFolder&) = delete;

    // Makes the target folder where it is missing and opens it. The path is the user's
    // own, so links on the way to it are followed.
    bool openTarget(const std::string& path, std::string& why);
    // Makes the folder `name` in the current one, or takes the folder already there, and
    // goes into it.
    bool enter(const std::string& name, std::string& why);
    // Goes back to the folder that the last enter started from.
    bool leave(std::string& why);

    enum class Written { Yes, Refused, Failed, NoRoom };
    // Writes the file `name` in the current folder. A file or link already there is replaced
    // (never followed) only with `replace`; a file left half-written is removed again.
    // NoRoom means no later file can be written either (the disk is full or read-only).
    Written writeFile(const std::string& name, const unsigned char* bytes, size_t count, bool replace, std::string& why);

private:
#ifdef _WIN32
    // Windows holds no folder open for relative calls: the current folder is kept by its path,
    // and what stands at each name is looked at, never gone through, before it is used.
    std::filesystem::path folder_;
#else
    int openNew(const std::string& name, bool replace, std::string& why, Written& refusal);

    int folder_ = -1;
#endif
};

}  // namespace ststg

#endif
