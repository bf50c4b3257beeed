#ifndef TOVX_PROPERTY_H
#define TOVX_PROPERTY_H

#include <cstdint>
#include <string>

#include "TOVXReferenceCount.h"
#include "TOVXString.h"
#include "ValueType.h"

// One named, typed property whose value is held as text. The name is given at
// construction and never changes: a renamed property is a new property.
class TOVXProperty : public TOVXReferenceCount {
public:
    TOVXProperty(const TOVXString& name, ValueType type, const TOVXString& value);
    ~TOVXProperty() override = default;

    // The name as UTF-8, so that a name outside ASCII survives the trip back through
    // TOVXString's "US-ASCII" decoding, which reads valid UTF-8 as UTF-8.
    const char* GetName() const override;

    // Note the order: value before type, unlike the constructor.
    void GetData(TOVXString& name, TOVXString& value, int& type) const;
    uint32_t GetID() const { return id; }
    void SetID(uint32_t newId) { id = newId; }

    // Direct reads for callers that want one part only.
    TOVXString GetPropertyName() const { return name; }
    TOVXString GetValue() const { return value; }
    ValueType GetValueType() const { return type; }

private:
    TOVXString name;
    TOVXString value;
    ValueType type;
    uint32_t id;
    std::string nameBytes;  // `name` in UTF-8, for GetName
};

#endif
