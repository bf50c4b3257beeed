#include <string>

#include "StstgCommandList.h"
#include "StstgInput.h"
#include "StstgText.h"

namespace ststg {

namespace {

// The JSON array of the walk's current path, kept in step with it: each name is turned
// into JSON once, when the walk goes down to it, however many entries lie below. The
// walk changes its path only at the end, so the text of the names before the last stays.
class JsonPath {
public:
    // The text of `path` without its closing bracket.
    const std::string& follow(const NamePath& path) {
        const size_t kept = path.empty() ? 0 : path.size() - 1;
        if (ends_.size() > kept) ends_.resize(kept);
        text_.resize(ends_.empty() ? 1 : ends_.back());
        for (size_t i = ends_.size(); i < path.size(); ++i) {
            if (i > 0) text_ += ", ";
            text_ += jsonString(path[i].ToUtf8());
            ends_.push_back(text_.size());
        }
        return text_;
    }

private:
    std::string text_ = "[";
    std::vector<size_t> ends_;  // ends_[i]: where the text of path[i] ends
};

// What kept the walk from an entry, as the text forms add it.
std::string reachNote(const Entry& entry) {
    switch (entry.reach) {
        case Reach::StorageRefused: return "cannot be opened, contents not listed";
        case Reach::StorageRepeated: return "leads to a storage listed above, not repeated";
        case Reach::HiddenByNamesake: return "an earlier entry of the same name hides it";
        case Reach::StreamUnopenable: return "cannot be opened";
        case Reach::BeyondDirectory: return "the file lists entries more than once, contents not listed";
        case Reach::Whole: break;
    }
    return "";
}

std::string sizeText(const Entry& entry, const char* prefix) {
    return entry.hasSize ? prefix + std::to_string(entry.size) + " bytes" : "";
}

void printTextLine(const Entry& entry, FILE* out) {
    const std::string note = reachNote(entry);
    const std::string details = entry.kindWord + sizeText(entry, ", ") + (note.empty() ? "" : "; " + note);
    if (entry.path.empty()) {
        std::fprintf(out, "/  (%s)\n", details.c_str());
        return;
    }
    const std::string indent(2 * entry.path.size(), ' ');
    std::fprintf(out, "%s%s  (%s)\n", indent.c_str(), displayName(entry.path.back()).c_str(), details.c_str());
}

// KIND  SIZE  CLSID  MODIFIED  /PATH: the path last and whole, so that grep keeps the parent.
void printLongLine(const Entry& entry, FILE* out) {
    const std::string note = reachNote(entry);
    std::fprintf(out, "%-9s %10s  %-38s  %-20s  %s%s\n", entry.kindWord.c_str(),
                 entry.hasSize ? std::to_string(entry.size).c_str() : "-", entry.clsid != nullptr ? clsidText(entry.clsid).c_str() : "-",
                 entry.modified != 0 ? timeText(entry.modified).c_str() : "-", shownPath(entry.path).c_str(),
                 note.empty() ? "" : ("  (" + note + ")").c_str());
}

void printJsonEntry(const Entry& entry, JsonPath& path, bool first, bool withFacts, FILE* out) {
    std::fprintf(out, "%s\n  {\"path\": %s], \"type\": %d", first ? "" : ",", path.follow(entry.path).c_str(), entry.type);
    if (entry.hasSize) std::fprintf(out, ", \"size\": %u", entry.size);
    if (withFacts && entry.clsid != nullptr) std::fprintf(out, ", \"clsid\": \"%s\"", clsidText(entry.clsid).c_str());
    if (withFacts && entry.created != 0) std::fprintf(out, ", \"created\": \"%s\"", timeText(entry.created).c_str());
    if (withFacts && entry.modified != 0) std::fprintf(out, ", \"modified\": \"%s\"", timeText(entry.modified).c_str());
    std::fputs("}", out);
}

}  // namespace

int treeCommand(const Invocation& invocation, const Console& console) {
    OpenedInput input;
    if (!input.open(invocation.operands[0], invocation.road, console)) return kExitFailure;
    Road& road = input.road();
    // Class ids and times join the JSON where the road adds its human forms, or on request.
    const bool withFacts = road.humanForms() || invocation.longForm;
    FILE* out = console.out;
    if (invocation.json) std::fprintf(out, "{\"file\": %s, \"entries\": [", jsonString(input.shown()).c_str());
    bool first = true;
    JsonPath jsonPath;
    const std::string failure = road.walk({}, [&](const Entry& entry) {
        if (invocation.json) printJsonEntry(entry, jsonPath, first, withFacts, out);
        else if (invocation.longForm) printLongLine(entry, out);
        else printTextLine(entry, out);
        first = false;
    });
    if (invocation.json) std::fputs("\n]}\n", out);
    if (!failure.empty()) console.fail(input.shown(), failure);
    return input.finish(failure.empty() ? kExitOk : kExitFailure, invocation.strict, console);
}

}  // namespace ststg
