#include "StstgArguments.h"

#include <cstdlib>

#include "StstgText.h"

namespace ststg {

namespace {

enum Option : unsigned {
    kJson = 1,
    kLong = 2,
    kStrict = 4,
    kForce = 8,
    kOffset = 16,
    kLength = 32,
};

struct CommandRules {
    const char* name;
    unsigned options;
    size_t minOperands;
    size_t maxOperands;
    const char* missing;  // what a short count of operands lacks
};

constexpr size_t kAny = static_cast<size_t>(-1);

const CommandRules kCommands[] = {
    {"tree", kJson | kLong | kStrict, 1, 1, "missing FILE"},
    {"cat", kForce | kStrict, 2, kAny, "missing FILE or PATH"},
    {"dump", kOffset | kLength | kStrict, 2, kAny, "missing FILE or PATH"},
    {"extract", kForce | kStrict, 2, kAny, "missing FILE or DIR"},
    {"props", kJson | kStrict, 1, kAny, "missing FILE"},
    {"info", kJson | kStrict, 1, 1, "missing FILE"},
};

const CommandRules* findCommand(const std::string& name) {
    for (const CommandRules& command : kCommands)
        if (name == command.name) return &command;
    return nullptr;
}

bool isHelp(const std::string& argument) { return argument == "--help" || argument == "-h"; }

// A byte count: decimal, or hexadecimal after 0x.
bool parseCount(const std::string& text, uint64_t& value) {
    if (text.empty() || text[0] == '-' || text[0] == '+') return false;
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    char* end = nullptr;
    errno = 0;
    value = std::strtoull(text.c_str(), &end, hex ? 16 : 10);
    return errno == 0 && end != nullptr && *end == '\0';
}

class Parser {
public:
    Parser(const std::vector<std::string>& arguments, Invocation& invocation, std::string& error)
        : arguments_(arguments), invocation_(invocation), error_(error) {}

    bool parse() {
        if (!parseGlobalOptions()) return false;
        if (invocation_.toolHelp || invocation_.version) return true;
        if (index_ >= arguments_.size()) return fail("missing command");
        invocation_.command = arguments_[index_++];
        rules_ = findCommand(invocation_.command);
        if (rules_ == nullptr) {
            const std::string command = invocation_.command;
            invocation_.command.clear();
            return fail("unknown command '" + command + "'");
        }
        if (!parseCommandArguments()) return false;
        if (invocation_.commandHelp) return true;
        const size_t count = invocation_.operands.size();
        if (count < rules_->minOperands) return fail(rules_->missing);
        if (count > rules_->maxOperands) return fail("too many arguments");
        return true;
    }

private:
    bool fail(const std::string& message) {
        error_ = message;
        return false;
    }

    bool parseGlobalOptions() {
        for (; index_ < arguments_.size(); ++index_) {
            const std::string& argument = arguments_[index_];
            if (isHelp(argument)) invocation_.toolHelp = true;
            else if (argument == "--version" || argument == "-V") invocation_.version = true;
            else if (argument == "--native" || argument == "--host") {
                if (!chooseRoad(argument)) return false;
            } else if (argument.size() > 1 && argument[0] == '-') return fail("unknown option '" + argument + "'");
            else return true;
        }
        return true;
    }

    bool chooseRoad(const std::string& argument) {
        const RoadChoice road = argument == "--native" ? RoadChoice::Native : RoadChoice::Host;
        if (invocation_.road != RoadChoice::Default && invocation_.road != road)
            return fail("--native and --host cannot be given together");
        invocation_.road = road;
        return true;
    }

    bool parseCommandArguments() {
        bool optionsEnded = false;
        for (; index_ < arguments_.size(); ++index_) {
            const std::string& argument = arguments_[index_];
            if (optionsEnded || argument == "-" || argument.empty() || argument[0] != '-') {
                invocation_.operands.push_back(argument);
            } else if (argument == "--") {
                optionsEnded = true;
            } else if (isHelp(argument)) {
                invocation_.commandHelp = true;
            } else if (!parseCommandOption(argument)) {
                return false;
            }
        }
        return true;
    }

    bool parseCommandOption(const std::string& argument) {
        if (argument == "--native" || argument == "--host") return chooseRoad(argument);
        const size_t equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        struct Flag { const char* name; Option option; bool Invocation::*field; };
        static const Flag kFlags[] = {{"--json", kJson, &Invocation::json}, {"--long", kLong, &Invocation::longForm},
                                      {"--strict", kStrict, &Invocation::strict}, {"--force", kForce, &Invocation::force}};
        for (const Flag& flag : kFlags) {
            if (name != flag.name) continue;
            if (!(rules_->options & flag.option)) return fail(std::string(flag.name) + " is not an option of " + rules_->name);
            if (equals != std::string::npos) return fail(std::string(flag.name) + " takes no value");
            invocation_.*(flag.field) = true;
            return true;
        }
        if (name == "--offset" || name == "--length") return parseCountOption(argument, name, equals);
        return fail("unknown option '" + argument + "'");
    }

    bool parseCountOption(const std::string& argument, const std::string& name, size_t equals) {
        const Option option = name == "--offset" ? kOffset : kLength;
        if (!(rules_->options & option)) return fail(name + " is not an option of " + rules_->name);
        std::string text;
        if (equals != std::string::npos) text = argument.substr(equals + 1);
        else if (index_ + 1 < arguments_.size()) text = arguments_[++index_];
        else return fail(name + " needs a number of bytes");
        uint64_t value = 0;
        if (!parseCount(text, value)) return fail(name + ": '" + text + "' is not a number of bytes");
        if (option == kOffset) invocation_.offset = value;
        else {
            invocation_.length = value;
            invocation_.hasLength = true;
        }
        return true;
    }

    const std::vector<std::string>& arguments_;
    Invocation& invocation_;
    std::string& error_;
    const CommandRules* rules_ = nullptr;
    size_t index_ = 0;
};

// One name of a path: `""` is the empty name, anything else goes through parseNameArgument.
bool parsePathName(const std::string& text, std::vector<TOVXString>& names, std::string& error) {
    TOVXString name;
    if (text != "\"\"" && !parseNameArgument(text, name, error)) {
        error = "'" + text + "': " + error;
        return false;
    }
    names.push_back(name);
    return true;
}

}  // namespace

bool parseInvocation(const std::vector<std::string>& arguments, Invocation& invocation, std::string& error) {
    return Parser(arguments, invocation, error).parse();
}

bool parseNamePath(const std::vector<std::string>& operands, std::vector<TOVXString>& names, std::string& error) {
    names.clear();
    if (operands.size() != 1) {
        for (const std::string& operand : operands)
            if (!parsePathName(operand, names, error)) return false;
        return true;
    }
    std::string path = operands[0];
    if (!path.empty() && path[0] == '/') path.erase(0, 1);
    if (!path.empty() && path.back() == '/') path.pop_back();
    if (path.empty()) return operands[0].empty() ? parsePathName(path, names, error) : true;  // "/" is the root
    for (size_t start = 0;;) {
        const size_t slash = path.find('/', start);
        const std::string piece = path.substr(start, slash == std::string::npos ? std::string::npos : slash - start);
        if (piece.empty()) {
            error = "'" + operands[0] + "': an empty name in the path (write an empty name as \"\")";
            return false;
        }
        if (!parsePathName(piece, names, error)) return false;
        if (slash == std::string::npos) return true;
        start = slash + 1;
    }
}

}  // namespace ststg
