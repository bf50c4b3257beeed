#ifndef TOVX_FILE_PATH_H
#define TOVX_FILE_PATH_H

#include <cstdio>
#include <string>

#include "TOVXString.h"

// A file path. Held as UTF-8, the file system's own encoding here.
class TOVXFilePath {
public:
    TOVXFilePath() = default;
    explicit TOVXFilePath(const char* utf8Path) : path_(utf8Path == nullptr ? "" : utf8Path) {}
    explicit TOVXFilePath(const std::string& utf8Path) : path_(utf8Path) {}
    explicit TOVXFilePath(const TOVXString& path) : path_(path.ToUtf8()) {}
    TOVXFilePath(const TOVXFilePath& other) = default;
    TOVXFilePath& operator=(const TOVXFilePath& other) = default;
    virtual ~TOVXFilePath() = default;

    virtual TOVXString GetPath() const;
    // Opens the file in the stdio `mode`; null when that fails. The caller closes it.
    virtual FILE* OpenFile(const char* mode) const;

    const std::string& Utf8() const { return path_; }

private:
    std::string path_;
};

#endif
