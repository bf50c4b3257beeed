#include "TOVXStStorageElement.h"

TOVXStStorageElement::TOVXStStorageElement() : name(), isStorage(1) {}

TOVXStStorageElement::TOVXStStorageElement(const TOVXString& elementName, int32_t elementIsStorage)
    : name(elementName), isStorage(elementIsStorage) {}
