#ifndef STSTG_FOLDER_NAMES_H
#define STSTG_FOLDER_NAMES_H

#include <set>
#include <string>

namespace ststg {

// The file names given out in one folder. Names are compared without case, so that
// the result also unpacks on a file system that ignores case.
class FolderNames {
public:
    std::string claim(const std::string& wanted);

private:
    static std::string folded(std::string text);

    std::set<std::string> used_;
};

}  // namespace ststg

#endif
