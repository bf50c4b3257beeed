#ifndef STSTG_HOST_H
#define STSTG_HOST_H

#include <cstdio>
#include <string>
#include <vector>

namespace ststg {

// `ststg --host COMMAND ...`: the commands through the platform's structured-storage
// service instead of the library's own parser. `arguments` follow "--host".
int hostRun(const std::vector<std::string>& arguments, FILE* out, FILE* err);

}  // namespace ststg

#endif
