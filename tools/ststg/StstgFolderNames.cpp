#include "StstgFolderNames.h"

#include <algorithm>
#include <cctype>

namespace ststg {

std::string FolderNames::claim(const std::string& wanted) {
    std::string name = wanted;
    for (int copy = 2; !used_.insert(folded(name)).second; ++copy) name = wanted + "~" + std::to_string(copy);
    return name;
}

std::string FolderNames::folded(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

}  // namespace ststg
