#include "TOVXPropertyContainer.h"

TOVXPropertyContainer::TOVXPropertyContainer(TOVXDynamicArray<TOVXPropertyHandle> propertyList, TOVXString containerName)
    : TOVXReferenceCount(0), properties(propertyList), name(containerName) {}
