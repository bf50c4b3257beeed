#ifndef TOVX_ST_STORAGE_ELEMENT_H
#define TOVX_ST_STORAGE_ELEMENT_H

#include <cstdint>

#include "TOVXString.h"

// One child of a host storage as GetChildElements lists it: its name and whether it is a
// storage (1) or anything else (0).
class TOVXStStorageElement {
public:
    TOVXStStorageElement();  // empty name, isStorage 1
    TOVXStStorageElement(const TOVXString& elementName, int32_t elementIsStorage);

    TOVXString name;
    int32_t isStorage;
};

#endif
