#include "TOVXTemporaryFile.h"

#include "TOVXPlatform.h"

TOVXTemporaryFile::TOVXTemporaryFile(const TOVXFilePath& path, const char* sourceFile, unsigned int sourceLine)
    : path_(tovxplatform::createTemporaryFile()) {
    (void)path;
    (void)sourceFile;
    (void)sourceLine;
}

// The file stays when the object ends: a storage may still be open on it, and the
// caller who received its path decides when it goes.
TOVXTemporaryFile::~TOVXTemporaryFile() = default;

void TOVXTemporaryFile::GetPath(TOVXFilePath& path) { path = TOVXFilePath(path_); }
