#ifndef TOVX_TEMPORARY_FILE_H
#define TOVX_TEMPORARY_FILE_H

#include <string>

#include "TOVXFilePath.h"

// A new, empty file of this object's own in the system's temporary folder: created
// exclusively with an unpredictable name and owner-only permissions.
class TOVXTemporaryFile {
public:
    // `path` is not kept (callers pass a default path they destroy at once); `sourceFile`
    // and `sourceLine` only tag the creating site.
    TOVXTemporaryFile(const TOVXFilePath& path, const char* sourceFile, unsigned int sourceLine);
    virtual ~TOVXTemporaryFile();

    // Stores the file's path in `path`; an empty path when no file could be created.
    void GetPath(TOVXFilePath& path);

private:
    std::string path_;
};

#endif
