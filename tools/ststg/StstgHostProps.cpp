#include <cstring>

#include "StstgCommands.h"
#include "StstgHostCommon.h"
#include "StstgText.h"
#include "TOVXProperty.h"
#include "TOVXPropertyContainerHandle.h"
#include "TOVXStructuredStorageUtils.h"

namespace ststg {
namespace host {

namespace {

using Utils = TOVXStructuredStorageUtils;

// The user-defined properties, {D5CDD505-2E9C-101B-9397-08002B2CF9AE}, in the byte order of
// the printed form: the service opens that set by its id but does not enumerate it.
const unsigned char kUserDefinedId[16] = {0xD5, 0xCD, 0xD5, 0x05, 0x2E, 0x9C, 0x10, 0x1B,
                                          0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE};

std::string valueKind(int type) {
    switch (type) {
        case ValueTypeNotFound: return "empty";  // VT_EMPTY, or a value the service could not read
        case ValueTypeUnknown: return "unconverted";
        case ValueTypeText: return "text";
        case ValueTypeInteger: return "integer";
        case ValueTypeFloat: return "float";
        case ValueTypeBoolean: return "boolean";
        case ValueTypeDate: return "date";
        default: return "type " + std::to_string(type);
    }
}

// The set's id as "{GUID}", from the service's Stat of the set; empty when Stat fails.
std::string setId(IPropertyStorage* set) {
    STATPROPSETSTG status;
    std::memset(&status, 0, sizeof status);
    if (FAILED(set->Stat(&status))) return std::string();
    WCHAR text[40] = {};
    StringFromGUID2(status.fmtid, text, 40);
    return TOVXString(reinterpret_cast<const unsigned short*>(text)).ToUtf8();
}

class SetPrinter {
public:
    SetPrinter(bool json, FILE* out) : json_(json), out_(out) {}

    void print(IPropertyStorage* set) {
        const std::string id = setId(set);
        printed_.push_back(id);
        TOVXPropertyContainerHandle properties;
        Utils::GetAllPropertySets(set, properties);
        const TOVXPropertyContainer* container = properties;
        const TOVXDynamicArray<TOVXPropertyHandle> list =
            container != nullptr ? properties->GetProperties() : TOVXDynamicArray<TOVXPropertyHandle>();
        if (json_) printJson(id, list);
        else printText(id, list);
    }

    bool printedAlready(IPropertyStorage* set) const {
        const std::string id = setId(set);
        for (const std::string& seen : printed_)
            if (seen == id) return true;
        return false;
    }

    size_t count() const { return printed_.size(); }

private:
    void printJson(const std::string& id, const TOVXDynamicArray<TOVXPropertyHandle>& list) {
        std::fprintf(out_, "%s\n  {\"id\": %s, \"name\": \"\", \"properties\": [", printed_.size() == 1 ? "" : ",",
                     jsonString(id).c_str());
        bool first = true;
        for (const TOVXPropertyHandle& property : list) {
            if (!property.IsValid()) continue;
            TOVXString name, value;
            int type = 0;
            property->GetData(name, value, type);
            std::fprintf(out_, "%s\n    {\"id\": %u, \"name\": %s, \"type\": %d, \"value\": %s}", first ? "" : ",",
                         property->GetID(), jsonString(name.ToUtf8()).c_str(), type, jsonString(value.ToUtf8()).c_str());
            first = false;
        }
        std::fprintf(out_, "%s]}", first ? "" : "\n  ");
    }

    void printText(const std::string& id, const TOVXDynamicArray<TOVXPropertyHandle>& list) {
        std::fprintf(out_, "%s\n", id.c_str());
        for (const TOVXPropertyHandle& property : list) {
            if (!property.IsValid()) continue;
            TOVXString name, value;
            int type = 0;
            property->GetData(name, value, type);
            std::fprintf(out_, "  0x%08X  %s  (%s)  %s\n", property->GetID(),
                         name.length() > 0 ? displayName(name).c_str() : "-", valueKind(type).c_str(),
                         displayName(value).c_str());
        }
    }

    bool json_;
    FILE* out_;
    std::vector<std::string> printed_;
};

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
    const OpenedFile opened(file, console);
    if (opened.root() == nullptr) return kExitFailure;

    if (json) std::fprintf(console.out, "{\"file\": %s, \"property_sets\": [", jsonString(file).c_str());
    SetPrinter printer(json, console.out);
    IPropertySetStorage* view = nullptr;
    if (Utils::OpenPropertySetStorage(opened.root(), view).IsSuccess()) {
        TOVXDynamicArray<IPropertyStorage*> sets;
        Utils::OpenAllPropertyStorages(view, sets);
        for (IPropertyStorage* set : sets) printer.print(set);
        // Sets open exclusively: all of them go before the user-defined one is opened.
        for (IPropertyStorage* set : sets) Utils::ClosePropertyStorage(set);
        Utils::ClosePropertySetStorage(view);
    }
    IPropertyStorage* userDefined = nullptr;
    if (Utils::OpenPropertySetWithId(opened.root(), kUserDefinedId, userDefined).IsSuccess()) {
        if (!printer.printedAlready(userDefined)) printer.print(userDefined);
        Utils::ClosePropertyStorage(userDefined);
    }
    if (json) std::fprintf(console.out, "%s]}\n", printer.count() > 0 ? "\n" : "");
    if (std::fflush(console.out) != 0 || std::ferror(console.out)) {
        console.fail("cannot write the output");
        return kExitFailure;
    }
    return kExitOk;
}

}  // namespace host
}  // namespace ststg
