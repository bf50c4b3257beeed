#include "StstgSafeFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace ststg {

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr int kNewFileFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;

enum class Standing { Nothing, Link, Folder, Other };

// What stands at `name` in `folder`, looked at without following a link.
Standing standingAt(int folder, const std::string& name) {
    struct stat info;
    if (::fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) return Standing::Nothing;
    if (S_ISLNK(info.st_mode)) return Standing::Link;
    return S_ISDIR(info.st_mode) ? Standing::Folder : Standing::Other;
}

bool lastsForEveryFile(int error) { return error == ENOSPC || error == EDQUOT || error == EROFS || error == EIO; }

bool writeWhole(int file, const unsigned char* bytes, size_t count) {
    while (count > 0) {
        const ssize_t written = ::write(file, bytes, count);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        bytes += written;
        count -= static_cast<size_t>(written);
    }
    return true;
}

}  // namespace

SafeFolder::~SafeFolder() {
    if (folder_ >= 0) ::close(folder_);
}

bool SafeFolder::openTarget(const std::string& path, std::string& why) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error) {
        why = error.message();
        return false;
    }
    folder_ = ::open(path.c_str(), kFolderFlags);
    if (folder_ < 0) why = errno == ENOTDIR ? "not a directory" : std::strerror(errno);
    return folder_ >= 0;
}

bool SafeFolder::enter(const std::string& name, std::string& why) {
    if (::mkdirat(folder_, name.c_str(), 0777) != 0 && errno != EEXIST) {
        why = std::strerror(errno);
        return false;
    }
    const int child = ::openat(folder_, name.c_str(), kFolderFlags | O_NOFOLLOW);
    if (child < 0) {
        const Standing there = standingAt(folder_, name);
        why = there == Standing::Link ? "is a symbolic link; not followed"
              : there == Standing::Other ? "exists and is not a folder"
                                         : std::strerror(errno);
        return false;
    }
    ::close(folder_);
    folder_ = child;
    return true;
}

// ".." of a folder that was entered without following a link is the folder it was entered from.
bool SafeFolder::leave(std::string& why) {
    const int parent = ::openat(folder_, "..", kFolderFlags);
    if (parent < 0) {
        why = std::strerror(errno);
        return false;
    }
    ::close(folder_);
    folder_ = parent;
    return true;
}

int SafeFolder::openNew(const std::string& name, bool replace, std::string& why, Written& refusal) {
    int file = ::openat(folder_, name.c_str(), kNewFileFlags, 0666);
    if (file >= 0 || errno != EEXIST) {
        if (file < 0) why = std::strerror(errno);
        refusal = file < 0 && lastsForEveryFile(errno) ? Written::NoRoom : Written::Failed;
        return file;
    }
    refusal = Written::Refused;
    const Standing there = standingAt(folder_, name);
    if (there == Standing::Folder) {
        why = "is a folder; not replaced";
        return -1;
    }
    if (!replace) {
        why = there == Standing::Link ? "is a symbolic link; not followed, and not replaced without --force"
                                      : "exists; not overwritten without --force";
        return -1;
    }
    // The link or file itself goes, never what a link points at.
    if (::unlinkat(folder_, name.c_str(), 0) != 0 || (file = ::openat(folder_, name.c_str(), kNewFileFlags, 0666)) < 0) {
        why = std::strerror(errno);
        refusal = Written::Failed;
    }
    return file;
}

SafeFolder::Written SafeFolder::writeFile(const std::string& name, const unsigned char* bytes, size_t count, bool replace,
                                          std::string& why) {
    Written refusal = Written::Failed;
    const int file = openNew(name, replace, why, refusal);
    if (file < 0) return refusal;
    bool whole = writeWhole(file, bytes, count);
    int error = whole ? 0 : errno;
    if (::close(file) != 0 && whole) {
        whole = false;
        error = errno;
    }
    if (whole) return Written::Yes;
    why = std::strerror(error);
    ::unlinkat(folder_, name.c_str(), 0);  // no half-written file is left behind
    return lastsForEveryFile(error) ? Written::NoRoom : Written::Failed;
}

}  // namespace ststg
