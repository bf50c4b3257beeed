#include "TOVXFilePath.h"

#include "TOVXPlatform.h"

TOVXString TOVXFilePath::GetPath() const { return TOVXString::FromUtf8(path_); }

FILE* TOVXFilePath::OpenFile(const char* mode) const {
    if (path_.empty() || mode == nullptr) return nullptr;
    return tovxplatform::openFile(path_, mode);
}
