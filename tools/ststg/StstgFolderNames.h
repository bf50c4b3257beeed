#ifndef STSTG_FOLDER_NAMES_H
#define STSTG_FOLDER_NAMES_H

#include <cstddef>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace ststg {

// The file names given out in one folder. Names are compared without case, so that the
// result also unpacks on a file system that ignores case. A name already given out gets
// the first free suffix of ~2, ~3, ...; each base name remembers where its search
// stopped, so that thousands of namesakes cost no more than thousands of names.
class FolderNames {
public:
    std::string claim(const std::string& wanted);

private:
    static std::string folded(std::string text);

    std::unordered_set<std::string> used_;                   // folded names given out
    std::unordered_map<std::string, size_t> nextCopy_;  // folded base name -> first suffix not yet tried
};

}  // namespace ststg

#endif
