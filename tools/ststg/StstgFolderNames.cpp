#include "StstgFolderNames.h"

#include <algorithm>
#include <cctype>

namespace ststg {

std::string FolderNames::claim(const std::string& wanted) {
    const std::string base = folded(wanted);
    if (used_.insert(base).second) return wanted;
    // Names are never given back, so every suffix below the remembered one is still taken:
    // starting there gives the name a search from ~2 would give.
    size_t& copy = nextCopy_.try_emplace(base, 2).first->second;
    std::string suffix = "~" + std::to_string(copy);
    while (!used_.insert(base + suffix).second) suffix = "~" + std::to_string(++copy);
    ++copy;
    return wanted + suffix;
}

std::string FolderNames::folded(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

}  // namespace ststg
