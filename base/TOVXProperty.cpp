#include "TOVXProperty.h"

TOVXProperty::TOVXProperty(const TOVXString& propertyName, ValueType valueType, const TOVXString& valueText)
    : TOVXReferenceCount(0), name(propertyName), value(valueText), type(valueType), id(0), nameBytes(propertyName.ToUtf8()) {}

const char* TOVXProperty::GetName() const { return nameBytes.c_str(); }

void TOVXProperty::GetData(TOVXString& nameOut, TOVXString& valueOut, int& typeOut) const {
    nameOut = name;
    valueOut = value;
    typeOut = static_cast<int>(type);
}
