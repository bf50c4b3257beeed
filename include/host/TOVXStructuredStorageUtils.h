#ifndef TOVX_STRUCTURED_STORAGE_UTILS_H
#define TOVX_STRUCTURED_STORAGE_UTILS_H

// The host stack's property-set utilities over the platform's property-set interfaces.
// Results are the library's own codes (TOVXResult.h), never a platform status. Every
// interface pointer handed out is one reference owned by the caller.

#include <cstdint>

#include "TOVXDynamicArray.h"
#include "TOVXPropertyContainerHandle.h"
#include "TOVXResult.h"
#include "TOVXStorageApi.h"
#include "TOVXString.h"

class TOVXStructuredStorageUtils {
public:
    TOVXStructuredStorageUtils() = default;
    TOVXStructuredStorageUtils(const TOVXStructuredStorageUtils&) = default;
    // The class holds nothing: assignment has nothing to copy.
    TOVXStructuredStorageUtils& operator=(const TOVXStructuredStorageUtils&) { return *this; }
    TOVXStructuredStorageUtils& operator=(TOVXStructuredStorageUtils&&) { return *this; }

    // Opening property sets.

    // The property-set view of `storage`; TOVX_E_NULL_STORAGE for a null storage.
    static TOVXResult OpenPropertySetStorage(IStorage* storage, IPropertySetStorage*& out);
    // The set whose id is `id`: 16 bytes in the order of the id's printed form, as the
    // native stack's GetPropertyStorageID gives them.
    static TOVXResult OpenPropertySetWithId(IStorage* storage, const unsigned char* id, IPropertyStorage*& out);
    // The first set whose property `propertyId` reads as `name`. When none matches,
    // `out` is untouched and the result is that of the last read.
    static TOVXResult OpenPropertySetWithName(IPropertySetStorage* sets, int propertyId, const TOVXString& name,
                                              IPropertyStorage*& out);
    // Appends every set that opens; success when `out` is not empty afterwards.
    static TOVXResult OpenAllPropertyStorages(IPropertySetStorage* sets, TOVXDynamicArray<IPropertyStorage*>& out);
    static bool ClosePropertySetStorage(IPropertySetStorage* sets);
    static bool ClosePropertyStorage(IPropertyStorage* set);

    // Value-to-text conversion: the text and ValueType number of one platform value.
    // Always succeeds; a type it does not convert gives "..." and 0.
    static TOVXResult ConvertValueToString(const PROPVARIANT& value, TOVXString& text, int& valueType);

    // Property queries. Past the null test, value and type start as "" and -1.
    static TOVXResult GetValueWithId(int propertyId, IPropertyStorage* set, TOVXString& value, int& valueType);
    static TOVXResult GetValueWithName(const TOVXString& name, IPropertyStorage* set, TOVXString& value,
                                       int& valueType);
    // The display name of one property of the set.
    static TOVXResult GetPropertySetName(int propertyId, IPropertyStorage* set, TOVXString& name);
    // Every property of the one set `set`, in the platform's order, as a container.
    static TOVXResult GetAllPropertySets(IPropertyStorage* set, TOVXPropertyContainerHandle& out);

private:
    static GUID StorageIDToFMTID(const unsigned char* id);
};

#endif
