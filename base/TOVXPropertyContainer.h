#ifndef TOVX_PROPERTY_CONTAINER_H
#define TOVX_PROPERTY_CONTAINER_H

#include "TOVXDynamicArray.h"
#include "TOVXPropertyHandle.h"
#include "TOVXReferenceCount.h"
#include "TOVXString.h"

// A named list of properties.
class TOVXPropertyContainer : public TOVXReferenceCount {
public:
    TOVXPropertyContainer(TOVXDynamicArray<TOVXPropertyHandle> properties, TOVXString name);
    ~TOVXPropertyContainer() override = default;

    // Every property counts: the container holds the properties of one property set.
    int GetNumberOfUserProperties() const { return properties.Count(); }
    TOVXDynamicArray<TOVXPropertyHandle> GetProperties() const { return properties; }
    TOVXString GetContainerName() const { return name; }

private:
    TOVXDynamicArray<TOVXPropertyHandle> properties;
    TOVXString name;
};

#endif
