// The property sets of a storage through the platform's service: what
// TOVXStructuredStorageUtils gives of each, with the stream that holds it, the usual names
// of well-known properties and the human forms of their values.
#include <algorithm>
#include <cstring>

#include "StstgHostProperties.h"
#include "StstgPropertyLabels.h"
#include "StstgText.h"
#include "TOVXProperty.h"
#include "TOVXPropertyContainerHandle.h"
#include "TOVXStructuredStorageUtils.h"

namespace ststg {

namespace {

using Utils = TOVXStructuredStorageUtils;

// The user-defined properties, {D5CDD505-2E9C-101B-9397-08002B2CF9AE}, in the byte order of
// the printed form: the service opens that set by its id but does not enumerate it.
const unsigned char kUserDefinedId[16] = {0xD5, 0xCD, 0xD5, 0x05, 0x2E, 0x9C, 0x10, 0x1B,
                                          0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE};

// The set's format id, from the service's Stat of the set; empty when Stat fails.
std::string setId(IPropertyStorage* set) {
    STATPROPSETSTG status;
    std::memset(&status, 0, sizeof status);
    if (FAILED(set->Stat(&status))) return std::string();
    return guidTextOf(status.fmtid);
}

// The human form of one property, where it differs from the library's text: the value
// itself where the library gives "...", the code page as its unsigned number, EditTime
// as a duration. The value is read again from the set for it.
void addHumanForm(IPropertyStorage* set, const std::string& id, PropertyRow& row) {
    const bool unconverted = row.type == ValueTypeUnknown && row.value.ToUtf8() == "...";
    const bool codePage = row.id == kCodePageId && row.type == ValueTypeInteger && row.value.ToUtf8().rfind('-', 0) == 0;
    const bool editTime = isEditTime(id, row.id) && row.type == ValueTypeDate;
    if (!unconverted && !codePage && !editTime) return;
    PROPSPEC which;
    std::memset(&which, 0, sizeof which);
    which.ulKind = PRSPEC_PROPID;
    which.propid = row.id;
    PROPVARIANT value;
    std::memset(&value, 0, sizeof value);
    if (set->ReadMultiple(1, &which, &value) != S_OK) return;
    if (unconverted) {
        humanValue(value, row.displayText, row.displayJson);
    } else {
        if (codePage && value.vt == VT_I2) row.displayText = std::to_string(value.uiVal);
        if (editTime && value.vt == VT_FILETIME) row.displayText = durationText(ticksOf(value.filetime));
        if (!row.displayText.empty()) row.displayJson = jsonString(row.displayText);
    }
    PropVariantClear(&value);
}

PropertySetView viewOf(IPropertyStorage* set) {
    PropertySetView view;
    view.id = setId(set);
    view.stream = propertySetStreamName(view.id);
    TOVXPropertyContainerHandle properties;
    Utils::GetAllPropertySets(set, properties);
    const TOVXPropertyContainer* container = properties;
    if (container == nullptr) return view;
    for (const TOVXPropertyHandle& property : properties->GetProperties()) {
        if (!property.IsValid()) continue;
        PropertyRow row;
        row.id = property->GetID();
        property->GetData(row.name, row.value, row.type);
        row.kindWord = valueKindWord(row.type, "empty");
        row.label = wellKnownLabel(view.id, row.id);
        addHumanForm(set, view.id, row);
        view.rows.push_back(row);
    }
    return view;
}

bool alreadyListed(const std::vector<PropertySetView>& sets, const std::string& id) {
    return std::any_of(sets.begin(), sets.end(), [&](const PropertySetView& set) { return set.id == id; });
}

}  // namespace

// "{GUID}" as the service writes it.
std::string guidTextOf(const GUID& id) {
    WCHAR text[40] = {};
    StringFromGUID2(id, text, 40);
    return TOVXString(reinterpret_cast<const unsigned short*>(text)).ToUtf8();
}

void hostPropertySets(IStorage* storage, std::vector<PropertySetView>& sets) {
    IPropertySetStorage* view = nullptr;
    if (Utils::OpenPropertySetStorage(storage, view).IsSuccess()) {
        TOVXDynamicArray<IPropertyStorage*> list;
        Utils::OpenAllPropertyStorages(view, list);
        for (IPropertyStorage* set : list) sets.push_back(viewOf(set));
        // Sets open exclusively: all of them go before the user-defined one is opened.
        for (IPropertyStorage* set : list) Utils::ClosePropertyStorage(set);
        Utils::ClosePropertySetStorage(view);
    }
    IPropertyStorage* userDefined = nullptr;
    if (Utils::OpenPropertySetWithId(storage, kUserDefinedId, userDefined).IsSuccess()) {
        if (!alreadyListed(sets, setId(userDefined))) sets.push_back(viewOf(userDefined));
        Utils::ClosePropertyStorage(userDefined);
    }
}

}  // namespace ststg
