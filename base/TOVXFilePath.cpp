#include "TOVXFilePath.h"

TOVXString TOVXFilePath::GetPath() const { return TOVXString::FromUtf8(path_); }

FILE* TOVXFilePath::OpenFile(const char* mode) const {
    if (path_.empty() || mode == nullptr) return nullptr;
    return std::fopen(path_.c_str(), mode);
}
