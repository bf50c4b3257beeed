#include "StstgCommands.h"
#include "StstgCommon.h"

namespace ststg {

int propsCommand(const std::vector<std::string>& arguments, const Console& console) {
    (void)arguments;
    console.fail("props: not available in this build");
    return kExitFailure;
}

}  // namespace ststg
