#include <string>

#include "StstgCommands.h"
#include "StstgCommon.h"
#include "StstgText.h"
#include "TOVIPropertySetStorage.h"
#include "TOVIPropertyStorage.h"
#include "TOVXProperty.h"

namespace ststg {

namespace {

std::string valueKind(int type) {
    switch (type) {
        case ValueTypeNotFound: return "not found";
        case ValueTypeUnknown: return "unconverted";
        case ValueTypeText: return "text";
        case ValueTypeInteger: return "integer";
        case ValueTypeFloat: return "float";
        case ValueTypeBoolean: return "boolean";
        case ValueTypeDate: return "date";
        default: return "type " + std::to_string(type);
    }
}

// The sets of the root in container order; every pointer carries a reference of ours.
class SetList {
public:
    explicit SetList(TOVIStorage& root) {
        TOVIPropertySetStorage* container = root.getPropertySetStorage();
        if (container != nullptr) container->GetPropertyStorages(sets_);
    }
    ~SetList() {
        for (TOVIPropertyStorage* set : sets_) set->LowerReference();
    }
    SetList(const SetList&) = delete;
    SetList& operator=(const SetList&) = delete;
    const TOVXDynamicArray<TOVIPropertyStorage*>& sets() const { return sets_; }

private:
    TOVXDynamicArray<TOVIPropertyStorage*> sets_;
};

void printSetJson(TOVIPropertyStorage& set, bool firstSet, FILE* out) {
    unsigned char id[16];
    set.GetPropertyStorageID(id);
    std::fprintf(out, "%s\n  {\"id\": \"%s\", \"name\": %s, \"properties\": [", firstSet ? "" : ",", guidText(id).c_str(),
                 jsonString(set.GetPropertyStorageName().ToUtf8()).c_str());
    const TOVXDynamicArray<TOVXPropertyHandle> properties = set.GetPropertyArray();
    bool firstProperty = true;
    for (const TOVXPropertyHandle& property : properties) {
        if (static_cast<TOVXProperty*>(property) == nullptr) continue;
        std::fprintf(out, "%s\n    {\"id\": %u, \"name\": %s, \"type\": %d, \"value\": %s}", firstProperty ? "" : ",",
                     property->GetID(), jsonString(property->GetPropertyName().ToUtf8()).c_str(),
                     static_cast<int>(property->GetValueType()), jsonString(property->GetValue().ToUtf8()).c_str());
        firstProperty = false;
    }
    std::fprintf(out, "%s]}", firstProperty ? "" : "\n  ");
}

void printSetText(TOVIPropertyStorage& set, FILE* out) {
    unsigned char id[16];
    set.GetPropertyStorageID(id);
    const TOVXString name = set.GetPropertyStorageName();
    std::fprintf(out, "%s%s%s\n", guidText(id).c_str(), name.length() > 0 ? "  " : "",
                 name.length() > 0 ? displayName(name).c_str() : "");
    const TOVXDynamicArray<TOVXPropertyHandle> properties = set.GetPropertyArray();
    for (const TOVXPropertyHandle& property : properties) {
        if (static_cast<TOVXProperty*>(property) == nullptr) continue;
        const TOVXString propertyName = property->GetPropertyName();
        std::fprintf(out, "  0x%08X  %s  (%s)  %s\n", property->GetID(),
                     propertyName.length() > 0 ? displayName(propertyName).c_str() : "-",
                     valueKind(property->GetValueType()).c_str(), displayName(property->GetValue()).c_str());
    }
}

}  // namespace

int propsCommand(const std::vector<std::string>& arguments, const Console& console) {
    bool json = false;
    std::vector<std::string> files;
    for (const std::string& argument : arguments) {
        if (argument == "--json") json = true;
        else if (argument.size() > 1 && argument[0] == '-') return usageError(console, "props", "unknown option '" + argument + "'");
        else files.push_back(argument);
    }
    if (files.size() != 1) return usageError(console, "props", files.empty() ? "missing FILE" : "too many arguments");
    const std::string& file = files[0];
    TOVXStoragePtr root = openCompoundFile(file, console);
    if (root == nullptr) return kExitFailure;

    const SetList list(*root);
    if (json) std::fprintf(console.out, "{\"file\": %s, \"property_sets\": [", jsonString(file).c_str());
    for (int i = 0; i < list.sets().Count(); ++i) {
        TOVIPropertyStorage& set = **list.sets().At(i);
        if (json) printSetJson(set, i == 0, console.out);
        else printSetText(set, console.out);
    }
    if (json) std::fprintf(console.out, "%s]}\n", list.sets().Count() > 0 ? "\n" : "");
    if (std::fflush(console.out) != 0 || std::ferror(console.out)) {
        console.fail("cannot write the output");
        return kExitFailure;
    }
    return kExitOk;
}

}  // namespace ststg
