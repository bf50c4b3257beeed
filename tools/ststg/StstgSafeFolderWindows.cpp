// SafeFolder on Windows. A symbolic link and a junction are both reparse points: one where a
// folder or a file would go is refused, or with --force removed itself, never gone through.
#include "StstgSafeFolder.h"

#include "TOVXPlatform.h"  // <windows.h>

#include <system_error>

namespace fs = std::filesystem;

namespace ststg {

namespace {

enum class Standing { Nothing, Link, Folder, Other };

DWORD attributesAt(const fs::path& path) { return GetFileAttributesW(path.c_str()); }

// What stands at `path`, looked at without following a link.
Standing standingAt(const fs::path& path) {
    const DWORD attributes = attributesAt(path);
    if (attributes == INVALID_FILE_ATTRIBUTES) return Standing::Nothing;
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) return Standing::Link;
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? Standing::Folder : Standing::Other;
}

std::string messageOf(DWORD error) { return std::error_code(static_cast<int>(error), std::system_category()).message(); }

bool lastsForEveryFile(DWORD error) {
    return error == ERROR_DISK_FULL || error == ERROR_HANDLE_DISK_FULL || error == ERROR_WRITE_PROTECT;
}

HANDLE createNew(const fs::path& path) {
    return CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                       FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
}

// The link or file itself goes, never what a link points at; a link to a folder is removed
// as a folder.
bool removeItself(const fs::path& path) {
    const DWORD attributes = attributesAt(path);
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return RemoveDirectoryW(path.c_str()) != 0;
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0)
        SetFileAttributesW(path.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    return DeleteFileW(path.c_str()) != 0;
}

HANDLE openNew(const fs::path& path, bool replace, std::string& why, SafeFolder::Written& refusal) {
    HANDLE file = createNew(path);
    const DWORD error = GetLastError();
    if (file != INVALID_HANDLE_VALUE || (error != ERROR_FILE_EXISTS && error != ERROR_ALREADY_EXISTS)) {
        if (file == INVALID_HANDLE_VALUE) why = messageOf(error);
        refusal = file == INVALID_HANDLE_VALUE && lastsForEveryFile(error) ? SafeFolder::Written::NoRoom
                                                                             : SafeFolder::Written::Failed;
        return file;
    }
    refusal = SafeFolder::Written::Refused;
    const Standing there = standingAt(path);
    if (there == Standing::Folder) {
        why = "is a folder; not replaced";
        return INVALID_HANDLE_VALUE;
    }
    if (!replace) {
        why = there == Standing::Link ? "is a symbolic link; not followed, and not replaced without --force"
                                      : "exists; not overwritten without --force";
        return INVALID_HANDLE_VALUE;
    }
    if (!removeItself(path) || (file = createNew(path)) == INVALID_HANDLE_VALUE) {
        why = messageOf(GetLastError());
        refusal = SafeFolder::Written::Failed;
    }
    return file;
}

bool writeWhole(HANDLE file, const unsigned char* bytes, size_t count) {
    while (count > 0) {
        const DWORD chunk = count > (1u << 30) ? (1u << 30) : static_cast<DWORD>(count);
        DWORD written = 0;
        if (!WriteFile(file, bytes, chunk, &written, nullptr) || written == 0) return false;
        bytes += written;
        count -= written;
    }
    return true;
}

}  // namespace

SafeFolder::~SafeFolder() = default;

bool SafeFolder::openTarget(const std::string& path, std::string& why) {
    const fs::path target = fs::u8path(path);
    std::error_code error;
    fs::create_directories(target, error);
    if (error) {
        why = error.message();
        return false;
    }
    if (!fs::is_directory(target, error)) {
        why = "not a directory";
        return false;
    }
    folder_ = target;
    return true;
}

bool SafeFolder::enter(const std::string& name, std::string& why) {
    const fs::path child = folder_ / fs::u8path(name);
    if (!CreateDirectoryW(child.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) {
        why = messageOf(GetLastError());
        return false;
    }
    const Standing there = standingAt(child);
    if (there != Standing::Folder) {
        why = there == Standing::Link ? "is a symbolic link; not followed"
              : there == Standing::Other ? "exists and is not a folder"
                                         : messageOf(GetLastError());
        return false;
    }
    folder_ = child;
    return true;
}

// The current folder was entered by one name, so its parent is the folder it came from.
bool SafeFolder::leave(std::string& why) {
    if (!folder_.has_parent_path()) {
        why = "no folder to go back to";
        return false;
    }
    folder_ = folder_.parent_path();
    return true;
}

SafeFolder::Written SafeFolder::writeFile(const std::string& name, const unsigned char* bytes, size_t count, bool replace,
                                          std::string& why) {
    const fs::path path = folder_ / fs::u8path(name);
    Written refusal = Written::Failed;
    const HANDLE file = openNew(path, replace, why, refusal);
    if (file == INVALID_HANDLE_VALUE) return refusal;
    bool whole = writeWhole(file, bytes, count);
    DWORD error = whole ? 0 : GetLastError();
    if (!CloseHandle(file) && whole) {
        whole = false;
        error = GetLastError();
    }
    if (whole) return Written::Yes;
    why = messageOf(error);
    DeleteFileW(path.c_str());  // no half-written file is left behind
    return lastsForEveryFile(error) ? Written::NoRoom : Written::Failed;
}

}  // namespace ststg
