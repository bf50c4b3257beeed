#include <string>

#include "StstgCommandList.h"
#include "StstgInput.h"
#include "StstgText.h"

namespace ststg {

namespace {

// The name a property shows: its own from the dictionary, else its usual one where the
// road adds those, else "-".
std::string shownName(const PropertyRow& row, bool human) {
    if (row.name.length() > 0) return displayName(row.name);
    if (human && !row.label.empty()) return row.label;
    return "-";
}

void printSetText(const PropertySetView& set, bool human, FILE* out) {
    const TOVXString& beside = human ? set.stream : set.name;
    std::fprintf(out, "%s%s%s\n", set.id.c_str(), beside.length() > 0 ? "  " : "", beside.length() > 0 ? displayName(beside).c_str() : "");
    for (const PropertyRow& row : set.rows) {
        const std::string value = human && !row.displayText.empty() ? row.displayText : displayName(row.value);
        std::fprintf(out, "  0x%08X  %s  (%s)  %s\n", row.id, shownName(row, human).c_str(), row.kindWord.c_str(), value.c_str());
    }
}

void printRowJson(const PropertyRow& row, bool first, bool human, FILE* out) {
    std::fprintf(out, "%s\n    {\"id\": %u, \"name\": %s, \"type\": %d, \"value\": %s", first ? "" : ",", row.id,
                 jsonString(row.name.ToUtf8()).c_str(), row.type, jsonString(row.value.ToUtf8()).c_str());
    if (human && !row.label.empty()) std::fprintf(out, ", \"label\": %s", jsonString(row.label).c_str());
    if (human && !row.displayJson.empty()) std::fprintf(out, ", \"display\": %s", row.displayJson.c_str());
    std::fputs("}", out);
}

void printSetJson(const PropertySetView& set, bool first, bool human, FILE* out) {
    std::fprintf(out, "%s\n  {\"id\": %s, \"name\": %s", first ? "" : ",", jsonString(set.id).c_str(), jsonString(set.name.ToUtf8()).c_str());
    if (human && set.stream.length() > 0) std::fprintf(out, ", \"stream\": %s", jsonString(set.stream.ToUtf8()).c_str());
    std::fputs(", \"properties\": [", out);
    for (size_t i = 0; i < set.rows.size(); ++i) printRowJson(set.rows[i], i == 0, human, out);
    std::fprintf(out, "%s]}", set.rows.empty() ? "" : "\n  ");
}

}  // namespace

int propsCommand(const Invocation& invocation, const Console& console) {
    NamePath names;
    std::string error;
    const std::vector<std::string> path(invocation.operands.begin() + 1, invocation.operands.end());
    if (!path.empty() && !parseNamePath(path, names, error)) return usageError(console, "props", error);
    OpenedInput input;
    if (!input.open(invocation.operands[0], invocation.road, console)) return kExitFailure;
    Road& road = input.road();
    std::vector<PropertySetView> sets;
    if (!road.propertySets(names, sets)) {
        const StreamRead read = road.read(names);
        console.fail(input.shown(), read.outcome == StreamRead::Outcome::Read ? shownPath(names) + " is a stream, not a storage"
                                                                               : "no storage " + shownPath(names) + " that can be opened");
        return input.finish(kExitFailure, invocation.strict, console);
    }
    const bool human = road.humanForms();
    FILE* out = console.out;
    if (invocation.json) std::fprintf(out, "{\"file\": %s, \"property_sets\": [", jsonString(input.shown()).c_str());
    for (size_t i = 0; i < sets.size(); ++i) {
        if (invocation.json) printSetJson(sets[i], i == 0, human, out);
        else printSetText(sets[i], human, out);
    }
    if (invocation.json) std::fprintf(out, "%s]}\n", sets.empty() ? "" : "\n");
    return input.finish(kExitOk, invocation.strict, console);
}

}  // namespace ststg
